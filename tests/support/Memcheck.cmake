# Memcheck also sees what happens inside the runtime. It is slow: these tests run with
# `ctest -C Valgrind`, as the preset valgrind does. Programs that replace operator new are left out,
# since memcheck replaces it too.
set(memcheck "${QMSG_VALGRIND}" --quiet --error-exitcode=99 --leak-check=full
  --show-leak-kinds=definite --errors-for-leak-kinds=definite)
set(configurations Valgrind)
set(labels valgrind)

foreach(program contract_test messages_test first_use_test load_test)
  qmsg_add_test(valgrind.${program} CONFIGURATIONS ${configurations}
    COMMAND ${memcheck} "$<TARGET_FILE:${program}>" --gtest_brief=1)
  qmsg_set_test(valgrind.${program} LABELS "${labels}")
endforeach()

qmsg_expect_report(valgrind leak "definitely lost in loss record" ${memcheck})
qmsg_expect_report(valgrind use_after_free "Invalid read of size" ${memcheck})
qmsg_expect_report(valgrind unset_byte "depends on uninitialised value" ${memcheck})
