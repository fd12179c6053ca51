# Language level, warnings and sanitizers of every target.
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# Errors, unless who builds a package for compilers to come says otherwise.
if(NOT DEFINED CMAKE_COMPILE_WARNING_AS_ERROR)
  set(CMAKE_COMPILE_WARNING_AS_ERROR ON)
endif()
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion)
add_compile_definitions(_GNU_SOURCE)

if(AAA_SANITIZE)
  add_compile_options(-fsanitize=${AAA_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${AAA_SANITIZE})
  if(AAA_SANITIZE MATCHES "undefined")
    # The library has no RTTI and no virtual function.
    add_compile_options(-fno-sanitize-recover=undefined -fno-sanitize=vptr)
  endif()
endif()

# Compiled together, the sources of a test program take half the time: most of it goes into
# templates that they share. Off, a change to one file compiles that file alone.
option(AAA_UNITY_BUILD "Compile the sources of each test program and tool together" ON)
set(CMAKE_UNITY_BUILD_BATCH_SIZE 12)

find_program(AAA_CCACHE ccache)
if(AAA_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_C_COMPILER_LAUNCHER ${AAA_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${AAA_CCACHE})
endif()
