#include "loaded_library.h"

#include <dlfcn.h>

#include <cstdio>

void* LoadLibraryFile(const char* file) {
  void* const library = dlopen(file, RTLD_NOW);
  if (library == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
  }
  return library;
}

void* LibraryWith(const void* address) {
  Dl_info info;
  if (dladdr(address, &info) == 0) {
    return nullptr;
  }
  void* const library = dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
  if (library != nullptr) {
    dlclose(library);  // The process holds it anyway.
  }
  return library;
}

const void* FindFunction(void* library, const char* symbol) { return dlsym(library, symbol); }

const void* Destination(const void* function) { return function; }
