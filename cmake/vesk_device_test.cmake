# vesk_add_device_test: a test that has a virtual device of its own.

#[[
  vesk_add_device_test(NAME name COMMAND command [argument ...]
                       [DEVICE file] [SCENARIO file] [TIMEOUT seconds] [LABELS label ...])

Adds a test that runs a command, which may be an executable target, by "veskctl with-device": with a virtual
service of its own, so that such tests can run in parallel. DEVICE describes the device, SCENARIO what happens
on it; their paths are relative to the current source directory, and a name that is not there is that of an
installed file. The test passes if the command exits with 0.
]]
function(vesk_add_device_test)
  cmake_parse_arguments(PARSE_ARGV 0 test "" "NAME;DEVICE;SCENARIO;TIMEOUT" "COMMAND;LABELS")
  if(test_UNPARSED_ARGUMENTS OR test_KEYWORDS_MISSING_VALUES OR NOT test_NAME OR NOT test_COMMAND)
    message(FATAL_ERROR "vesk_add_device_test needs NAME and COMMAND, and may have DEVICE, SCENARIO, TIMEOUT and "
      "LABELS, each with a value: ${test_UNPARSED_ARGUMENTS} ${test_KEYWORDS_MISSING_VALUES}")
  endif()
  if(TARGET veskctl)
    set(veskctl $<TARGET_FILE:veskctl>)
  else()
    get_property(bin_dir GLOBAL PROPERTY VESK_BIN_DIR)
    find_program(VESK_VESKCTL veskctl HINTS "${bin_dir}" DOC "Runs tests with a virtual device")
    if(NOT VESK_VESKCTL)
      message(FATAL_ERROR "vesk_add_device_test: veskctl is neither in ${bin_dir} nor in PATH")
    endif()
    set(veskctl ${VESK_VESKCTL})
  endif()
  set(options "")
  foreach(option DEVICE SCENARIO)
    if(test_${option})
      string(TOLOWER ${option} word)
      if(test_${option} MATCHES "/" OR EXISTS "${CMAKE_CURRENT_SOURCE_DIR}/${test_${option}}")
        cmake_path(ABSOLUTE_PATH test_${option} BASE_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}" NORMALIZE)
      endif()
      list(APPEND options --${word} "${test_${option}}")
    endif()
  endforeach()
  list(GET test_COMMAND 0 program)
  if(TARGET "${program}") # by a text function, since those of lists lose the semicolons in arguments
    string(REGEX REPLACE "^[^;]+" "$<TARGET_FILE:${program}>" test_COMMAND "${test_COMMAND}")
  endif()
  add_test(NAME "${test_NAME}" COMMAND "${veskctl}" with-device ${options} -- ${test_COMMAND})
  if(DEFINED test_TIMEOUT)
    set_tests_properties("${test_NAME}" PROPERTIES TIMEOUT ${test_TIMEOUT})
  endif()
  if(DEFINED test_LABELS)
    set_tests_properties("${test_NAME}" PROPERTIES LABELS "${test_LABELS}")
  endif()
endfunction()
