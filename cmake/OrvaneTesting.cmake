# orvane_add_gtest(NAME [QT] SOURCES... LIBS ...): one GoogleTest program, each case its own
# CTest test. QT gives the program a QApplication (off screen) before the tests run. Cases are
# listed when CTest runs, not at build time, so tests that need a display or files build anywhere.
function(orvane_add_gtest name)
  cmake_parse_arguments(ARG "QT" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  if(ARG_QT)
    target_link_libraries(${name} PRIVATE orvane_qt_test_main)
  else()
    target_link_libraries(${name} PRIVATE GTest::gtest_main)
  endif()
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gtest GTest::gmock)
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST
    PROPERTIES ENVIRONMENT "QT_QPA_PLATFORM=offscreen\\;ORVANE_SOURCE_DIR=${PROJECT_SOURCE_DIR}")
endfunction()

# The length of stress tests, read the same way by every component's tests.
add_library(orvane_stress_rounds INTERFACE)
target_include_directories(orvane_stress_rounds INTERFACE ${PROJECT_SOURCE_DIR}/test-support)
