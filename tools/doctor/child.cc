#include "doctor/child.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <system_error>

#include "error.h"

namespace qmsg::doctor {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kStep{10};

[[noreturn]] void Fail(const char* what) {
  throw Error(ExitCode::kInputOutput,
              std::string(what) + ": " + std::generic_category().message(errno));
}

// A pipe of which the child writes one end.
class Pipe {
 public:
  Pipe() {
    if (pipe2(ends_.data(), O_CLOEXEC) != 0) {
      Fail("cannot make a pipe");
    }
    fcntl(ends_[0], F_SETFL, O_NONBLOCK);
  }
  ~Pipe() {
    close(ends_[0]);
    CloseWriter();
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  int reader() const { return ends_[0]; }
  int writer() const { return ends_[1]; }
  bool at_end() const { return at_end_; }

  void CloseWriter() {
    if (ends_[1] >= 0) {
      close(ends_[1]);
      ends_[1] = -1;
    }
  }

  // Reads the available bytes and keeps them up to the limit. Returns after a while even if the
  // writer never stops.
  void Drain(std::string& text, std::size_t limit) {
    std::array<char, 65536> block{};
    for (int i = 0; i < 64 && !at_end_; ++i) {
      const ssize_t size = read(ends_[0], block.data(), block.size());
      if (size < 0) {
        return;
      }
      at_end_ = size == 0;
      text.append(block.data(), std::min(static_cast<std::size_t>(size), limit - text.size()));
    }
  }

 private:
  std::array<int, 2> ends_{-1, -1};
  bool at_end_ = false;
};

struct Pipes {
  Pipe output;
  Pipe errors;
  Pipe report;
  Pipe start;
};

// Between fork and exec: calls only async-signal-safe functions.
[[noreturn]] void Become(char* const* arguments, const Pipes& pipes, pid_t parent) {
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const rlimit none{0, 0};
  setrlimit(RLIMIT_CORE, &none);
  const int empty = open("/dev/null", O_RDONLY | O_CLOEXEC);
  // Moved away from the descriptors that the child needs.
  const int output = fcntl(pipes.output.writer(), F_DUPFD_CLOEXEC, 10);
  const int errors = fcntl(pipes.errors.writer(), F_DUPFD_CLOEXEC, 10);
  const int report = fcntl(pipes.report.writer(), F_DUPFD_CLOEXEC, 10);
  const int start = fcntl(pipes.start.writer(), F_DUPFD_CLOEXEC, 10);
  int error = 0;
  if (getppid() == parent && dup2(empty, STDIN_FILENO) >= 0 && dup2(output, STDOUT_FILENO) >= 0 &&
      dup2(errors, STDERR_FILENO) >= 0 && dup2(report, kReportDescriptor) >= 0) {
    execvp(arguments[0], arguments);
  }
  error = errno;
  const ssize_t written = write(start, &error, sizeof(error));
  _exit(written == sizeof(error) ? 127 : 126);
}

}  // namespace

ChildResult RunChild(const std::vector<std::string>& command, std::chrono::milliseconds limit) {
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (const std::string& argument : command) {
    arguments.push_back(const_cast<char*>(argument.c_str()));
  }
  arguments.push_back(nullptr);

  ChildResult result;
  Pipes pipes;
  const Clock::time_point deadline = Clock::now() + limit;
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child < 0) {
    Fail("cannot start a process");
  }
  if (child == 0) {
    Become(arguments.data(), pipes, parent);
  }
  setpgid(child, child);  // as in the child, whichever runs first
  for (Pipe* pipe : {&pipes.output, &pipes.errors, &pipes.report, &pipes.start}) {
    pipe->CloseWriter();
  }

  const auto drain = [&] {
    pipes.output.Drain(result.output, 4 << 20);
    pipes.errors.Drain(result.errors, 64 << 10);
    pipes.report.Drain(result.report, 4 << 20);
  };
  const auto has_ended = [child] {
    siginfo_t info{};
    // It stays a zombie, so its process group id cannot be reused.
    return waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) != 0 ||
           info.si_pid == child;
  };
  // The pipes may stay open after its end: a process that it left behind can hold them.
  while (!has_ended()) {
    if (Clock::now() >= deadline) {
      result.timed_out = true;
      break;
    }
    std::array<pollfd, 3> waiting{};
    std::size_t count = 0;
    for (const Pipe* pipe : {&pipes.output, &pipes.errors, &pipes.report}) {
      if (!pipe->at_end()) {
        waiting.at(count++) = {pipe->reader(), POLLIN, 0};
      }
    }
    poll(waiting.data(), count, static_cast<int>(kStep.count()));
    drain();
  }
  kill(-child, SIGKILL);
  kill(child, SIGKILL);  // it may have left its group
  int status = 0;
  waitpid(child, &status, 0);
  drain();
  if (read(pipes.start.reader(), &result.start_error, sizeof(int)) != sizeof(int)) {
    result.start_error = 0;
  }
  result.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 0;
  return result;
}

std::string HowItEnded(const ChildResult& result, std::chrono::milliseconds limit) {
  if (result.timed_out) {
    std::string seconds = std::to_string(static_cast<double>(limit.count()) / 1000);
    seconds.erase(seconds.find_last_not_of('0') + 1);
    if (seconds.back() == '.') {
      seconds.pop_back();
    }
    return "did not end within " + seconds + " s";
  }
  if (result.signal != 0) {
    const char* description = sigdescr_np(result.signal);
    return "was killed by signal " + std::to_string(result.signal) + " (" +
           (description != nullptr ? description : "unknown") + ")";
  }
  return "ended with status " + std::to_string(result.status);
}

}  // namespace qmsg::doctor
