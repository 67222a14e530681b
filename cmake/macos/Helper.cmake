# The helper for macOS: the core, the shared adapters, those of macOS, and the property lists inside the executable.
# The clang of both presets raises the deployment target 10.15 to 11.0 for arm64, which began with it.
enable_language(OBJCXX)
set(CMAKE_OBJCXX_STANDARD 23)
set(CMAKE_OBJCXX_STANDARD_REQUIRED ON)
set(CMAKE_OBJCXX_EXTENSIONS OFF)
target_compile_options(wicket_options INTERFACE $<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-arc>)

foreach(ROOM base/system base/text protocol admission helper/platform helper/store helper/clients helper/security
             helper/script resources adapters/posix adapters/macos helper/service)
  add_subdirectory(${ROOM})
endforeach()

# The check on Linux builds all of it anew, and most of the time would go into reading the library's headers, for each
# file and each architecture.
if(CMAKE_CROSSCOMPILING)
  file(CONFIGURE OUTPUT precompiled.cpp CONTENT "")
  file(CONFIGURE OUTPUT precompiled.mm CONTENT "")
  add_library(wicket_precompiled OBJECT ${CMAKE_CURRENT_BINARY_DIR}/precompiled.cpp
              ${CMAKE_CURRENT_BINARY_DIR}/precompiled.mm)
  target_link_libraries(wicket_precompiled PRIVATE wicket_options)
  target_precompile_headers(wicket_precompiled PRIVATE
    <algorithm> <array> <chrono> <condition_variable> <expected> <functional> <map> <memory> <mutex> <optional>
    <string> <variant> <vector> $<$<COMPILE_LANGUAGE:OBJCXX>:<Foundation/Foundation.h$<ANGLE-R>>)
  foreach(ROOM base_text protocol admission helper_store helper_clients helper_security helper_script adapters_posix
               adapters_macos helper_service)
    target_precompile_headers(room_${ROOM} REUSE_FROM wicket_precompiled)
  endforeach()
  # The libraries' lists of symbols are made anew together with this file.
  set_property(TARGET helper_main APPEND PROPERTY LINK_DEPENDS ${WICKET_MACOS_SYSROOT}/made-from)
endif()
