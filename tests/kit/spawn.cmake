# Root spawn: a recorder that writes down how it was started, and a probe that spawns from a
# separate process (to run it as an unprivileged user, and to watch its standard error).
brisko_add_test_helper(spawn_recorder ${CMAKE_CURRENT_LIST_DIR}/spawn_recorder.cpp)
target_link_libraries(spawn_recorder PRIVATE Qt6::Core)
brisko_add_test_helper(spawn_probe ${CMAKE_CURRENT_LIST_DIR}/spawn_probe.cpp)
target_link_libraries(spawn_probe PRIVATE kit)

brisko_add_test(tst_kit_spawn SOURCES ${CMAKE_CURRENT_LIST_DIR}/spawn_test.cpp LIBS kit)
add_dependencies(tst_kit_spawn spawn_recorder spawn_probe)
