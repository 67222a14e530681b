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

# Read together, the sources of a room are compiled from nothing in half the time. Where one of them is edited again and
# again, each is compiled for itself; so it is on macOS, which also misses a header that a source forgot to include. No
# two sources of a room may give one name to different things.
set(WICKET_COMPILED_TOGETHER ON)
if(CMAKE_SYSTEM_NAME STREQUAL "Darwin")
  set(WICKET_COMPILED_TOGETHER OFF)
endif()
option(WICKET_UNITY_BUILD "Compile the sources of a room together" ${WICKET_COMPILED_TOGETHER})

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
    set_target_properties(wicket_${NAME} PROPERTIES UNITY_BUILD ${WICKET_UNITY_BUILD} UNITY_BUILD_BATCH_SIZE 16)
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

# wicket_command_line_parser(SOURCE): the source of a room that holds the parser's templates. They are slow to optimise
# and are run once: half the program's size in what is shipped, and under the sanitizers half of its room's build.
function(wicket_command_line_parser SOURCE)
  if(WICKET_SANITIZERS)
    set_source_files_properties(${SOURCE} PROPERTIES COMPILE_OPTIONS -O0 SKIP_PRECOMPILE_HEADERS ON)
  elseif(CMAKE_BUILD_TYPE STREQUAL "Release")
    set_source_files_properties(${SOURCE} PROPERTIES COMPILE_OPTIONS -Os)
  endif()
endfunction()
