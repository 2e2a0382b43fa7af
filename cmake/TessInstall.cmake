# `make install` (cmake --install, PREFIX and DESTDIR) and `make deb` (CPack): the program,
# its man page, the demo's files, and the systemd unit that runs a site as a service.
include(GNUInstallDirs)

install(TARGETS tessarolle RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${PROJECT_SOURCE_DIR}/dist/tessarolle.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/demo/ DESTINATION ${CMAKE_INSTALL_DATADIR}/tessarolle/demo
        PATTERN make-pictures.sh EXCLUDE)

# The unit names the program by its full path, which is only known once the prefix is: it is
# written when installing, for the prefix given then (cmake --install --prefix, or CPack's).
set(TESS_UNIT_IN ${PROJECT_SOURCE_DIR}/dist/tessarolle@.service.in)
set(TESS_UNIT ${CMAKE_BINARY_DIR}/dist/tessarolle@.service)
install(CODE "
    set(TESS_BINDIR \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}\")
    configure_file(\"${TESS_UNIT_IN}\" \"${TESS_UNIT}\" @ONLY)
")
install(FILES ${TESS_UNIT} DESTINATION lib/systemd/system)
install(FILES ${PROJECT_SOURCE_DIR}/dist/tessarolle.sysusers DESTINATION lib/sysusers.d
        RENAME tessarolle.conf)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tessarolle)
set(CPACK_PACKAGE_CONTACT "Tessarolle developers <tessarolle@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "composes and publishes webcam and weather-station pictures")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# libcurl and FFmpeg are opened at run time, so shlibdeps cannot see them.
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "fontconfig, fonts-liberation2, fonts-dejavu-core, libcurl4, libavdevice59, libavformat59, \
libavcodec59, libswscale6, libavutil57")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/dist/postinst)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
