# The bundle: its executables through install(TARGETS), everything else the build put in the bundle
# folder as it is, so resources added later ship without touching this file.

function(brisko_install_bundle)
  set(executables brisko)
  foreach(daemon_part floatball floatball-ball brisko-cli)
    if(TARGET ${daemon_part})
      list(APPEND executables ${daemon_part})
    endif()
  endforeach()
  install(TARGETS ${executables} RUNTIME DESTINATION .)
  list(JOIN executables "|" names)
  string(REGEX REPLACE "([][+.*()^$?|\\])" "\\\\\\1" folder "${BRISKO_BUNDLE_DIR}")
  install(DIRECTORY ${BRISKO_BUNDLE_DIR}/ DESTINATION . USE_SOURCE_PERMISSIONS
          REGEX "^${folder}/(${names})$" EXCLUDE)
  # What the package needs built, without the tests and benchmarks.
  add_custom_target(package_contents DEPENDS ${executables} bundle_resources packaging_files)
endfunction()

# Runs once every folder is configured, wherever the daemon's folder sits in the list.
cmake_language(DEFER DIRECTORY ${PROJECT_SOURCE_DIR} CALL brisko_install_bundle)
