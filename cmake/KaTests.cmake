# One helper per kind of test.

find_package(GTest REQUIRED)
include(GoogleTest)

# The tests must never write a core file or wait for a hung process: ctest ends one after this.
set(KA_TEST_TIMEOUT 120)

# tests/unit/<name>_test.cpp -> executable unit_<name>, one ctest entry per test, label "unit".
function(ka_add_unit_test name)
  add_executable(unit_${name} ${name}_test.cpp)
  target_link_libraries(unit_${name}
    PRIVATE ka-tts-core ka-test-support GTest::gmock_main project_warnings)
  gtest_discover_tests(unit_${name}
    TEST_PREFIX unit. DISCOVERY_TIMEOUT 60
    PROPERTIES LABELS unit TIMEOUT ${KA_TEST_TIMEOUT})
endfunction()
