brisko_add_test(tst_kit_touch_decoder SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_touch_decoder.cpp LIBS kit)
brisko_add_test(tst_kit_touch_monitor SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_touch_monitor.cpp LIBS kit)
brisko_add_test(tst_kit_touch_socket SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_touch_socket.cpp LIBS kit)
