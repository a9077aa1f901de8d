brisko_add_test(tst_kit_touch SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_touch.cpp LIBS kit)
brisko_add_test(tst_kit_touch_socket SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_touch_socket.cpp LIBS kit)
