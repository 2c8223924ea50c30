// Preloaded into PHP when the extension is instrumented and PHP is not.

#include <dlfcn.h>

#include <cstdlib>

// PHP opens extensions with RTLD_DEEPBIND, and they would not find the sanitizers' allocator.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the header's are reserved
extern "C" void* dlopen(const char* file, int flags) noexcept {
  using Open = void* (*)(const char*, int);
  static const auto next = reinterpret_cast<Open>(dlsym(RTLD_NEXT, "dlopen"));
  return next(file, flags & ~RTLD_DEEPBIND);
}

namespace {

// Programs that PHP starts are not meant.
[[gnu::constructor]] void ForgetPreload() {
  unsetenv("LD_PRELOAD");  // NOLINT(concurrency-mt-unsafe): no thread runs yet
}

}  // namespace
