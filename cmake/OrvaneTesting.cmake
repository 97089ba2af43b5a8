# orvane_add_gtest(NAME SOURCES... LIBS ...): one GoogleTest program, each case its own CTest
# test. Cases are listed when CTest runs (not at build time), so tests that need a display or
# the plug-in on disk build anywhere.
function(orvane_add_gtest name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gtest GTest::gmock GTest::gtest_main)
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST
    PROPERTIES ENVIRONMENT "QT_QPA_PLATFORM=offscreen;ORVANE_SOURCE_DIR=${PROJECT_SOURCE_DIR}")
endfunction()
