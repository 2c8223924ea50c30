// The entry point of the DLL.

#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, LPVOID /*reserved*/) {
  if (reason == DLL_PROCESS_ATTACH) {
    // Saves the calls for each thread. If it fails, the calls do no harm.
    DisableThreadLibraryCalls(library);
  }
  return TRUE;
}
