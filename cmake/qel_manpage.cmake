# Writes the man page of qel from its own help: help2man reads `qel --help` and
# `qel --version`, and a COMANDOS section quotes `qel COMMAND --help` for each command that
# `qel --help` lists (indented lines under "Comandos:"). The page is then gzipped beside it.
# Usage: cmake -DQEL=path/to/qel -DHELP2MAN=... -DGZIP=... -DOUT=dir/qel.1 -P qel_manpage.cmake
foreach(v QEL HELP2MAN GZIP OUT)
  if(NOT ${v})
    message(FATAL_ERROR "qel_manpage.cmake: ${v} is not set")
  endif()
endforeach()
set(ENV{LC_ALL} C.UTF-8)

execute_process(COMMAND ${QEL} --help OUTPUT_VARIABLE help RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "qel --help failed (${status})")
endif()

# roff: a backslash is \e, and a line starting with "." or "'" would be a request.
function(qel_roff_escape text out)
  string(REPLACE "\\" "\\e" text "${text}")
  string(REGEX REPLACE "(^|\n)([.'])" "\\1\\\\&\\2" text "${text}")
  set(${out} "${text}" PARENT_SCOPE)
endfunction()

# The command names: the first word of each indented line between "Comandos:" and the next
# blank line (matched whole, so that brackets in the help never split a list).
string(FIND "${help}" "\nComandos:\n" start)
if(start EQUAL -1)
  message(FATAL_ERROR "qel --help lists no \"Comandos:\"")
endif()
string(SUBSTRING "${help}" ${start} -1 listing)
string(SUBSTRING "${listing}" 11 -1 listing)
string(FIND "${listing}" "\n\n" end)
string(SUBSTRING "${listing}" 0 ${end} listing)
string(REGEX MATCHALL "\n  +[a-z][a-z0-9-]*" names "\n${listing}")

# help2man finds no synopsis in Spanish help ("Uso:" rather than "Usage:"): give it one.
set(commands_section "[SYNOPSIS]\n.B qel\n[\\fICOMANDO\\fR] [\\fIARGUMENTOS\\fR...]\n[COMANDOS]\n")
foreach(match IN LISTS names)
  string(STRIP "${match}" name)
  execute_process(COMMAND ${QEL} ${name} --help OUTPUT_VARIABLE usage RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "qel ${name} --help failed (${status})")
  endif()
  if(NOT usage MATCHES "\n$")
    string(APPEND usage "\n")
  endif()
  qel_roff_escape("${usage}" usage)
  string(APPEND commands_section ".SS \"qel ${name}\"\n.nf\n${usage}.fi\n")
endforeach()
if(NOT names)
  message(FATAL_ERROR "qel --help lists no commands")
endif()

get_filename_component(dir "${OUT}" DIRECTORY)
file(MAKE_DIRECTORY "${dir}")
file(WRITE "${OUT}.include" "${commands_section}")
execute_process(
  COMMAND ${HELP2MAN} --no-info --no-discard-stderr --section=1
          "--name=tareas de la biblioteca qelstd desde la terminal"
          "--include=${OUT}.include" "--output=${OUT}" ${QEL}
  RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "help2man failed (${status})")
endif()
execute_process(COMMAND ${GZIP} -9 -n -c "${OUT}" OUTPUT_FILE "${OUT}.gz" RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "gzip failed (${status})")
endif()
