# gleam_add_test(NAME SOURCES... LIBS...): one GoogleTest program, registered with CTest as one test.
# gleam_add_bench(NAME SOURCES... LIBS...): one Google Benchmark program.
# gleam_add_fuzzer(NAME SOURCES... LIBS... SEEDS DIR): one libFuzzer program; `NAME` runs over fuzz/seeds/DIR.
include(CTest)

function(gleam_add_test name)
  cmake_parse_arguments(arg "" "TIMEOUT" "SOURCES;LIBS;ENVIRONMENT" ${ARGN})
  find_package(GTest REQUIRED)
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBS} GTest::gtest GTest::gmock GTest::gtest_main)
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 300)
  endif()
  add_test(NAME ${name} COMMAND ${name} WORKING_DIRECTORY ${CMAKE_SOURCE_DIR})
  set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT} ENVIRONMENT "${arg_ENVIRONMENT}")
endfunction()

function(gleam_add_bench name)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBS" ${ARGN})
  find_package(benchmark REQUIRED)
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBS} benchmark::benchmark)
endfunction()

function(gleam_add_fuzzer name)
  cmake_parse_arguments(arg "" "SEEDS" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBS})
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  add_dependencies(fuzzers ${name})
endfunction()
