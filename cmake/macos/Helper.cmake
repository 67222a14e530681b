# The helper for macOS: the core, the shared adapters, those of macOS, and the property lists inside the executable.
# The clang of both presets raises the deployment target 10.15 to 11.0 for arm64, which began with it.
enable_language(OBJCXX)
set(CMAKE_OBJCXX_STANDARD 23)
set(CMAKE_OBJCXX_STANDARD_REQUIRED ON)
set(CMAKE_OBJCXX_EXTENSIONS OFF)
target_compile_options(wicket_options INTERFACE $<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-arc>)

foreach(ROOM system text protocol platform store clients security script resources adapters/posix adapters/macos helper)
  add_subdirectory(${ROOM})
endforeach()
