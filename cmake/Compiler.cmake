add_library(wicket_options INTERFACE)
target_compile_options(wicket_options INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
  -Wold-style-cast -Wcast-align -Woverloaded-virtual -Wnull-dereference -Wformat=2 -Wimplicit-fallthrough
  -fstack-protector-strong -fno-strict-aliasing)
if(NOT APPLE)
  target_link_options(wicket_options INTERFACE -Wl,-z,relro,-z,now)
endif()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

set(WICKET_SANITIZERS "" CACHE STRING "Value for -fsanitize=, e.g. address,undefined or thread")
if(WICKET_SANITIZERS)
  # The check of vtable pointers opens a pipe for each one it meets for the first time, which the tests of
  # exhausted descriptors leave it no room for.
  target_compile_options(wicket_options INTERFACE
    -fsanitize=${WICKET_SANITIZERS} -fno-sanitize=vptr -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(wicket_options INTERFACE -fsanitize=${WICKET_SANITIZERS})
elseif(CMAKE_BUILD_TYPE STREQUAL "Release")
  target_compile_options(wicket_options INTERFACE -D_FORTIFY_SOURCE=2)
  # Fully optimised, what has been inlined looks to GCC as if it could be null, and to GCC 12 the strings and streams of
  # its own library as if they overlapped or had no value yet (such as its bug 105651). The other presets keep these
  # warnings.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(wicket_options INTERFACE -Wno-null-dereference)
    if(CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
      target_compile_options(wicket_options INTERFACE -Wno-restrict -Wno-maybe-uninitialized)
    endif()
  endif()
endif()
