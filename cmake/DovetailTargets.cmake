# One library; every include is written from the top of the tree: #include "room/File.h".
function(dovetail_room name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
  add_library(dovetail_${name} STATIC ${ARG_SOURCES})
  target_include_directories(dovetail_${name} PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR}/generated)
  target_link_libraries(dovetail_${name} PUBLIC ${ARG_LIBRARIES})
endfunction()

# One test program a subject; each of its suites is a test of ctest, named "program.suite", that may take TIMEOUT seconds (120). A test
# names each thing it starts and waits for events with a deadline.
function(dovetail_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LIBRARIES" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  # An optional that is read while it is empty ends the test.
  target_compile_definitions(${name} PRIVATE _GLIBCXX_ASSERTIONS)
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} GTest::gtest GTest::gmock GTest::gtest_main)
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
  set(suites ${CMAKE_CURRENT_BINARY_DIR}/${name}_suites.cmake)
  file(GENERATE OUTPUT ${suites} CONTENT
    "include(\"${PROJECT_SOURCE_DIR}/cmake/TestSuites.cmake\")\ndovetail_test_suites(${name} \"$<TARGET_FILE:${name}>\" ${ARG_TIMEOUT})\n")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${suites})
endfunction()
