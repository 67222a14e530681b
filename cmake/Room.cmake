# wicket_room(NAME [ROOMS room...] [LIBRARIES target...]): one room of the house as a library made of all
# sources in its folder. A room without sources is an interface of headers.
function(wicket_room NAME)
  cmake_parse_arguments(ROOM "" "" "ROOMS;LIBRARIES" ${ARGN})
  file(GLOB SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp
       ${CMAKE_CURRENT_SOURCE_DIR}/*.mm)
  list(FILTER SOURCES EXCLUDE REGEX "/main\\.cpp$")
  list(TRANSFORM ROOM_ROOMS PREPEND wicket_)
  if(SOURCES)
    add_library(wicket_${NAME} STATIC ${SOURCES})
    set(SCOPE PUBLIC)
    target_link_libraries(wicket_${NAME} PRIVATE wicket_options)
  else()
    add_library(wicket_${NAME} INTERFACE)
    set(SCOPE INTERFACE)
  endif()
  target_include_directories(wicket_${NAME} ${SCOPE} ${PROJECT_SOURCE_DIR})
  target_link_libraries(wicket_${NAME} ${SCOPE} ${ROOM_ROOMS} ${ROOM_LIBRARIES} Threads::Threads)
endfunction()
