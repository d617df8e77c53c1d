include(${CMAKE_CURRENT_LIST_DIR}/request_texts.cmake)

# Puts what the tools say of the protocol where their sources include it, below @p directory: the layouts of the
# records, the host platform's result codes, and what the headers say of each request.
function(vesk_protocol_text directory)
  set(decoder ${PROJECT_SOURCE_DIR}/decoder)
  set(records ${PROJECT_SOURCE_DIR}/abi/records.txt)
  set(views ${decoder}/virtual_service_views.txt)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${records} ${views})
  file(READ ${records} record_text)
  file(READ ${views} view_text)
  configure_file(${decoder}/record_text.h.in ${directory}/decoder/record_text.h @ONLY)

  vesk_result_list(${directory}/decoder/platform_results.def
    "host platform" platform/host/include/vesk_host/message.h "HOST_MSG_ERR_[A-Z_]+")

  vesk_request_texts(request_texts)
  file(CONFIGURE OUTPUT ${directory}/decoder/request_texts.inc CONTENT "@request_texts@" @ONLY)
endfunction()
