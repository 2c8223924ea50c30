set(QMSG_VERSION 1 CACHE STRING "The version to ask for")
find_package(qmsg ${QMSG_VERSION} REQUIRED)
