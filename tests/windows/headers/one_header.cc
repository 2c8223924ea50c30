// One header, alone, with windows.h AHEAD of it or BEHIND it.

#ifdef WINDOWS_H_AHEAD
#include <windows.h>
#endif

#include QMSG_HEADER

#ifdef WINDOWS_H_BEHIND
#include <windows.h>
#endif

#include QMSG_SHORT_HEADER

#if !defined(WINDOWS_H_ALONE) && !defined(ERROR)
#error the header takes a macro of windows.h away
#endif
