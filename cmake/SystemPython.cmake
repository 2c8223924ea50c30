# Debian's packages of Python modules belong to Debian's own interpreter, not to another one that
# may come first in PATH.
set(Python3_ROOT_DIR /usr)
set(Python3_FIND_STRATEGY LOCATION)
find_package(Python3 REQUIRED COMPONENTS Interpreter)
# It runs on the building system.
set_target_properties(Python3::Interpreter PROPERTIES CROSSCOMPILING_EMULATOR "")
