# Warnings and sanitizers, once, for every target of this project.
add_library(quorvanti_warnings INTERFACE)
target_compile_options(quorvanti_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual>)
# gcc 12, once it inlines, takes lengths of the standard library's containers for more than all memory, and warns of copies
# that overlap or leave their bounds. clang and the sanitizers look at the same code without finding any.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(quorvanti_warnings INTERFACE $<$<COMPILE_LANGUAGE:CXX>:
    -Wno-restrict -Wno-array-bounds -Wno-stringop-overread -Wno-stringop-overflow>)
endif()

# What one evaluation clears and copies is some hundred bytes at a time: gcc's string instructions take longer to start
# than the C library takes altogether.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_compile_options($<$<CONFIG:Release>:-mstringop-strategy=libcall>)
endif()

if(QUORVANTI_SANITIZE)
  add_compile_options(-fsanitize=${QUORVANTI_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${QUORVANTI_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # These look through what the optimizer knows; in instrumented code they warn without a reason.
    add_compile_options(-Wno-maybe-uninitialized -Wno-format-truncation)
    # Instrumented code takes gcc more than twice as long with -O2 -g, and finds no more.
    add_compile_options(-O1 -g1)
  endif()
endif()
if(QUORVANTI_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
