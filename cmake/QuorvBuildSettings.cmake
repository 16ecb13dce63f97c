# Compiler settings shared by everything that is built here.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

# There is no system below: no threads, users, paths or libraries to load, only a module that a page calls.
string(COMPARE EQUAL "${CMAKE_SYSTEM_PROCESSOR}" wasm32 QUORV_WEBASSEMBLY)
if(QUORV_WEBASSEMBLY)
  # All of it is seen at once when it is linked: that is the last kilobyte between it and its limit.
  add_compile_options(-msimd128 -flto)
  add_link_options(-flto)
endif()

# Doubles rounded as on every other host: the x87 unit keeps more digits than a double has.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "86" AND CMAKE_SIZEOF_VOID_P EQUAL 4)
  add_compile_options(-msse2 -mfpmath=sse)
endif()

# Every target of this project gets the warnings through this interface target.
add_library(quorv_warnings INTERFACE)
target_compile_options(quorv_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wcast-qual -Wformat=2 -Wundef
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual>
  $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes>
  $<$<BOOL:${QUORV_WERROR}>:-Werror>)

if(QUORV_SANITIZE)
  add_compile_options(-fsanitize=${QUORV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${QUORV_SANITIZE})
endif()

# For programs of the tests that only run other people's libraries, which the sanitizers would judge instead.
function(quorv_without_sanitizers target)
  if(QUORV_SANITIZE)
    target_compile_options(${target} PRIVATE -fno-sanitize=all)
    target_link_options(${target} PRIVATE -fno-sanitize=all)
  endif()
endfunction()

# The fuzzer's view of what an input reached; only the harnesses link its main function.
if(QUORV_BUILD_FUZZERS)
  add_compile_options(-fsanitize=fuzzer-no-link)
  add_link_options(-fsanitize=fuzzer-no-link)
endif()
