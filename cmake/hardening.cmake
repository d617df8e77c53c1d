# Hardening of all targets. Sanitizers bring checks of their own, which fortified functions would hide from them.
include(CheckPIESupported)
check_pie_supported()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
if(NOT VESK_SANITIZE)
  add_compile_options(-fstack-protector-strong -fstack-clash-protection)
  # Fortification needs an optimising build.
  add_compile_options("$<$<NOT:$<CONFIG:Debug>>:SHELL:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>")
endif()
if(CMAKE_SYSTEM_PROCESSOR STREQUAL aarch64)
  add_compile_options(-mbranch-protection=standard)
elseif(CMAKE_SYSTEM_PROCESSOR STREQUAL x86_64)
  add_compile_options(-fcf-protection)
endif()
