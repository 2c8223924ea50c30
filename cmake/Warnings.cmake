# The warnings that the project's own C and C++ code compiles without.
add_library(qmsg_warnings INTERFACE)
target_compile_options(qmsg_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
