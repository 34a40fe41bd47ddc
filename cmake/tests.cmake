# quorvanti_test(name SOURCES ... [LIBRARIES ...] [LABELS ...] [FIXTURE ...] [DEFAULT_CRYPTO_LIBRARY] [LEAKS_BY_NATURE])
# One GoogleTest program. Every test of it runs in a process of its own, so tests may change process-wide state.
# FIXTURE: a test that must have run before; it says so with FIXTURES_SETUP.
# DEFAULT_CRYPTO_LIBRARY: it starts the library with the bundled crypto library, by its default name.
# LEAKS_BY_NATURE: what it provokes cannot be given back by anybody.
find_package(GTest REQUIRED)
include(GoogleTest)

function(quorvanti_test name)
  cmake_parse_arguments(arg "DEFAULT_CRYPTO_LIBRARY;LEAKS_BY_NATURE" "FIXTURE" "SOURCES;LIBRARIES;LABELS" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} quorvanti_warnings GTest::gmock GTest::gtest_main)
  if(QUORVANTI_SANITIZE AND NOT "long" IN_LIST arg_LABELS)
    # A test's own code runs once and compiles long: unoptimised, it builds in half the time.
    target_compile_options(${name} PRIVATE -O0)
  endif()
  set(properties TIMEOUT 300)
  if(arg_FIXTURE)
    list(APPEND properties FIXTURES_REQUIRED ${arg_FIXTURE})
  endif()
  if(arg_LABELS)
    list(APPEND properties LABELS "${arg_LABELS}")
  endif()
  if(arg_DEFAULT_CRYPTO_LIBRARY AND QUORVANTI_SANITIZE)
    # Sanitizers open libraries in the program's place, and so the run path of the library that asks does not count.
    list(APPEND properties ENVIRONMENT "LD_LIBRARY_PATH=${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
  endif()
  if(arg_LEAKS_BY_NATURE)
    list(APPEND properties ENVIRONMENT "ASAN_OPTIONS=detect_leaks=0")
  endif()
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES ${properties})
endfunction()
