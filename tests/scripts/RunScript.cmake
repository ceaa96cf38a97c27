# Runs tonvik on one script and compares what it prints with the files beside the script:
# NAME.out (standard output, required) and NAME.err (standard error; when present the run must
# exit with status 1, when absent it must exit 0 and print nothing on standard error).
# NAME.args, when present, holds options for the tool (`--frames 3` for a movie script).
#
# -DTONVIK=<tool> -DSCRIPT=<NAME.ls> -DMODE=file|stdin|inline
# In stdin and inline modes the script reaches the tool through standard input or -e, and the
# expected errors name the source "-" or "-e" instead of the file.
cmake_minimum_required(VERSION 3.22)

get_filename_component(dir "${SCRIPT}" DIRECTORY)
get_filename_component(name "${SCRIPT}" NAME_WE)
get_filename_component(file "${SCRIPT}" NAME)

set(options "")
if(EXISTS "${dir}/${name}.args")
  file(READ "${dir}/${name}.args" options)
  separate_arguments(options UNIX_COMMAND "${options}")
endif()

if(MODE STREQUAL "stdin")
  execute_process(COMMAND "${TONVIK}" ${options} INPUT_FILE "${SCRIPT}" OUTPUT_VARIABLE out
                  ERROR_VARIABLE err RESULT_VARIABLE status)
  set(source "-")
elseif(MODE STREQUAL "inline")
  file(READ "${SCRIPT}" text)
  execute_process(COMMAND "${TONVIK}" ${options} -e "${text}" OUTPUT_VARIABLE out
                  ERROR_VARIABLE err RESULT_VARIABLE status)
  set(source "-e")
else()
  execute_process(COMMAND "${TONVIK}" ${options} "${SCRIPT}" OUTPUT_VARIABLE out
                  ERROR_VARIABLE err RESULT_VARIABLE status)
  set(source "${file}")
endif()

file(READ "${dir}/${name}.out" expected_out)
set(expected_err "")
set(expected_status 0)
if(EXISTS "${dir}/${name}.err")
  file(READ "${dir}/${name}.err" expected_err)
  string(REPLACE "(${file}:" "(${source}:" expected_err "${expected_err}")
  set(expected_status 1)
endif()

set(failures "")
if(NOT status STREQUAL expected_status)
  string(APPEND failures "exit status ${status}, expected ${expected_status}\n")
endif()
if(NOT out STREQUAL expected_out)
  string(APPEND failures "standard output differs\n--- expected\n${expected_out}--- got\n${out}")
endif()
if(NOT err STREQUAL expected_err)
  string(APPEND failures "standard error differs\n--- expected\n${expected_err}--- got\n${err}")
endif()
if(failures)
  message(FATAL_ERROR "${file} (${MODE}):\n${failures}")
endif()
