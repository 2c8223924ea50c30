#ifndef QMSG_EXPORT
#ifndef _MSC_VER
#define QMSG_EXPORT  // qmsg.def lists what is exported, and the linker finds data by itself
#elif defined(QMSG_BUILDS_DLL)
#define QMSG_EXPORT __declspec(dllexport)
#else
#define QMSG_EXPORT __declspec(dllimport)
#endif
#endif

// The runtime's headers have to know that it is a DLL.
#ifndef PROTOBUF_USE_DLLS
#define PROTOBUF_USE_DLLS
#endif

// Macros of windows.h that are names here, too. They are back behind the header.
#pragma push_macro("ERROR")
#undef ERROR
