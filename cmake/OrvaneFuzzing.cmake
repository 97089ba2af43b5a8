# libFuzzer needs clang while the main build uses g++, so a fuzz folder is built again as a
# project of its own with clang-14, and each target gets a short fuzzing run as a test.
#
# orvane_add_fuzzers(PROJECT NAME TARGETS t1 t2 ...): builds the folder's targets; fuzzing runs
# are added with orvane_add_fuzz_run. Does nothing (with a note) when clang-14 is missing.
function(orvane_add_fuzzers)
  cmake_parse_arguments(ARG "" "PROJECT" "TARGETS" ${ARGN})
  find_program(ORVANE_CLANGXX clang++-14)
  if(NOT ORVANE_CLANGXX)
    message(STATUS "clang-14 not found: ${ARG_PROJECT} not built (scripts/install-deps.sh installs it)")
    set(ORVANE_FUZZ_BIN "" PARENT_SCOPE)
    return()
  endif()
  include(ExternalProject)
  set(bin ${CMAKE_CURRENT_BINARY_DIR}/build)
  set(byproducts)
  foreach(target ${ARG_TARGETS})
    list(APPEND byproducts ${bin}/${target})
  endforeach()
  ExternalProject_Add(${ARG_PROJECT}
    SOURCE_DIR ${CMAKE_CURRENT_SOURCE_DIR}
    BINARY_DIR ${bin}
    CMAKE_ARGS -DCMAKE_CXX_COMPILER=${ORVANE_CLANGXX}
               -DCMAKE_BUILD_TYPE=RelWithDebInfo
    BUILD_ALWAYS ON
    INSTALL_COMMAND ""
    BUILD_BYPRODUCTS ${byproducts})
  set(ORVANE_FUZZ_BIN ${bin} PARENT_SCOPE)
endfunction()

# orvane_add_fuzz_run(TEST NAME TARGET t MAX_LEN n RUNS n SEEDS dirs...): RUNS inputs fuzzed
# from the seeds, the same work however busy the machine is; a crash, a hang past 10 s on one
# input or a leak fails the test.
function(orvane_add_fuzz_run)
  cmake_parse_arguments(ARG "" "TEST;TARGET;MAX_LEN;RUNS" "SEEDS" ${ARGN})
  set(corpus ${CMAKE_CURRENT_BINARY_DIR}/corpus_${ARG_TARGET})
  file(MAKE_DIRECTORY ${corpus})
  add_test(NAME ${ARG_TEST}
    COMMAND ${ORVANE_FUZZ_BIN}/${ARG_TARGET} -runs=${ARG_RUNS} -timeout=10 -rss_limit_mb=2048
            -max_len=${ARG_MAX_LEN} -detect_leaks=1 -print_final_stats=1 ${corpus} ${ARG_SEEDS})
  set_tests_properties(${ARG_TEST} PROPERTIES TIMEOUT 120 LABELS fuzz)
endfunction()
