brisko_add_test(tst_kit_ball SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_ball.cpp LIBS kit_ball)
