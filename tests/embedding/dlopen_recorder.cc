// Loaded ahead of the C library, it prints how each file is opened, and hands over to dlopen.

#include <dlfcn.h>

#include <cstdio>

extern "C" void* dlopen(const char* file, int mode) noexcept {
  using Open = void* (*)(const char*, int);
  static const auto open = reinterpret_cast<Open>(dlsym(RTLD_NEXT, "dlopen"));
  std::fprintf(stderr, "dlopen:%s%s%s %s\n", (mode & RTLD_LAZY) != 0 ? " lazy" : " now",
               (mode & RTLD_GLOBAL) != 0 ? " global" : " local",
               (mode & RTLD_DEEPBIND) != 0 ? " deepbind" : "", file != nullptr ? file : "itself");
  return open(file, mode);
}
