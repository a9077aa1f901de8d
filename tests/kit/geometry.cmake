brisko_add_test(tst_kit_geometry SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_geometry.cpp LIBS kit)
# Start-up reading a real (offscreen) screen, scaled so points and pixels differ.
brisko_add_test(tst_kit_geometry_screen SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_geometry_screen.cpp LIBS kit
                ENV QT_SCALE_FACTOR=2)
