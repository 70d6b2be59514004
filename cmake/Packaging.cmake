# The manual page, the copyright and changelog a Debian package carries, and the package
# itself (`scripts/package`: CPack's DEB generator on a Release build).
find_program(GZIP gzip REQUIRED)
set(doc ${CMAKE_INSTALL_DATADIR}/doc/gigmora)

configure_file(resources/man/gigmora.1 gigmora.1 @ONLY)
configure_file(resources/debian/changelog.in changelog @ONLY)
# Debian keeps them compressed, and reproducibly (no name or time stamp inside).
foreach(f gigmora.1 changelog)
    add_custom_command(OUTPUT ${f}.gz
                       COMMAND ${GZIP} -9nc ${f} > ${f}.gz
                       DEPENDS ${CMAKE_CURRENT_BINARY_DIR}/${f}
                       WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR} VERBATIM)
endforeach()
add_custom_target(gigmora_docs ALL DEPENDS ${CMAKE_CURRENT_BINARY_DIR}/gigmora.1.gz
                                           ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/gigmora.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz DESTINATION ${doc})

# The Dosis typeface is built into the program: its licence travels with it, taken word for
# word from the fonts-dosis package it comes from.
file(READ /usr/share/doc/fonts-dosis/copyright dosis)
string(REGEX MATCH "License: OFL-1.1\n( [^\n]*\n)+" DOSIS_LICENSE "${dosis}")
if(NOT DOSIS_LICENSE)
    message(FATAL_ERROR "no OFL-1.1 licence text in fonts-dosis' copyright file")
endif()
string(STRIP "${DOSIS_LICENSE}" DOSIS_LICENSE)
configure_file(resources/debian/copyright.in copyright @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/copyright DESTINATION ${doc})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME gigmora)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "The Gigmora developers <gigmora@users.noreply.github.com>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "setlist player for live shows with a DAW")
set(CPACK_PACKAGE_DESCRIPTION
    "Gigmora keeps a library of songs, one DAW project each with a MIDI
program-change number, and dated setlists built by drag and drop. On stage a
MIDI trigger on its own virtual input selects the next song: Gigmora tells the
DAW to close the current project and opens the next one after a configured
delay. With Ardour it can be the session manager instead, and keep the next
song loaded in a second instance for song changes without a gap.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT) # gigmora_<version>_<arch>.deb
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE https://github.com/gigmora/gigmora)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The DAW, a JACK server and the browser for the web remote are the musician's choice.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "ardour, jackd2, chromium")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_CMAKE_PROJECTS "${CMAKE_CURRENT_BINARY_DIR};Gigmora;ALL;/")
include(CPack)
