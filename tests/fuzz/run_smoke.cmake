# Runs the fuzzer briefly over a scratch copy of the seed corpus; fails when
# the fuzzer finds a crash, a leak or undefined behaviour.
file(REMOVE_RECURSE ${WORK})
file(COPY ${SEEDS}/ DESTINATION ${WORK})
execute_process(
  COMMAND ${FUZZER} -max_total_time=20 -seed=1 -rss_limit_mb=1024 -max_len=4096 ${WORK}
  WORKING_DIRECTORY ${WORK}
  RESULT_VARIABLE result
  OUTPUT_VARIABLE output
  ERROR_VARIABLE output)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "fuzzer failed (${result}):\n${output}")
endif()
string(REGEX MATCH "Done [0-9]+ runs[^\n]*" done "${output}")
message(STATUS "${done}")
