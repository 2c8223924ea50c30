# How the project's own C and C++ code is compiled, which the generated classes are not.
add_library(qmsg_own_code INTERFACE)
target_compile_options(qmsg_own_code INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
if(NOT QMSG_OPTIMISE_PROGRAMS)
  target_compile_options(qmsg_own_code INTERFACE $<$<CONFIG:Release>:-O1>)
endif()
