# Compiles every header below INCLUDE_DIR by itself with COMPILER as STANDARD; what is generated is in GENERATED_DIR.
file(GLOB headers ${INCLUDE_DIR}/vesk_video/*.h)
if(NOT headers)
  message(FATAL_ERROR "no headers below ${INCLUDE_DIR}")
endif()
string(REGEX REPLACE "^(c|gnu)[0-9].*" "c" language ${STANDARD})
string(REGEX REPLACE "^c[+][+].*" "c++" language ${language})
foreach(header IN LISTS headers)
  execute_process(
    COMMAND ${COMPILER} -x ${language} -std=${STANDARD} -Wall -Wextra -pedantic -Werror -fsyntax-only -I${INCLUDE_DIR} -I${GENERATED_DIR}
      ${header}
    COMMAND_ERROR_IS_FATAL ANY)
endforeach()
