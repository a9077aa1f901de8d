brisko_add_test(tst_kit_ball SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_ball.cpp LIBS kit_ball)
# Starts its own Xvfb, so other tests' windows cannot cover the ball or take its clicks.
find_package(X11 REQUIRED COMPONENTS Xtst)
brisko_add_test(tst_kit_ball_x11 SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_ball_x11.cpp LIBS kit_ball X11::X11 X11::Xtst)
# The screenshot scenes (scripts/ball-screens).
brisko_add_test_helper(ball_scene ${CMAKE_CURRENT_LIST_DIR}/ball_scene.cpp)
target_link_libraries(ball_scene PRIVATE kit_ball)
