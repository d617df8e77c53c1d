# Installs the libraries, their headers, pkg-config files and CMake package, the programs and their manual pages.
include(CMakePackageConfigHelpers)

# The pkg-config files derive the prefix from their own location, so an installed tree can be moved.
file(RELATIVE_PATH prefix_from_pc "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")

# Installs a library as part of the CMake package, and a pkg-config file of the same name.
function(install_library name include_dir description)
  set_target_properties(${name} PROPERTIES INSTALL_RPATH "$ORIGIN")
  target_include_directories(${name} INTERFACE $<INSTALL_INTERFACE:${include_dir}>)
  install(TARGETS ${name} EXPORT vesk_video_interface_targets)
  get_target_property(version ${name} VERSION)
  configure_file(cmake/library.pc.in ${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()

set_target_properties(vesk_video_interface PROPERTIES EXPORT_NAME video_interface)
install_library(vesk_video_interface ${CMAKE_INSTALL_INCLUDEDIR}
  "Client-side video interface of a video device's media stack")
install(DIRECTORY include/vesk_video ${VESK_GENERATED_INCLUDE_DIR}/vesk_video TYPE INCLUDE)

file(RELATIVE_PATH libraries_from_bin "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
install(TARGETS vesk_trace LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES docs/man/libvesk_trace.7 DESTINATION ${CMAKE_INSTALL_MANDIR}/man7)
if(VESK_BUILD_TOOLS)
  # Where Wireshark looks when it is installed below the same prefix.
  install(FILES ${PROJECT_BINARY_DIR}/tools/dissector/vesk.lua DESTINATION ${CMAKE_INSTALL_LIBDIR}/wireshark/plugins)
  set_target_properties(veskctl PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries_from_bin}")
  install(TARGETS veskctl)
  install(FILES docs/man/veskctl.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES docs/veskctl.schema.json DESTINATION ${CMAKE_INSTALL_DATADIR}/vesk_video_interface)
  install(FILES tools/veskctl/completion.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
    RENAME veskctl)
  install(FILES tools/veskctl/completion.zsh DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions RENAME _veskctl)
  install(FILES tools/veskctl/completion.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d
    RENAME veskctl.fish)
  if(VESK_PLATFORM STREQUAL host)
    set(extcap_dir ${CMAKE_INSTALL_LIBDIR}/wireshark/extcap)
    file(RELATIVE_PATH veskctl_from_extcap "${CMAKE_INSTALL_FULL_LIBDIR}/wireshark/extcap" "${CMAKE_INSTALL_FULL_BINDIR}/veskctl")
    file(CREATE_LINK ${veskctl_from_extcap} ${PROJECT_BINARY_DIR}/vesk-extcap SYMBOLIC)
    install(FILES ${PROJECT_BINARY_DIR}/vesk-extcap DESTINATION ${extcap_dir})
  endif()
endif()

# Modules of veskctl, and the program that reads files for them.
foreach(module veskctl_pictures veskctl_web)
  if(TARGET ${module})
    set_target_properties(${module} PROPERTIES INSTALL_RPATH "$ORIGIN/..")
    install(TARGETS ${module} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/vesk-video)
  endif()
endforeach()
if(TARGET vesk-media)
  install(TARGETS vesk-media RUNTIME DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/vesk-video)
endif()
if(TARGET veskctl_web)
  install(DIRECTORY tools/web/page/ DESTINATION ${CMAKE_INSTALL_DATADIR}/vesk_video_interface/web)
endif()

if(VESK_PLATFORM STREQUAL host)
  # platform/ is too common a name for the top of the include path.
  set(platform_include_dir ${CMAKE_INSTALL_INCLUDEDIR}/vesk_host_platform)
  install_library(vesk_host_platform ${platform_include_dir} "Stand-in for a video device's platform")
  install(DIRECTORY platform/include/platform platform/host/include/vesk_host DESTINATION ${platform_include_dir})
  install(DIRECTORY include/vesk_service ${VESK_GENERATED_INCLUDE_DIR}/vesk_service TYPE INCLUDE)

  set(programs vesk-video-service)
  if(PROJECT_IS_TOP_LEVEL)
    list(APPEND programs vesk-minimal vesk-display-tour vesk-device-tour)
  endif()
  set_target_properties(${programs} PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries_from_bin}")
  install(TARGETS ${programs})
  list(TRANSFORM programs REPLACE "(.+)" "docs/man/\\1.1" OUTPUT_VARIABLE pages)
  install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(DIRECTORY service/devices service/scenarios DESTINATION ${CMAKE_INSTALL_DATADIR}/vesk_video_interface)
  # The unit names the program's place, which is known when it is installed.
  set(unit ${PROJECT_BINARY_DIR}/vesk-video-service.service)
  install(CODE "
    cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_PREFIX OUTPUT_VARIABLE bindir)
    cmake_path(APPEND bindir \"${CMAKE_INSTALL_BINDIR}\")
    configure_file(\"${PROJECT_SOURCE_DIR}/service/vesk-video-service.service.in\" \"${unit}\" @ONLY)")
  install(FILES ${unit} DESTINATION lib/systemd/user)
endif()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/vesk_video_interface)
install(EXPORT vesk_video_interface_targets NAMESPACE vesk:: DESTINATION ${package_dir})
configure_package_config_file(cmake/vesk_video_interface-config.cmake.in vesk_video_interface-config.cmake
  INSTALL_DESTINATION ${package_dir} PATH_VARS CMAKE_INSTALL_BINDIR)
write_basic_package_version_file(vesk_video_interface-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/vesk_video_interface-config.cmake
  ${PROJECT_BINARY_DIR}/vesk_video_interface-config-version.cmake DESTINATION ${package_dir})
if(VESK_BUILD_TOOLS AND VESK_PLATFORM STREQUAL host)
  install(FILES cmake/vesk_device_test.cmake DESTINATION ${package_dir})
endif()
