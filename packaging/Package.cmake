# The Debian package, made by cpack:
#
#   cmake --preset package && cmake --build --preset package --target package
#
# The table of interfaces is the operator's once it is there. So it is in the
# package, where dpkg minds that, and not in what `cmake --install` writes.
install(FILES interfaces DESTINATION /etc/cfm COMPONENT debian EXCLUDE_FROM_ALL)
cfm_compress(${CMAKE_CURRENT_SOURCE_DIR}/debian/changelog changelog)
install(FILES ${changelog} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/cfm-app
        COMPONENT debian EXCLUDE_FROM_ALL)
set(CPACK_INSTALL_CMAKE_PROJECTS
    "${CMAKE_BINARY_DIR};${PROJECT_NAME};ALL;/"
    "${CMAKE_BINARY_DIR};${PROJECT_NAME};debian;/")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME cfm-app)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "cfm-app maintainers <maintainers@cfm-app.invalid>" CACHE STRING
    "Who answers for the package")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "connectivity fault management of a network element")
set(CPACK_PACKAGE_DESCRIPTION
    "The daemon cfm-app between the management agent agentd and the CFM manager
cfm-managerd, which runs the continuity check of IEEE 802.1ag on the ports of
an Ethernet switch, and the operators' command line cfmctl.")
set(CPACK_STRIP_FILES ON)
# Absolute places (/etc/cfm) stay below the package's root.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "systemd | systemd-standalone-sysusers, systemd | systemd-standalone-tmpfiles")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(control)
foreach(file IN ITEMS conffiles postinst prerm postrm)
  list(APPEND control ${CMAKE_CURRENT_SOURCE_DIR}/debian/${file})
endforeach()
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${control})
include(CPack)
