# Read by CTest when it starts, with PROGRAM and PREFIX set: one entry for each of the program's test suites.
# A program that this build leaves out has one entry that fails where it is asked for.
if(NOT EXISTS "${PROGRAM}")
  add_test("${PREFIX}_NOT_BUILT" "${PROGRAM}")
  return()
endif()
execute_process(COMMAND "${PROGRAM}" --gtest_list_tests
  OUTPUT_VARIABLE listing RESULT_VARIABLE result TIMEOUT 60)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${PROGRAM} does not list its tests: ${result}\n${listing}")
endif()
# Suites stand at the beginning of a line, their cases are indented.
string(REGEX MATCHALL "(^|\n)[^ \n#]+\\.[ \n]" suites "${listing}")
foreach(suite IN LISTS suites)
  string(REGEX REPLACE "[ \n]" "" suite "${suite}")
  add_test("${PREFIX}/${suite}*" "${PROGRAM}" "--gtest_filter=${suite}*")
  set_tests_properties("${PREFIX}/${suite}*" PROPERTIES
    SKIP_REGULAR_EXPRESSION "\\[  SKIPPED \\]")
  list(APPEND found "${PREFIX}/${suite}*")
endforeach()
set(${PREFIX}_TESTS "${found}")
unset(found)
