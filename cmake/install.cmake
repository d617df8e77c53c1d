# Installation components:
#   library        the shared library
#   development    headers, pkg-config file, CMake package, the first example
#   host_platform  the host platform
#   service        the virtual video service
include(CMakePackageConfigHelpers)

set_target_properties(vesk_video_interface PROPERTIES INSTALL_RPATH "$ORIGIN")
target_include_directories(vesk_video_interface INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
install(TARGETS vesk_video_interface EXPORT vesk_video_interface_targets
  LIBRARY COMPONENT library NAMELINK_COMPONENT development)
install(DIRECTORY include/vesk_video TYPE INCLUDE COMPONENT development)

set(exported vesk_video_interface)
if(VESK_PLATFORM STREQUAL host)
  set_target_properties(vesk_host_platform PROPERTIES INSTALL_RPATH "$ORIGIN")
  target_include_directories(vesk_host_platform INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  install(TARGETS vesk_host_platform EXPORT vesk_video_interface_targets
    LIBRARY COMPONENT host_platform NAMELINK_COMPONENT development)
  install(DIRECTORY platform/include/platform platform/host/include/vesk_host service/include/vesk_service
    TYPE INCLUDE COMPONENT development)

  file(RELATIVE_PATH libraries_from_bin "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
  set_target_properties(vesk-video-service display_tour PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries_from_bin}")
  install(TARGETS vesk-video-service RUNTIME COMPONENT service)
  install(PROGRAMS $<TARGET_FILE:display_tour> TYPE BIN RENAME vesk-display-tour COMPONENT development)
endif()

# The pkg-config file derives the prefix from its own location, so an installed tree can be moved.
file(RELATIVE_PATH prefix_from_pc "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
configure_file(cmake/vesk_video_interface.pc.in vesk_video_interface.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vesk_video_interface.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT development)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/vesk_video_interface)
install(EXPORT vesk_video_interface_targets NAMESPACE vesk:: DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(cmake/vesk_video_interface-config.cmake.in vesk_video_interface-config.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(vesk_video_interface-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/vesk_video_interface-config.cmake
  ${PROJECT_BINARY_DIR}/vesk_video_interface-config-version.cmake DESTINATION ${package_dir} COMPONENT development)
