# What a strict project sets for its own code has to leave the library as it is.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_UNITY_BUILD ON)
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)

include(FetchContent)
FetchContent_Declare(qmsg URL "${QMSG_SOURCE}")
FetchContent_MakeAvailable(qmsg)

# The program is to keep its two translation units.
set(CMAKE_UNITY_BUILD OFF)
