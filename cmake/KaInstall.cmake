# `cmake --install`, in two components: `server` is all but the demo station, which is `demo`.
#
#   PREFIX/lib/ka-tts-server        programs; the directory that the server calls its own, with
#                                   links to everything below
#   PREFIX/{bin,sbin}               links to the programs
#   PREFIX/share/ka-tts-server      catalogues, schemas
#   ETC/ka-tts-server               configuration, lexica, announcements
#   VAR/lib/ka-tts-server           prepared phrases (steady), saved copies (backup)
#   /run/ka-tts-server              new announcements (store, play): a RAM disk, made at start
#
# ETC and VAR are /etc and /var with the prefix /usr, else PREFIX/etc and PREFIX/var.
# cmake/install-station.cmake does what depends on the prefix given to `cmake --install`.

set(KA_PROGRAM_DIR lib/ka-tts-server)
set(KA_UNIT_DIR lib/systemd/system CACHE STRING "Where systemd's units go (below the prefix)")
set(KA_PYTHON_DIR lib/python3/dist-packages CACHE STRING "Where the Python module goes")
set(KA_DOC_DIR share/doc/ka-tts-server)

# ka_install_files(DESTINATION PATTERN...): the files that there are; none is no mistake.
function(ka_install_files destination)
  file(GLOB files CONFIGURE_DEPENDS LIST_DIRECTORIES false ${ARGN})
  if(files)
    install(FILES ${files} DESTINATION ${destination} COMPONENT server)
  endif()
endfunction()

# ka_install_built(DIRECTORY DESTINATION): what a build made in a directory, if it made it.
function(ka_install_built directory destination)
  install(DIRECTORY ${CMAKE_BINARY_DIR}/${directory}/ DESTINATION ${destination}
    COMPONENT server OPTIONAL FILES_MATCHING ${ARGN})
endfunction()

install(TARGETS ka-tts-server RUNTIME DESTINATION ${KA_PROGRAM_DIR} COMPONENT server)
if(TARGET ka-tts)
  install(TARGETS ka-tts RUNTIME DESTINATION ${KA_PROGRAM_DIR} COMPONENT server)
endif()
install(TARGETS ka-espeak-ng
  RUNTIME DESTINATION ${KA_PROGRAM_DIR}/engines/espeak-ng COMPONENT server)
install(PROGRAMS scripts/restart DESTINATION ${KA_PROGRAM_DIR} COMPONENT server)

ka_install_files(share/ka-tts-server/messages messages/*.csv)
ka_install_files(share/ka-tts-server/schema schema/*.xsd schema/*.xml)

# Documents keep their places relative to each other, so that their links lead somewhere.
ka_install_files(${KA_DOC_DIR} README.md ARCHITECTURE.md SECURITY.md)
ka_install_files(${KA_DOC_DIR}/docs docs/*.md)
ka_install_files(${KA_DOC_DIR}/engines/espeak-ng engines/espeak-ng/README.md)
install(FILES announcements/README.md
  DESTINATION ${KA_DOC_DIR}-demo/announcements COMPONENT demo)
ka_install_files(${KA_DOC_DIR}/examples
  systemd/*.example engines/espeak-ng/adapter-template.sh)

install(FILES systemd/ka-tts-server.sysusers
  DESTINATION lib/sysusers.d RENAME ka-tts-server.conf COMPONENT server)

ka_install_files(${KA_PYTHON_DIR} clients/python/ka_tts.py)

foreach(section 1 5 8)
  ka_install_built(man/en share/man/man${section} PATTERN *.${section})
  ka_install_built(man/de share/man/de/man${section} PATTERN *.${section})
endforeach()
install(FILES ${CMAKE_BINARY_DIR}/completions/ka-tts.bash
  DESTINATION share/bash-completion/completions RENAME ka-tts COMPONENT server OPTIONAL)
install(FILES ${CMAKE_BINARY_DIR}/completions/_ka-tts
  DESTINATION share/zsh/vendor-completions COMPONENT server OPTIONAL)

foreach(component server demo)
  install(CODE "
    set(KA_SOURCE_DIR \"${CMAKE_SOURCE_DIR}\")
    set(KA_BINARY_DIR \"${CMAKE_BINARY_DIR}\")
    set(KA_PROGRAM_DIR \"${KA_PROGRAM_DIR}\")
    set(KA_UNIT_DIR \"${KA_UNIT_DIR}\")
    include(\"${CMAKE_SOURCE_DIR}/cmake/install-station.cmake\")
    ka_install_${component}()" COMPONENT ${component})
endforeach()
