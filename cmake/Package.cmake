# The plain tarball that `cpack` makes: all that `cmake --install` installs, to be unpacked anywhere.
# The Debian packages are made by debian/.

set(CPACK_GENERATOR TGZ)
set(CPACK_SYSTEM_NAME "${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR}")
set(CPACK_STRIP_FILES ON)

include(CPack)
