# Builds for macOS on Linux, for both architectures at once, with Debian's clang, lld and llvm tools. The preset says
# which architectures and for which system.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR arm64)

get_filename_component(WICKET_MACOS_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../../build/macos-sysroot" ABSOLUTE)
execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/make-sysroot ${WICKET_MACOS_SYSROOT} RESULT_VARIABLE STATUS)
if(NOT STATUS EQUAL 0)
  message(FATAL_ERROR "there is no system root to build for macOS with")
endif()
# The project's own declarations give way to Apple's SDK where there is one.
if(DEFINED ENV{SDKROOT})
  set(CMAKE_OSX_SYSROOT "$ENV{SDKROOT}" CACHE PATH "" FORCE)
else()
  set(CMAKE_OSX_SYSROOT "${WICKET_MACOS_SYSROOT}/sdk" CACHE PATH "" FORCE)
endif()

set(CMAKE_C_COMPILER /usr/bin/clang-19)
set(CMAKE_CXX_COMPILER /usr/bin/clang++-19)
set(CMAKE_OBJCXX_COMPILER /usr/bin/clang++-19)
foreach(LANGUAGE C CXX OBJCXX)
  set(CMAKE_${LANGUAGE}_COMPILER_TARGET arm64-apple-darwin)
  # Where the compiler finds the tool that joins the architectures.
  set(CMAKE_${LANGUAGE}_FLAGS_INIT "-B${WICKET_MACOS_SYSROOT}/bin")
  # llvm-ar cannot list the symbols of objects of two architectures.
  set(CMAKE_${LANGUAGE}_CREATE_STATIC_LIBRARY "/usr/bin/llvm-libtool-darwin-19 -static -o <TARGET> <OBJECTS>")
endforeach()
set(CMAKE_AR /usr/bin/llvm-ar-19)
set(CMAKE_RANLIB /usr/bin/llvm-ranlib-19)
set(CMAKE_INSTALL_NAME_TOOL /usr/bin/llvm-install-name-tool-19)
set(CMAKE_EXE_LINKER_FLAGS_INIT "--ld-path=/usr/bin/ld64.lld-19 -mlinker-version=711")

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
