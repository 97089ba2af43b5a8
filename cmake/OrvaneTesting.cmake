# orvane_add_gtest(NAME [QT] [TIMEOUT SECONDS] SOURCES... LIBS ...): one GoogleTest program, each
# case its own CTest test, failed when it runs past SECONDS (CTest's default otherwise). QT gives
# the program a QApplication (off screen) before the tests run. Cases are
# listed when CTest runs, not at build time, so tests that need a display or files build anywhere.
function(orvane_add_gtest name)
  cmake_parse_arguments(ARG "QT" "TIMEOUT" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  if(ARG_QT)
    target_link_libraries(${name} PRIVATE orvane_qt_test_main)
  else()
    target_link_libraries(${name} PRIVATE GTest::gtest_main)
  endif()
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gtest GTest::gmock)
  set(timeout)
  if(ARG_TIMEOUT)
    set(timeout TIMEOUT ${ARG_TIMEOUT})
  endif()
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST
    PROPERTIES ${timeout} ENVIRONMENT QT_QPA_PLATFORM=offscreen)
endfunction()

# The length of stress tests, read the same way by every component's tests.
add_library(orvane_stress_rounds INTERFACE)
target_include_directories(orvane_stress_rounds INTERFACE ${PROJECT_SOURCE_DIR}/test-support)
