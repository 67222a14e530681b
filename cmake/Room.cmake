# Much of a build is reading the standard library: where tests are built, it is read once for all rooms. What is
# shipped is built without, so that a header which a source forgot to include is missed there.
set(WICKET_READS_HEADERS_ONCE OFF)
if(WICKET_BUILD_TESTS AND NOT CMAKE_SYSTEM_NAME STREQUAL "Darwin")
  set(WICKET_READS_HEADERS_ONCE ON)
  file(WRITE ${CMAKE_BINARY_DIR}/CommonHeaders.cpp "")
  add_library(wicket_common_headers STATIC ${CMAKE_BINARY_DIR}/CommonHeaders.cpp)
  target_link_libraries(wicket_common_headers PRIVATE wicket_options Threads::Threads)
  target_precompile_headers(wicket_common_headers PRIVATE
    <algorithm> <array> <chrono> <condition_variable> <cstdint> <expected> <functional> <map> <memory> <mutex>
    <optional> <span> <string> <string_view> <thread> <vector>)
endif()

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
    if(WICKET_READS_HEADERS_ONCE)
      target_precompile_headers(wicket_${NAME} REUSE_FROM wicket_common_headers)
    endif()
  else()
    add_library(wicket_${NAME} INTERFACE)
    set(SCOPE INTERFACE)
  endif()
  target_include_directories(wicket_${NAME} ${SCOPE} ${PROJECT_SOURCE_DIR})
  target_link_libraries(wicket_${NAME} ${SCOPE} ${ROOM_ROOMS} ${ROOM_LIBRARIES} Threads::Threads)
endfunction()
