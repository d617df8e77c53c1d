# Language standard, warnings and sanitizers for all targets.
if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Build type" FORCE)
endif()

set(CMAKE_C_STANDARD 11)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

find_package(Threads REQUIRED)

add_compile_options(-Wall -Wextra -Wformat=2 -Wconversion -Wshadow)
if(VESK_WARNINGS_AS_ERRORS)
  add_compile_options(-Werror)
endif()

if(VESK_SANITIZE)
  add_compile_options(-fsanitize=${VESK_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${VESK_SANITIZE})
else()
  add_link_options(-Wl,--no-undefined)
endif()
