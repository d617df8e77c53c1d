# exported_names.txt is the one list of what the library exports: the linker keeps everything else
# local, and a test holds the built library against it.
set(VESK_EXPORTED_NAMES "${PROJECT_SOURCE_DIR}/abi/exported_names.txt")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${VESK_EXPORTED_NAMES}")
file(STRINGS "${VESK_EXPORTED_NAMES}" exported_names REGEX "^[A-Za-z_]")
list(JOIN exported_names ";\n  " exported_lines)
set(version_script "${PROJECT_BINARY_DIR}/exports.map")
file(CONFIGURE OUTPUT "${version_script}" CONTENT "{\nglobal:\n  @exported_lines@;\nlocal:\n  *;\n};\n" @ONLY)
target_link_options(vesk_video_interface PRIVATE "-Wl,--version-script=${version_script}")
set_property(TARGET vesk_video_interface APPEND PROPERTY LINK_DEPENDS "${version_script}")
