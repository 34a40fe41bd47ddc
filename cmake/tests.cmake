# quorvanti_test(name SOURCES ... [LIBRARIES ...] [LABELS ...] [FIXTURE ...] [DEFAULT_CRYPTO_LIBRARY] [LEAKS_BY_NATURE])
# One GoogleTest program. Every test of it runs in a process of its own, so tests may change process-wide state.
# FIXTURE: a test that must have run before; it says so with FIXTURES_SETUP.
# DEFAULT_CRYPTO_LIBRARY: it starts the library with the bundled crypto library, by its default name.
# LEAKS_BY_NATURE: what it provokes cannot be given back by anybody.
# A program that starts threads gets the label "concurrent" and belongs to the target concurrent_tests: these run under
# ThreadSanitizer, which has nothing to find in the others.
find_package(GTest REQUIRED)
include(GoogleTest)
if(WIN32)
  set(quorvanti_test_main quorvanti_test_main)
else()
  set(quorvanti_test_main GTest::gtest_main)
endif()

add_custom_target(concurrent_tests)

function(quorvanti_test name)
  cmake_parse_arguments(arg "DEFAULT_CRYPTO_LIBRARY;LEAKS_BY_NATURE" "FIXTURE" "SOURCES;LIBRARIES;LABELS" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} quorvanti_test_platform quorvanti_warnings GTest::gmock ${quorvanti_test_main})
  if(NOT "long" IN_LIST arg_LABELS)
    # A test's own code runs once and compiles long: unoptimised, it builds in little more than half the time.
    target_compile_options(${name} PRIVATE -O0)
  endif()
  if(arg_DEFAULT_CRYPTO_LIBRARY AND TARGET quorvanti)
    target_compile_definitions(${name} PRIVATE
      QUORVANTI_LIBRARY_NAME="$<TARGET_FILE_NAME:quorvanti>" QUORVANTI_CRYPTO_NAME="$<TARGET_FILE_NAME:kavcrypto>")
  endif()
  foreach(source ${arg_SOURCES})
    cmake_path(ABSOLUTE_PATH source)
    if(NOT EXISTS ${source})
      continue()  # the build makes it
    endif()
    file(STRINGS ${source} threads REGEX "std::(jthread|thread|async)[^:]")
    if(threads)
      list(APPEND arg_LABELS concurrent)
      add_dependencies(concurrent_tests ${name})
      break()
    endif()
  endforeach()
  set(properties TIMEOUT 600)
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
  if(WIN32)
    if(NOT arg_DEFAULT_CRYPTO_LIBRARY)
      # A library is found beside the program; this one shall find none by default.
      set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/unit)
    endif()
    list(APPEND properties ENVIRONMENT "OPENSSL_CONF=${QUORVANTI_OPENSSL_CONFIGURATION}")
  endif()
  if(arg_LEAKS_BY_NATURE)
    list(APPEND properties ENVIRONMENT "ASAN_OPTIONS=detect_leaks=0")
  endif()
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES ${properties})
endfunction()
