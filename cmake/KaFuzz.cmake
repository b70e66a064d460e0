# One helper for fuzz targets.

# Builds all of them.
add_custom_target(ka-fuzzers)

# The code beside the server's runs without instrumentation when libFuzzer drives it: that makes it
# some five times as fast, and coverage then is coverage of the server.
function(ka_leave_uninstrumented)
  if(KA_SANITIZERS MATCHES fuzzer)
    set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS "-fno-sanitize=all;-O2")
  endif()
endfunction()

# fuzz/<name>_fuzz.cpp -> executable fuzz_<name>, linked with the further libraries named, and one
# ctest entry, label "fuzz", that runs the committed corpus. With libFuzzer's instrumentation (preset
# "fuzz") libFuzzer has the `main`, otherwise fuzz/replay.cpp.
function(ka_add_fuzzer name)
  add_executable(fuzz_${name} ${name}_fuzz.cpp)
  ka_leave_uninstrumented(${name}_fuzz.cpp)
  target_link_libraries(fuzz_${name} PRIVATE ka-fuzz-support ${ARGN} project_warnings)
  if(KA_SANITIZERS MATCHES fuzzer)
    target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
    set(options -runs=0)
  else()
    target_sources(fuzz_${name} PRIVATE replay.cpp)
  endif()
  add_dependencies(ka-fuzzers fuzz_${name})
  add_test(NAME fuzz.${name}
    COMMAND fuzz_${name} ${options} ${CMAKE_CURRENT_SOURCE_DIR}/corpus/${name})
  set_tests_properties(fuzz.${name} PROPERTIES LABELS fuzz TIMEOUT ${KA_TEST_TIMEOUT})
endfunction()
