# Installing as Debian lays a program out: the programs in bin, the player
# and the problem report in libexec, the language files, the menu entry and
# the icons in share. The program finds them from its own place.
include(GNUInstallDirs)
set(TOLMI_PACKAGE tolmi-video-repair)
set(TOLMI_ICON_DIR ${CMAKE_BINARY_DIR}/src/app/icon)
set(TOLMI_LIBEXEC ${CMAKE_INSTALL_LIBEXECDIR}/${TOLMI_PACKAGE})

install(TARGETS tolmi-video-repair tolmi-repair RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS tmplayer RUNTIME DESTINATION ${TOLMI_LIBEXEC})
install(TARGETS tmreport RUNTIME DESTINATION ${TOLMI_LIBEXEC}/reporting)
install(FILES ${TOLMI_LANGUAGE_FILES} DESTINATION ${CMAKE_INSTALL_DATADIR}/${TOLMI_PACKAGE}/lg)
install(FILES src/app/tolmi-video-repair.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${TOLMI_ICON_DIR}/tolmi-video-repair.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
foreach(side 48 128 256)
  install(FILES ${TOLMI_ICON_DIR}/tolmi-video-repair-${side}.png
    DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${side}x${side}/apps RENAME tolmi-video-repair.png)
endforeach()

# cpack -G DEB: a package of Debian 12's libraries (found by dpkg-shlibdeps)
# and what the programs load at run time: the Qt platform plugins, the
# GStreamer decoders of the player, the window's fonts.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ${TOLMI_PACKAGE})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Tolmi Video Repair developers <support@example.com>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "rebuilds playable files from damaged MOV, MP4 and AVI videos")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS
  "qt6-qpa-plugins, gstreamer1.0-plugins-good, gstreamer1.0-libav, fonts-open-sans")
set(CPACK_STRIP_FILES ON)
include(CPack)
