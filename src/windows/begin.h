#ifndef QMSG_EXPORT
#ifndef _MSC_VER
#define QMSG_EXPORT  // qmsg.def lists the exports, and the linker imports data automatically
#elif defined(QMSG_BUILDS_DLL)
#define QMSG_EXPORT __declspec(dllexport)
#else
#define QMSG_EXPORT __declspec(dllimport)
#endif
#endif

// Tells the runtime's headers that the runtime is a DLL.
#ifndef PROTOBUF_USE_DLLS
#define PROTOBUF_USE_DLLS
#endif

// A macro of windows.h that is also a name in these headers. end.h restores it.
#pragma push_macro("ERROR")
#undef ERROR
