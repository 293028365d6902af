# Makes the man pages of vxcam from its own help with help2man. Run as a script:
#
#   cmake -DVXCAM=<program> -DHELP2MAN=<help2man> -DVERSION=<x.y.z> -DOUT=<folder> -P VxManPages.cmake
#
# Writes OUT/vxcam.1 from `vxcam --help` and `vxcam --version`, and OUT/vxcam-COMMAND.1 from
# `vxcam COMMAND --help` for every command that `vxcam --help` lists, so that a new command gets
# its page without an edit here. The texts are the English ones.

foreach(var VXCAM HELP2MAN VERSION OUT)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "VxManPages.cmake: -D${var}=... is missing")
  endif()
endforeach()
if(NOT HELP2MAN)
  message(FATAL_ERROR "help2man was not found: scripts/install-deps.sh installs it")
endif()

set(ENV{VX_LANG} en)
execute_process(COMMAND "${VXCAM}" --help OUTPUT_VARIABLE help RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${VXCAM} --help failed (${status})")
endif()

# The first line is "vxcam: what it does"; the commands are the indented lines after "Commands:"
# up to the next empty line, each its name and what it does.
string(REGEX MATCH "^vxcam: ([^\n]*)" _ "${help}")
set(summary "${CMAKE_MATCH_1}")
string(REGEX MATCH "\nCommands:\n(( +[^\n]+\n)+)" _ "${help}")
string(REPLACE ";" "," block "${CMAKE_MATCH_1}")
string(REPLACE "\n" ";" lines "${block}")
set(commands)
foreach(line IN LISTS lines)
  if(line MATCHES "^ +([a-z][a-z0-9-]*) +(.+)$")
    list(APPEND commands "${CMAKE_MATCH_1}")
    set(summary_${CMAKE_MATCH_1} "${CMAKE_MATCH_2}")
  endif()
endforeach()
if(NOT summary OR NOT commands)
  message(FATAL_ERROR "${VXCAM} --help names no commands:\n${help}")
endif()

file(REMOVE_RECURSE "${OUT}")
file(MAKE_DIRECTORY "${OUT}")

# help2man adds the sections of an include file to the page.
set(see_also "[SEE ALSO]\n")
foreach(command IN LISTS commands)
  string(APPEND see_also ".BR vxcam-${command} (1),\n")
endforeach()
string(APPEND see_also
  "and the documentation of VxCameraUtils: docs/vxcam.md (the tool), docs/file-reference.md "
  "(the files it reads and writes) and docs/entering-a-calibration-report.md.\n")
file(WRITE "${OUT}/vxcam.h2m" "${see_also}")
file(WRITE "${OUT}/vxcam-command.h2m"
  "[SEE ALSO]\n.BR vxcam (1),\nwhich lists every command, and docs/vxcam.md of VxCameraUtils.\n")

function(run_help2man)
  # help2man reads the help in the encoding of its locale: in its default "C" a µ is "??".
  execute_process(COMMAND "${HELP2MAN}" --no-info --section=1 --locale=C.UTF-8 ${ARGN}
    RESULT_VARIABLE result ERROR_VARIABLE errors)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "help2man ${ARGN} failed:\n${errors}")
  endif()
endfunction()

run_help2man(--name=${summary} --include=${OUT}/vxcam.h2m --output=${OUT}/vxcam.1 ${VXCAM})
foreach(command IN LISTS commands)
  run_help2man(--name=${summary_${command}} "--help-option=${command} --help"
    "--version-string=vxcam-${command} ${VERSION}" --include=${OUT}/vxcam-command.h2m
    --output=${OUT}/vxcam-${command}.1 ${VXCAM})
endforeach()
file(REMOVE "${OUT}/vxcam.h2m" "${OUT}/vxcam-command.h2m")

# The signs of the help as groff's names for them, so that a page reads the same in any locale.
file(GLOB pages "${OUT}/*.1")
foreach(page IN LISTS pages)
  file(READ "${page}" text)
  string(REPLACE "µ" "\\(mc" text "${text}")
  string(REPLACE "°" "\\(de" text "${text}")
  file(WRITE "${page}" "${text}")
endforeach()
