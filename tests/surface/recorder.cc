// Loaded ahead of the protobuf runtime, it replaces the constructor that registers a file: prints
// which files are registered by then, and calls the runtime's constructor.

#include <google/protobuf/generated_message_reflection.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

using google::protobuf::internal::DescriptorTable;

namespace {

constexpr char kRunner[] =
    "_ZN6google8protobuf8internal20AddDescriptorsRunnerC1EPKNS1_15DescriptorTableE";

bool BelongsToTheRuntime(const DescriptorTable& table) {
  return std::strncmp(table.filename, "google/", std::strlen("google/")) == 0;
}

void Print(const DescriptorTable& table) {
  std::printf("%s: %s; imports", table.filename,
              table.is_initialized ? "already registered" : "not yet registered");
  for (int i = 0; i < table.num_deps; ++i) {
    std::printf(" %s (%s)", table.deps[i]->filename,
                table.deps[i]->is_initialized ? "registered" : "not yet");
  }
  std::printf("%s\n", table.num_deps == 0 ? " nothing" : "");
}

auto FindInTheRuntime(const char* name) {
#ifdef _WIN32
  return GetProcAddress(GetModuleHandleA("protobuf_runtime.dll"), name);
#else
  return dlsym(RTLD_NEXT, name);
#endif
}

}  // namespace

google::protobuf::internal::AddDescriptorsRunner::AddDescriptorsRunner(
    const DescriptorTable* table) {
  using Runner = void (*)(AddDescriptorsRunner*, const DescriptorTable*);
  static const auto runner = reinterpret_cast<Runner>(FindInTheRuntime(kRunner));
  if (runner == nullptr) {
    std::fprintf(stderr, "recorder: the protobuf runtime has no %s\n", kRunner);
    std::abort();
  }
  if (!BelongsToTheRuntime(*table)) {
    Print(*table);
  }
  runner(this, table);
}
