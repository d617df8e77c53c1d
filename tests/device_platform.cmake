# Builds the library against a platform given by path, as one does for a device.
file(REMOVE_RECURSE ${BINARY_DIR})
execute_process(
  COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${BINARY_DIR} -G ${GENERATOR} -DCMAKE_CXX_COMPILER=${COMPILER}
    -DCMAKE_BUILD_TYPE=Debug -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -DVESK_PLATFORM=device
    -DVESK_PLATFORM_INCLUDE_DIR=${INCLUDE_DIR} -DVESK_PLATFORM_LIBRARIES=${LIBRARIES}
  COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} --build ${BINARY_DIR} COMMAND_ERROR_IS_FATAL ANY)
if(NOT EXISTS ${BINARY_DIR}/libvesk_video_interface.so.${VERSION})
  message(FATAL_ERROR "libvesk_video_interface.so.${VERSION} was not built")
endif()
execute_process(
  COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${BINARY_DIR}/refused -G ${GENERATOR} -DVESK_PLATFORM=device
    -DVESK_PLATFORM_INCLUDE_DIR=/nonexistent
  RESULT_VARIABLE result ERROR_VARIABLE errors OUTPUT_QUIET)
if(result EQUAL 0 OR NOT errors MATCHES "VESK_PLATFORM_INCLUDE_DIR='/nonexistent' holds no platform/os_msg.h")
  message(FATAL_ERROR "a missing platform is not refused clearly: ${errors}")
endif()
