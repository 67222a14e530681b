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

# wicket_room([SEES room...] [LIBRARIES target...]): the folder as one room of the house, a library of all its sources;
# a room without sources is an interface of headers. Its sources find the headers of the rooms that it sees, each named
# by its folder, and no others: tests/static/includes reads these lists, too.
function(wicket_room)
  cmake_parse_arguments(ROOM "" "" "SEES;LIBRARIES" ${ARGN})
  wicket_room_of_folder(NAME)
  wicket_show_headers()
  wicket_targets(SEEN ${ROOM_SEES})
  file(GLOB SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp
       ${CMAKE_CURRENT_SOURCE_DIR}/*.mm)
  list(FILTER SOURCES EXCLUDE REGEX "/main\\.cpp$")
  if(NOT SOURCES)
    add_library(${NAME} INTERFACE)
    target_link_libraries(${NAME} INTERFACE ${SEEN} ${ROOM_LIBRARIES} Threads::Threads)
    return()
  endif()
  add_library(${NAME} STATIC ${SOURCES})
  target_link_libraries(${NAME} PRIVATE wicket_options PUBLIC ${SEEN} ${ROOM_LIBRARIES} Threads::Threads)
  wicket_sees(${NAME} ${NAME} ${SEEN})
  set_target_properties(${NAME} PROPERTIES UNITY_BUILD ${WICKET_UNITY_BUILD} UNITY_BUILD_BATCH_SIZE 16)
  if(WICKET_READS_HEADERS_ONCE)
    target_precompile_headers(${NAME} REUSE_FROM wicket_common_headers)
  endif()
endfunction()

# wicket_room_of_folder(VARIABLE): the target of the room in this folder.
function(wicket_room_of_folder VARIABLE)
  file(RELATIVE_PATH FOLDER ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  wicket_targets(NAME ${FOLDER})
  set(${VARIABLE} ${NAME} PARENT_SCOPE)
endfunction()

# wicket_targets(VARIABLE room...): the targets of the rooms in these folders.
function(wicket_targets VARIABLE)
  list(TRANSFORM ARGN REPLACE "/" "_" OUTPUT_VARIABLE NAMES)
  list(TRANSFORM NAMES PREPEND room_)
  set(${VARIABLE} ${NAMES} PARENT_SCOPE)
endfunction()

# Others find the headers of this folder under a folder of their own, by the paths that they have in the repository.
function(wicket_show_headers)
  wicket_room_of_folder(NAME)
  file(RELATIVE_PATH FOLDER ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  set(SHOWN ${PROJECT_BINARY_DIR}/rooms/${NAME}/${FOLDER})
  file(REMOVE_RECURSE ${SHOWN})
  file(MAKE_DIRECTORY ${SHOWN})
  file(GLOB HEADERS CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
  foreach(HEADER ${HEADERS})
    get_filename_component(FILE ${HEADER} NAME)
    file(CREATE_LINK ${HEADER} ${SHOWN}/${FILE} SYMBOLIC)
  endforeach()
endfunction()

# wicket_sees(TARGET target...): the target finds the headers of these rooms.
function(wicket_sees TARGET)
  list(TRANSFORM ARGN PREPEND ${PROJECT_BINARY_DIR}/rooms/ OUTPUT_VARIABLE FOLDERS)
  target_include_directories(${TARGET} PRIVATE ${FOLDERS})
endfunction()

# wicket_program(TARGET): the program whose main.cpp is in this folder; it finds what the room in it finds.
function(wicket_program TARGET)
  wicket_room_of_folder(ROOM)
  add_executable(${TARGET} main.cpp)
  target_include_directories(${TARGET} PRIVATE $<TARGET_PROPERTY:${ROOM},INCLUDE_DIRECTORIES>)
  target_link_libraries(${TARGET} PRIVATE wicket_options ${ROOM})
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
