// A shared object that misbehaves as soon as it is loaded.

#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace {

[[gnu::constructor]] void Load() {
#if defined(QMSG_ABORTS)
  std::abort();
#elif defined(QMSG_CRASHES)
  std::signal(SIGSEGV, SIG_DFL);
  kill(getpid(), SIGSEGV);
#elif defined(QMSG_EXITS)
  _exit(0);
#elif defined(QMSG_LOOPS)
  for (;;) {
    sleep(1);
  }
#elif defined(QMSG_FLOODS)
  static const char kText[65536] = {'x'};
  while (write(STDERR_FILENO, kText, sizeof(kText)) > 0 &&
         write(STDOUT_FILENO, kText, sizeof(kText)) > 0) {
  }
#elif defined(QMSG_FORKS)
  // What it leaves behind holds all pipes, and is in no group that the tool knows.
  if (fork() == 0) {
    setsid();
    sleep(30);
    _exit(0);
  }
#endif
}

}  // namespace

#ifdef QMSG_NEEDS_HOST
extern "C" int host_function();
extern "C" int use_host();
extern "C" int use_host() { return host_function(); }
#endif
