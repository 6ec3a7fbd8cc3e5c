# Read by ctest itself: makes a test of each suite of a GoogleTest program, so that one that crashes hides none but its own.
# The list is asked for anew when the program has changed.
function(dovetail_test_suites name program timeout)
  set(listing ${program}.suites)
  if(NOT EXISTS ${program})
    add_test(${name} ${program})  # which ctest reports as not found
    return()
  endif()
  if(NOT EXISTS ${listing} OR ${program} IS_NEWER_THAN ${listing})
    execute_process(COMMAND ${program} --gtest_list_tests OUTPUT_FILE ${listing} RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
      file(REMOVE ${listing})
      add_test(${name} ${program})  # whose end then shows what is wrong
      return()
    endif()
  endif()
  # A suite's line is its name with a dot, and for some a comment.
  file(STRINGS ${listing} lines REGEX "^[^ ]+[.]( |$)")
  foreach(line IN LISTS lines)
    string(REGEX REPLACE "[.]( .*)?$" "" suite "${line}")
    add_test(${name}.${suite} ${program} --gtest_filter=${suite}.*)
    set_tests_properties(${name}.${suite} PROPERTIES TIMEOUT ${timeout})
  endforeach()
endfunction()
