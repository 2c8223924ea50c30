# How tests are declared. Every name begins with the test's folder, so that
# `ctest -R '^contract\.'` runs tests/contract.
include(GoogleTest)
include("${CMAKE_CURRENT_LIST_DIR}/SystemPython.cmake")

find_program(QMSG_VALGRIND valgrind DOC "The program that checks memory: ctest -C Valgrind")
mark_as_advanced(QMSG_VALGRIND)

# Sets `out` to the prefix of the current folder: "contract." in tests/contract,
# "examples.quickstart." in examples/quickstart.
function(qmsg_test_prefix out)
  cmake_path(RELATIVE_PATH CMAKE_CURRENT_SOURCE_DIR
    BASE_DIRECTORY "${PROJECT_SOURCE_DIR}" OUTPUT_VARIABLE folder)
  string(REGEX REPLACE "^tests/" "" folder "${folder}")
  string(REPLACE "/" "." folder "${folder}")
  set(${out} "${folder}." PARENT_SCOPE)
endfunction()

# qmsg_add_test(<name> <argument of add_test>...) adds a test that is a command.
function(qmsg_add_test name)
  cmake_parse_arguments(PARSE_ARGV 1 test "" "" "") # keeps an argument that is a list in one piece
  qmsg_test_prefix(prefix)
  add_test(NAME ${prefix}${name} ${test_UNPARSED_ARGUMENTS})
endfunction()

# qmsg_set_test(<name> <property> <value>...) sets properties of a test of this folder.
function(qmsg_set_test name)
  qmsg_test_prefix(prefix)
  math(EXPR last "${ARGC} - 1")
  foreach(property RANGE 1 ${last} 2)
    math(EXPR value "${property} + 1")
    set_property(TEST ${prefix}${name} PROPERTY ${ARGV${property}} "${ARGV${value}}")
  endforeach()
endfunction()

# qmsg_add_googletest(<program> [PREFIX <more>] [PROPERTIES <property> <value>...]) adds the tests of a
# program that is linked with GoogleTest.
function(qmsg_add_googletest program)
  cmake_parse_arguments(PARSE_ARGV 1 test "" PREFIX PROPERTIES)
  qmsg_test_prefix(prefix)
  get_target_property(libraries ${program} LINK_LIBRARIES)
  if(NOT "GTest::gtest" IN_LIST libraries) # or it is compiled otherwise than qmsg_test says
    target_precompile_headers(${program} REUSE_FROM test_support)
  endif()
  # Under Wine the first program waits until Wine has set itself up.
  gtest_discover_tests(${program} TEST_PREFIX ${prefix}${test_PREFIX} DISCOVERY_TIMEOUT 120
    PROPERTIES ${test_PROPERTIES})
endfunction()

# qmsg_add_unittest(<name> <module>[.<class>] [<variable>=<value>...]) adds Python tests of this folder,
# with these environment variables. They may import the reference implementation.
function(qmsg_add_unittest name module)
  qmsg_add_test(${name} COMMAND Python3::Interpreter -m unittest --verbose ${module}
    WORKING_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}")
  qmsg_set_test(${name} ENVIRONMENT "PYTHONDONTWRITEBYTECODE=1;\
PYTHONPATH=${PROJECT_SOURCE_DIR}/implementations/reference;${ARGN}")
endfunction()
