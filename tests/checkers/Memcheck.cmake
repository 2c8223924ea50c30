# Memcheck also sees what happens inside the runtime. It takes its time: these tests run only with
# ctest -C Valgrind, as the preset valgrind does. The tests that replace operator new are not among
# them, for memcheck has one of its own.
find_program(QMSG_VALGRIND valgrind DOC "The program that checks memory")
mark_as_advanced(QMSG_VALGRIND)
set(memcheck "${QMSG_VALGRIND}" --quiet --error-exitcode=99 --leak-check=full
  --show-leak-kinds=definite --errors-for-leak-kinds=definite)
set(configurations Valgrind)
set(labels valgrind)

foreach(program contract_test messages_test first_use_test load_test)
  add_test(NAME valgrind.${program} CONFIGURATIONS ${configurations}
    COMMAND ${memcheck} "$<TARGET_FILE:${program}>" --gtest_brief=1)
  set_tests_properties(valgrind.${program} PROPERTIES LABELS "${labels}")
endforeach()

qmsg_add_seen(valgrind leak "definitely lost in loss record" ${memcheck})
qmsg_add_seen(valgrind use_after_free "Invalid read of size" ${memcheck})
qmsg_add_seen(valgrind unset_byte "depends on uninitialised value" ${memcheck})
