// The entry point of the DLL.

#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, LPVOID /*reserved*/) {
  if (reason == DLL_PROCESS_ATTACH) {
    // Threads come and go without a call. If that cannot be had, they come and go with one.
    DisableThreadLibraryCalls(library);
  }
  return TRUE;
}
