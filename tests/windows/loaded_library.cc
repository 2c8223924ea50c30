#include "support/loaded_library.h"

#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>

void* LoadLibraryFile(const char* file) {
  const HMODULE library = LoadLibraryA(file);
  if (library == nullptr) {
    std::fprintf(stderr, "%s: error %lu\n", file, GetLastError());
  }
  return library;
}

void* LibraryWith(const void* address) {
  HMODULE library = nullptr;
  GetModuleHandleExA(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      static_cast<const char*>(address), &library);
  return library;
}

const void* FindFunction(void* library, const char* symbol) {
  for (const HMODULE where : {static_cast<HMODULE>(library), GetModuleHandleA("libprotobuf.dll")}) {
    if (const FARPROC function = GetProcAddress(where, symbol)) {
      return reinterpret_cast<const void*>(function);
    }
  }
  return nullptr;
}

const void* Destination(const void* function) {
  // jmp *offset(%rip), where the offset counts from the instruction's end.
  constexpr std::uint8_t kJump[] = {0xff, 0x25};
  const auto* code = static_cast<const std::uint8_t*>(function);
  if (std::memcmp(code, kJump, sizeof kJump) != 0) {
    return function;
  }
  std::int32_t offset = 0;
  std::memcpy(&offset, code + sizeof kJump, sizeof offset);
  const void* destination = nullptr;
  std::memcpy(&destination, code + sizeof kJump + sizeof offset + offset, sizeof destination);
  return destination;
}
