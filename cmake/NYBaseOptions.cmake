# Compiler flags shared by every target of the project: warnings, sanitizers, fuzzing.
add_library(nybase_flags INTERFACE)
target_compile_options(nybase_flags INTERFACE -Wall -Wextra -Wpedantic)
if(NYBASE_WERROR)
  target_compile_options(nybase_flags INTERFACE -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # g++ 12 reports false overlapping copies inside std::string at -O2 and above (a known
  # compiler defect in its -Wrestrict analysis); keep the warning off for that compiler only.
  target_compile_options(nybase_flags INTERFACE -Wno-restrict)
endif()
if(NYBASE_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
if(NYBASE_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "NYBASE_FUZZ needs clang: configure with CC=clang CXX=clang++")
  endif()
  # The library itself is instrumented for coverage; only the fuzz executables link libFuzzer's main.
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
