# Run at build time, after a test program links: lists its GoogleTest suites and writes a
# CTest file with one test per suite, each running that suite's tests in one process.
#
#   cmake -DTEST_EXECUTABLE=... -DCTEST_FILE=... -DLABEL=... -P GTestSuites.cmake
execute_process(COMMAND ${TEST_EXECUTABLE} --gtest_list_tests
  RESULT_VARIABLE result OUTPUT_VARIABLE listing ERROR_VARIABLE errors TIMEOUT 60)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "listing the tests of ${TEST_EXECUTABLE} failed (${result}):\n${errors}")
endif()

# A suite counts as skipped only when no test passed and every test that ran was skipped:
# the summary ends with the list of skipped tests, and no failure follows it. (A suite whose
# tests all fail also passes none.)
set(skipped [=[\[  PASSED  \] 0 tests\..\[  SKIPPED \] [0-9]+ tests?, listed below:(.\[  SKIPPED \] [^[]*)*$]=])

set(content "")
string(REPLACE "\n" ";" lines "${listing}")
foreach(line IN LISTS lines)
  # Suite lines start in the first column and end with a dot, before any comment.
  if(line MATCHES "^([^ #][^ ]*)\\.( |$)")
    set(suite "${CMAKE_MATCH_1}")
    string(APPEND content
      "add_test([=[${suite}]=] [=[${TEST_EXECUTABLE}]=] [=[--gtest_filter=${suite}.*]=])\n"
      "set_tests_properties([=[${suite}]=] PROPERTIES LABELS [=[${LABEL}]=]"
      " SKIP_REGULAR_EXPRESSION [=[${skipped}]=])\n")
  endif()
endforeach()
if(content STREQUAL "")
  message(FATAL_ERROR "${TEST_EXECUTABLE} lists no test suite")
endif()
file(WRITE ${CTEST_FILE} "${content}")
