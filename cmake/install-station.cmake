# Runs within `cmake --install`: what depends on the prefix, which is known only now. The functions
# honour DESTDIR as CMake's own rules do.

set(program "${CMAKE_INSTALL_PREFIX}/${KA_PROGRAM_DIR}")
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(etc /etc/ka-tts-server)
  set(state /var/lib/ka-tts-server)
else()
  set(etc "${CMAKE_INSTALL_PREFIX}/etc/ka-tts-server")
  set(state "${CMAKE_INSTALL_PREFIX}/var/lib/ka-tts-server")
endif()
set(run /run/ka-tts-server)
set(work "${KA_BINARY_DIR}/install")

# ka_directory(DIRECTORY...)
function(ka_directory)
  foreach(directory IN LISTS ARGN)
    file(MAKE_DIRECTORY "$ENV{DESTDIR}${directory}")
  endforeach()
endfunction()

# ka_link(TARGET LINK)
function(ka_link target link)
  get_filename_component(directory "${link}" DIRECTORY)
  ka_directory("${directory}")
  file(CREATE_LINK "${target}" "$ENV{DESTDIR}${link}" SYMBOLIC)
  message(STATUS "Link: $ENV{DESTDIR}${link} -> ${target}")
endfunction()

# ka_config(FILE DIRECTORY): like a file of a package's configuration, one that is there already and
# differs stays as the integrator has it.
function(ka_config file directory)
  get_filename_component(name "${file}" NAME)
  set(there "$ENV{DESTDIR}${directory}/${name}")
  if(EXISTS "${there}")
    file(SHA256 "${there}" old)
    file(SHA256 "${file}" new)
    if(NOT old STREQUAL new)
      message(STATUS "Kept: ${there}, which was changed")
      return()
    endif()
  endif()
  file(INSTALL DESTINATION "${directory}" TYPE FILE FILES "${file}")
endfunction()

# ka_replaced(SOURCE NAME FROM TO...): SOURCE with strings replaced, as a temporary file NAME, whose
# path goes to `replaced`. Each string must be there: a template has changed otherwise.
function(ka_replaced source name)
  file(READ "${source}" text)
  while(ARGN)
    list(POP_FRONT ARGN from to)
    string(FIND "${text}" "${from}" place)
    if(place EQUAL -1)
      message(FATAL_ERROR "${source} has no \"${from}\"")
    endif()
    string(REPLACE "${from}" "${to}" text "${text}")
  endwhile()
  set(replaced "${work}/${name}")
  file(WRITE "${replaced}" "${text}")
  set(replaced "${replaced}" PARENT_SCOPE)
endfunction()

function(ka_install_links)
  ka_link("${etc}" "${program}/kaconfig")
  ka_link("${etc}/lexidata" "${program}/lexidata")
  ka_link("${etc}/announcements" "${program}/announcements")
  ka_link(../../share/ka-tts-server/messages "${program}/messages")
  ka_link(../../share/ka-tts-server/schema "${program}/schema")
  ka_link("${run}" "${program}/run")
  ka_link("${state}" "${program}/state")
  ka_link(../lib/ka-tts-server/ka-tts "${CMAKE_INSTALL_PREFIX}/bin/ka-tts")
  ka_link(../lib/ka-tts-server/ka-tts-server "${CMAKE_INSTALL_PREFIX}/sbin/ka-tts-server")
  # Announcement documents name their schema as ../schema, for editors.
  ka_link("${CMAKE_INSTALL_PREFIX}/share/ka-tts-server/schema" "${etc}/schema")
endfunction()

# Where the prefix is not /usr, what units run and read is elsewhere.
function(ka_move_paths unit)
  file(READ "${unit}" text)
  string(REPLACE /usr/lib/ka-tts-server "${program}" text "${text}")
  string(REPLACE /etc/ka-tts-server "${etc}" text "${text}")
  string(REPLACE /var/lib/ka-tts-server "${state}" text "${text}")
  file(WRITE "${unit}" "${text}")
endfunction()

function(ka_install_units)
  set(directory "${KA_UNIT_DIR}")
  if(NOT IS_ABSOLUTE "${directory}")
    set(directory "${CMAKE_INSTALL_PREFIX}/${directory}")
  endif()
  set(directory "$ENV{DESTDIR}${directory}")
  # Not by file(INSTALL): that takes the "\" in the name of a mount for a "/".
  execute_process(COMMAND_ERROR_IS_FATAL ANY WORKING_DIRECTORY "${KA_SOURCE_DIR}/systemd"
    COMMAND find . -regex ".*[.]\\(service\\|mount\\|path\\|target\\)"
      -exec install -D -m 644 -t "${directory}" {} +)
  message(STATUS "Installing: units of systemd in ${directory}")
  file(GLOB services "${directory}/ka-tts-*.service")
  foreach(service IN LISTS services)
    ka_move_paths("${service}")
  endforeach()
endfunction()

function(ka_install_server)
  ka_replaced("${KA_SOURCE_DIR}/kaconfig/kaTtsServer.kacfg.in" kaTtsServer.kacfg
    "@STAGE@/run/steady" "${program}/state/steady"
    "@STAGE@/run/" "${run}/"
    "@STAGE@" "${program}"
    "@REGPORT@" 5701 "@RBLPORT@" 5702 "@CMDPORT@" 5703)
  ka_config("${replaced}" "${etc}")
  foreach(language de en)
    file(GLOB lexica "${KA_SOURCE_DIR}/lexidata/${language}/*")
    foreach(lexicon IN LISTS lexica)
      ka_config("${lexicon}" "${etc}/lexidata/${language}")
    endforeach()
    ka_directory("${state}/steady/${language}")
  endforeach()
  ka_directory("${state}/backup" "${etc}/announcements")
  ka_install_links()
  ka_install_units()
endfunction()

function(ka_install_demo)
  ka_config("${KA_SOURCE_DIR}/announcements/station.xml" "${etc}/announcements")
  foreach(kind blocks sounds)
    file(GLOB files "${KA_SOURCE_DIR}/announcements/${kind}/*.xml"
      "${KA_SOURCE_DIR}/announcements/${kind}/*.expected"
      "${KA_SOURCE_DIR}/announcements/${kind}/*.wav")
    foreach(file IN LISTS files)
      ka_config("${file}" "${etc}/announcements/${kind}")
    endforeach()
  endforeach()
endfunction()
