// Uses the library before main, in it, in a handler of atexit and after main. Prints what came of
// it, a line each. As a shared object: when it is opened, and when it leaves.
//
// EMBEDDING_FIRST_USE=last leaves all but the last of these out.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "use.h"

namespace {

bool OnlyLast() {
  const char* first_use = std::getenv("EMBEDDING_FIRST_USE");
  return first_use != nullptr && std::strcmp(first_use, "last") == 0;
}

void Report(const char* when) {
  const std::string problem = embedding::Use();
  std::printf("%s: %s\n", when, problem.empty() ? "works" : problem.c_str());
}

struct Static {
  Static() {
    if (!OnlyLast()) {
      Report("static constructor");
    }
  }
  ~Static() { Report("static destructor"); }
  Static(const Static&) = delete;
  Static& operator=(const Static&) = delete;
};

const Static object;

}  // namespace

#if QMSG_EXIT_ORDER_MAIN
int main() {
  if (!OnlyLast()) {
    Report("main");
    std::atexit([] { Report("atexit"); });
  }
}
#endif
