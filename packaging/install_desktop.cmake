# Desktop integration: launcher, icons, login autostart entry, AppStream metadata, the command on
# PATH, the manual page and the package's documents. Absolute destinations still honour DESTDIR.

find_program(BRISKO_RSVG_CONVERT rsvg-convert REQUIRED)
find_program(BRISKO_GZIP gzip REQUIRED)

set(icon_svg ${BRISKO_PACKAGING_DIR}/icons/com.brisko.app.svg)
set(generated ${CMAKE_CURRENT_BINARY_DIR}/generated)
set(generated_files)
foreach(size IN LISTS BRISKO_ICON_SIZES)
  set(png ${generated}/icons/${size}x${size}/com.brisko.app.png)
  add_custom_command(OUTPUT ${png}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${generated}/icons/${size}x${size}
    COMMAND ${BRISKO_RSVG_CONVERT} -w ${size} -h ${size} -o ${png} ${icon_svg}
    DEPENDS ${icon_svg} VERBATIM)
  list(APPEND generated_files ${png})
endforeach()

# Debian wants compressed, timestamp-free documents.
function(brisko_gzip_file source output)
  add_custom_command(OUTPUT ${output}
    COMMAND ${BRISKO_GZIP} -9nc ${source} > ${output}
    DEPENDS ${source})
  set(generated_files ${generated_files} ${output} PARENT_SCOPE)
endfunction()
brisko_gzip_file(${BRISKO_PACKAGING_DIR}/debian/changelog ${generated}/changelog.gz)
brisko_gzip_file(${BRISKO_PACKAGING_DIR}/debian/brisko.1 ${generated}/brisko.1.gz)
add_custom_target(packaging_files ALL DEPENDS ${generated_files})

set(share ${BRISKO_SYSTEM_DATA_DIR})
install(FILES ${BRISKO_PACKAGING_DIR}/com.brisko.app.desktop DESTINATION ${share}/applications)
install(FILES ${BRISKO_PACKAGING_DIR}/com.brisko.app.metainfo.xml DESTINATION ${share}/metainfo)
install(FILES ${icon_svg} DESTINATION ${share}/icons/hicolor/scalable/apps)
foreach(size IN LISTS BRISKO_ICON_SIZES)
  install(FILES ${generated}/icons/${size}x${size}/com.brisko.app.png
          DESTINATION ${share}/icons/hicolor/${size}x${size}/apps)
endforeach()
# Same desktop id as the launcher, so a user's own autostart entry of that name overrides it.
install(FILES ${BRISKO_PACKAGING_DIR}/com.brisko.app-autostart.desktop
        DESTINATION ${BRISKO_SYSTEM_CONFIG_DIR}/xdg/autostart RENAME com.brisko.app.desktop)
install(FILES ${generated}/brisko.1.gz DESTINATION ${share}/man/man1)
install(FILES ${BRISKO_PACKAGING_DIR}/debian/copyright ${generated}/changelog.gz
        DESTINATION ${share}/doc/brisko)
install(FILES ${BRISKO_PACKAGING_DIR}/debian/lintian-overrides
        DESTINATION ${share}/lintian/overrides RENAME brisko)

# The link is made at install time, so it follows a prefix given to `cmake --install --prefix`.
install(CODE "
  set(link \"\$ENV{DESTDIR}${BRISKO_SYSTEM_BIN_DIR}/brisko\")
  file(MAKE_DIRECTORY \"\$ENV{DESTDIR}${BRISKO_SYSTEM_BIN_DIR}\")
  file(REMOVE \"\${link}\")
  file(CREATE_LINK \"\${CMAKE_INSTALL_PREFIX}/brisko\" \"\${link}\" SYMBOLIC)
  message(STATUS \"Installing: \${link} -> \${CMAKE_INSTALL_PREFIX}/brisko\")")
