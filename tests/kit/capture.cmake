find_package(X11 REQUIRED)
brisko_add_test(tst_kit_rotate SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_rotate.cpp LIBS kit)
# Both start their own Xvfb, so other tests' windows never show in the frames.
brisko_add_test(tst_kit_capture SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_capture.cpp LIBS kit X11::X11)
# Each case needs a fresh process: the kit sets up its display connection once.
brisko_add_test_helper(kit_capture_probe ${CMAKE_CURRENT_LIST_DIR}/kit_capture_probe.cpp)
target_link_libraries(kit_capture_probe PRIVATE kit)
brisko_add_test(tst_kit_capture_degraded SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_capture_degraded.cpp TIMEOUT 60)
add_dependencies(tst_kit_capture_degraded kit_capture_probe)
# Capture across RandR size changes, on a nested server that can change size.
brisko_add_test(tst_kit_capture_randr SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_capture_randr.cpp LIBS kit X11::X11)
