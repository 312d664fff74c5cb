# The Debian package: `cpack -G DEB` in a build folder, or scripts/package.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tollmere-helper)
set(CPACK_PACKAGE_CONTACT "Tollmere Helper maintainers <maintainers@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "background agent that starts Tollmere for its alarms")
set(CPACK_PACKAGE_DESCRIPTION
    "Tollmere keeps the user's alarms and rings them, but only while it runs. This
agent runs as long as the graphical session does, reads the alarm list once a
second and starts Tollmere when an alarm falls due.
.
It is enabled for every user's graphical session, as a user service of systemd
or, on desktops without one, as an autostart entry. The command tollmere-alarms
tells when each alarm rings next, and why one does not.")

# As the system's own installation: the prefix /usr, but the autostart entry in /etc.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/deb/CompressDocuments.cmake)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "bash (>= 5.1)")
# One of the programs that show a message box.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "zenity | kdialog | x11-utils")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_SOURCE_DIR}/deb/conffiles ${CMAKE_CURRENT_SOURCE_DIR}/deb/postinst
    ${CMAKE_CURRENT_SOURCE_DIR}/deb/prerm ${CMAKE_CURRENT_SOURCE_DIR}/deb/postrm)

include(CPack)
