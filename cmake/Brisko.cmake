# Shared helpers for the subsystem folders.

# Adds each listed folder; a listed folder without a CMakeLists.txt is a mistake, not a skip.
# BRISKO_SKIP (a regular expression over folder paths) leaves folders out of a local build.
function(brisko_add_subdirectories)
  foreach(dir IN LISTS ARGN)
    file(RELATIVE_PATH rel ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR}/${dir})
    if(BRISKO_SKIP AND rel MATCHES "${BRISKO_SKIP}")
      continue()
    endif()
    if(NOT EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${dir}/CMakeLists.txt)
      message(FATAL_ERROR "brisko_add_subdirectories: ${rel} has no CMakeLists.txt")
    endif()
    add_subdirectory(${dir})
  endforeach()
endfunction()

# brisko_add_test(NAME SOURCES files... LIBS libs... [LABELS l...] [ENV k=v...] [LOCKS r...] [TIMEOUT s])
# One QtTest executable registered with CTest. Label "x11" needs the test display,
# "dbus" the private system bus; everything else runs offscreen. LOCKS names resources (fixed
# ports, e.g. port_8989) that only one test may hold at a time.
function(brisko_add_test name)
  cmake_parse_arguments(T "" "TIMEOUT" "SOURCES;LIBS;LABELS;ENV;LOCKS" ${ARGN})
  add_executable(${name} ${T_SOURCES})
  target_link_libraries(${name} PRIVATE Qt6::Test ${T_LIBS})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  add_test(NAME ${name} COMMAND ${name})
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 120)
  endif()
  set(env "QT_QPA_PLATFORM=offscreen" "QTWEBENGINE_CHROMIUM_FLAGS=--no-sandbox"
          "BRISKO_BUNDLE_DIR=${BRISKO_BUNDLE_DIR}" "BRISKO_SOURCE_DIR=${PROJECT_SOURCE_DIR}"
          "BRISKO_TEST_BIN_DIR=${CMAKE_BINARY_DIR}/tests" ${T_ENV})
  # Tests on the shared private bus see each other's posts: run them one at a time, and keep
  # every other test off the bus so it cannot disturb them.
  if("dbus" IN_LIST T_LABELS)
    list(APPEND T_LOCKS brisko_system_bus)
  else()
    list(APPEND env "DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent/brisko-no-bus")
  endif()
  if("x11" IN_LIST T_LABELS)
    list(REMOVE_ITEM env "QT_QPA_PLATFORM=offscreen")
    list(APPEND env "QT_QPA_PLATFORM=xcb")
  endif()
  if(T_LOCKS)
    set_tests_properties(${name} PROPERTIES RESOURCE_LOCK "${T_LOCKS}")
  endif()
  set_tests_properties(${name} PROPERTIES TIMEOUT ${T_TIMEOUT} ENVIRONMENT "${env}" LABELS "${T_LABELS}")
endfunction()

# A helper executable that tests start as a child process.
function(brisko_add_test_helper name)
  add_executable(${name} ${ARGN})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
endfunction()

# An executable that belongs in the application bundle.
function(brisko_add_bundle_executable name)
  add_executable(${name} ${ARGN})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${BRISKO_BUNDLE_DIR})
endfunction()

# brisko_add_qml_module(target URI Brisko.X QML_FILES files... [DEPENDENCIES uris...])
# Turns a subsystem's static library into a QML module: its QML is compiled by qmlcachegen and
# checked by qmllint. The module's static plugin (which imports itself into whatever links it)
# comes along with the library, so linking the library is all a program or test does.
function(brisko_add_qml_module target)
  cmake_parse_arguments(M "" "URI" "QML_FILES;DEPENDENCIES" ${ARGN})
  qt_add_qml_module(${target}
    URI ${M_URI}
    VERSION 1.0
    QML_FILES ${M_QML_FILES}
    DEPENDENCIES QtQuick ${M_DEPENDENCIES})
  target_link_libraries(${target} INTERFACE ${target}plugin)
endfunction()
