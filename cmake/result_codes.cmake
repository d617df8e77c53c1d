# Lists of result codes, generated from the comments of their enumerators, where alone these texts are typed.

# Writes a VESK_RESULT(name, code, meaning, origin) for each enumerator of a header to @p output, a list to include.
# An enumerator's comment must be on the same line.
function(vesk_result_list output origin header pattern)
  set(path ${PROJECT_SOURCE_DIR}/${header})
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${path})
  set(row "^ +(${pattern}) = (0x[0-9a-f]+|[0-9]+),? +/\\*\\*< (.+) \\*/$")
  set(list "// Result codes, generated from ${header}. Define VESK_RESULT(name, code, meaning, origin) and include it.\n")
  file(STRINGS ${path} lines REGEX "^ +${pattern} = ")
  foreach(line IN LISTS lines)
    if(NOT line MATCHES "${row}")
      message(FATAL_ERROR "${header}: not an enumerator, its value and its comment: ${line}")
    endif()
    string(REGEX REPLACE "${row}" "\\1" name "${line}")
    string(REGEX REPLACE "^.* = ([^ ,]+),? .*$" "\\1" code "${line}")
    string(REGEX REPLACE "^.*/\\*\\*< (.+) \\*/$" "\\1" meaning "${line}")
    string(APPEND list "VESK_RESULT(${name}, ${code}, \"${meaning}\", \"${origin}\")\n")
  endforeach()
  file(CONFIGURE OUTPUT ${output} CONTENT "@list@" @ONLY)
endfunction()

# The headers' lists lie beside them when they are installed; vesk_video/result_text.h includes them.
set(VESK_GENERATED_INCLUDE_DIR ${PROJECT_BINARY_DIR}/include)
vesk_result_list(${VESK_GENERATED_INCLUDE_DIR}/vesk_video/results.def
  "library" include/vesk_video/common.h "VESK_VIDEO_(OK|ERR_[A-Z_]+)")
vesk_result_list(${VESK_GENERATED_INCLUDE_DIR}/vesk_service/results.def
  "virtual service" include/vesk_service/virtual_service.h "VESK_SERVICE_ERR_[A-Z_]+")
