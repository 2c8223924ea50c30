include(FetchContent)
FetchContent_Declare(qmsg URL "${QMSG_SOURCE}")
FetchContent_MakeAvailable(qmsg)
