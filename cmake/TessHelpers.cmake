# tess_library(name SOURCES ... DEPS ...): one static library per folder under src/.
function(tess_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
    add_library(tess_${name} STATIC ${ARG_SOURCES})
    target_include_directories(tess_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(tess_${name} PUBLIC ${ARG_DEPS})
endfunction()

# tess_test(name SOURCES ... DEPS ...): one GoogleTest program per library, each test a CTest test.
function(tess_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
    add_executable(test_${name} ${ARG_SOURCES})
    target_include_directories(test_${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(test_${name} PRIVATE ${ARG_DEPS} tess_testsupport GTest::gtest_main
                                               GTest::gmock)
    target_compile_definitions(test_${name} PRIVATE
        TESS_BINARY="$<TARGET_FILE:tessarolle>"
        TESS_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
    gtest_discover_tests(test_${name} DISCOVERY_MODE PRE_TEST
        PROPERTIES ENVIRONMENT "TESS_TEST_TMP=${CMAKE_BINARY_DIR}/test-tmp")
endfunction()
