# The Debian package: the three programs in /usr/lib/kestrova with the data sheets beside them
# (the About page opens them from there), commands in /usr/bin, a desktop entry and the icon.
# Library dependencies are read from the programs by dpkg-shlibdeps; what they load at run time
# (Qt's platform plugins, a font to draw with) is named here.
set(KESTROVA_LIBDIR lib/kestrova)
set(KESTROVA_PROGRAMS kestrova kestrova-headless kestrova-sim)
install(TARGETS ${KESTROVA_PROGRAMS} RUNTIME DESTINATION ${KESTROVA_LIBDIR})
file(GLOB KESTROVA_PACKAGED_SHEETS ${PROJECT_SOURCE_DIR}/data/Manual/*.pdf)
install(FILES ${KESTROVA_PACKAGED_SHEETS} DESTINATION ${KESTROVA_LIBDIR}/Manual)
foreach(program IN LISTS KESTROVA_PROGRAMS)
  install(CODE "
    set(bin \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin\")
    file(MAKE_DIRECTORY \"\${bin}\")
    file(CREATE_LINK ../${KESTROVA_LIBDIR}/${program} \"\${bin}/${program}\" SYMBOLIC)")
endforeach()
install(FILES ${PROJECT_SOURCE_DIR}/data/desktop/kestrova.desktop DESTINATION share/applications)
install(FILES ${PROJECT_SOURCE_DIR}/src/hosts/qt/resources/kestrova.png
        DESTINATION share/icons/hicolor/256x256/apps)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kestrova)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "IO-Link USB master DTM user interface on a simulated master")
set(CPACK_PACKAGE_DESCRIPTION "Kestrova is the user interface of a Device Type Manager for a \
one-port IO-Link USB master: a Qt desktop application, a scripted headless frame and a \
simulator REPL.")
set(CPACK_PACKAGE_CONTACT "Kestrova developers <kestrova@example.org>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION electronics)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins, fonts-dejavu-core | fonts-liberation2")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-translations-l10n")
set(CPACK_OUTPUT_FILE_PREFIX ${CMAKE_BINARY_DIR}/package)
include(CPack)
