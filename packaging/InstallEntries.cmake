# Runs at installation: fills in the paths of the program and installs what names them. DESTDIR is not part of
# these paths; file(INSTALL) puts it in front by itself.

function(under_prefix path result)
  cmake_path(ABSOLUTE_PATH path BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" NORMALIZE)
  set(${result} "${path}" PARENT_SCOPE)
endfunction()

if(NOT TOLLMERE_AUTOSTART_DIR)
  cmake_path(COMPARE "${CMAKE_INSTALL_PREFIX}" EQUAL "/usr" is_usr)
  if(is_usr)
    set(TOLLMERE_AUTOSTART_DIR /etc/xdg/autostart)  # Nobody looks below /usr/etc.
  else()
    set(TOLLMERE_AUTOSTART_DIR etc/xdg/autostart)
  endif()
endif()
under_prefix("${CMAKE_INSTALL_BINDIR}" bindir)
under_prefix("${CMAKE_INSTALL_LIBEXECDIR}" libexecdir)
under_prefix("${TOLLMERE_USER_UNIT_DIR}" unit_dir)
under_prefix("${TOLLMERE_AUTOSTART_DIR}" autostart_dir)

# Each of the three files has its own way of quoting; none of them is needed for a path without these.
if("${bindir}${libexecdir}" MATCHES "[\"'`$%\\\\]")
  message(FATAL_ERROR "The program's folder must not have any of \" ' ` $ % \\ in its name: ${bindir}")
endif()

set(entries "${CMAKE_CURRENT_LIST_DIR}")
configure_file("${entries}/tollmere-helper.service.in" "${generated_dir}/tollmere-helper.service" @ONLY)
configure_file("${entries}/tollmere-helper.desktop.in" "${generated_dir}/tollmere-helper.desktop" @ONLY)
configure_file("${entries}/tollmere-helper-autostart.in" "${generated_dir}/tollmere-helper-autostart" @ONLY)

file(INSTALL "${generated_dir}/tollmere-helper.service" DESTINATION "${unit_dir}" TYPE FILE)
file(INSTALL "${generated_dir}/tollmere-helper.desktop" DESTINATION "${autostart_dir}" TYPE FILE)
file(INSTALL "${generated_dir}/tollmere-helper-autostart" DESTINATION "${libexecdir}" TYPE PROGRAM)
