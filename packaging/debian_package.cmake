# `cpack -G DEB` from the build folder makes brisko_<version>_amd64.deb.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME brisko)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "Brisko developers")
set(CPACK_PACKAGE_CONTACT "Brisko developers <dev@brisko.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "front end of a script-automation runner")
# CPack puts the summary on the first line; this is the text below it.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Brisko starts its runner daemon, floatball, and lets the user start and stop
the automation script, switch debug mode and start at login, manage the
files the scripts use and read the script log.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://brisko.example/")
set(CPACK_STRIP_FILES ON)

# Absolute destinations (/usr/share, /etc) land in the package, not on the build machine.
set(CPACK_SET_DESTDIR ON)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})

# Libraries come from the binaries; what they load at run time is listed here: the QML modules the
# screens import, the Qt platform plugins, the fonts the screens name.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(brisko_runtime_packages
    qml6-module-qtquick
    qml6-module-qtquick-controls
    qml6-module-qtquick-templates
    qml6-module-qtquick-window
    qml6-module-qtquick-layouts
    qml6-module-qtquick-shapes
    qml6-module-qtquick-dialogs
    qml6-module-qtqml-workerscript
    qml6-module-qtwebengine
    libqt6webenginequick6
    qt6-qpa-plugins
    fonts-noto-cjk
    fonts-dejavu-core
    fonts-materialdesignicons-webfont)
list(JOIN brisko_runtime_packages ", " CPACK_DEBIAN_PACKAGE_DEPENDS)
# Scripts run through interpreters found on PATH; the system bus carries the notifications.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "lua5.4, python3, dbus")

set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${BRISKO_PACKAGING_DIR}/debian/conffiles)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)
