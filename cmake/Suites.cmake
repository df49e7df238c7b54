# Registers tests with CTest: one entry for each program, or for each shard of one. An entry for each
# case would start thousands of processes.
#
#   velmiro_test(NAME LABELS label... COMMAND program argument...
#                [GOOGLETEST | TAP] [FILTER filter] [SHARDS count] [TIMEOUT seconds] [COST number]
#                [WAITS] [ENVIRONMENT NAME=value...])
#
# GOOGLETEST and TAP say how the program reports its cases, into a file below build/<preset>/reports;
# script/run_tests.py reads it. Any other program is one case, which its exit status decides.
#
# CTest's unit of load is half a processor: a program that computes takes two, one that mostly WAITS
# takes one. The entries of the highest COST start first. One that exceeds its TIMEOUT fails, because a
# hang has to end; the limit is generous, because a busy machine is not a hang.

option(VELMIRO_LINT "Register what checks the sources, and no test" OFF)

function(velmiro_test name)
    set(flags GOOGLETEST TAP WAITS)
    set(values FILTER SHARDS TIMEOUT COST)
    cmake_parse_arguments(PARSE_ARGV 1 test "${flags}" "${values}" "LABELS;COMMAND;ENVIRONMENT")
    if(VELMIRO_LINT AND NOT lint IN_LIST test_LABELS)
        return()
    endif()
    if(NOT test_SHARDS)
        set(test_SHARDS 1)
    endif()
    if(NOT test_TIMEOUT)
        set(test_TIMEOUT 600)
    endif()
    if(VELMIRO_SANITIZE)
        math(EXPR test_TIMEOUT "3 * ${test_TIMEOUT}")
    endif()
    set(processors 2)
    if(test_WAITS)
        set(processors 1)
    endif()
    foreach(shard RANGE 1 ${test_SHARDS})
        set(entry "${name}")
        set(environment ${test_ENVIRONMENT})
        if(test_SHARDS GREATER 1)
            set(entry "${name} ${shard}/${test_SHARDS}")
            math(EXPR index "${shard} - 1")
            list(APPEND environment GTEST_TOTAL_SHARDS=${test_SHARDS} GTEST_SHARD_INDEX=${index})
        endif()
        string(REGEX REPLACE "[^A-Za-z0-9_]" "_" report "${entry}")
        set(report "${CMAKE_BINARY_DIR}/reports/${report}")
        set(command ${test_COMMAND})
        if(test_GOOGLETEST)
            list(APPEND environment GTEST_OUTPUT=json:${report}.json GTEST_BRIEF=1 GTEST_COLOR=no)
            if(test_FILTER)
                list(APPEND environment "GTEST_FILTER=${test_FILTER}")
            endif()
        elseif(test_TAP)
            list(APPEND environment TAP_REPORT=${report}.tap)
            list(PREPEND command "${CMAKE_SOURCE_DIR}/script/with_report")
        endif()
        add_test(NAME "${entry}" COMMAND ${command} WORKING_DIRECTORY "${CMAKE_SOURCE_DIR}")
        set_tests_properties(
            "${entry}" PROPERTIES LABELS "${test_LABELS}" TIMEOUT ${test_TIMEOUT}
                                  PROCESSORS ${processors} ENVIRONMENT "${environment}")
        if(test_COST)
            set_tests_properties("${entry}" PROPERTIES COST ${test_COST})
        endif()
    endforeach()
endfunction()
