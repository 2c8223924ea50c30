#include "host.h"

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

#include "support/threads.h"

namespace embedding {
namespace {

struct Pipe {
  Pipe() {
    if (pipe(ends.data()) != 0) {
      throw std::runtime_error("cannot make a pipe");
    }
  }
  int reader() const { return ends[0]; }
  int writer() const { return ends[1]; }

  std::array<int, 2> ends{};
};

std::string ReadToEnd(int descriptor) {
  std::string text;
  std::array<char, 4096> buffer{};
  for (ssize_t size = 0; (size = read(descriptor, buffer.data(), buffer.size())) > 0;) {
    text.append(buffer.data(), static_cast<std::size_t>(size));
  }
  return text;
}

bool WriteAll(int descriptor, const std::string& text) {
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t size = write(descriptor, text.data() + written, text.size() - written);
    if (size <= 0) {
      return false;
    }
    written += static_cast<std::size_t>(size);
  }
  return true;
}

std::string Result(const std::function<std::string()>& task) {
  try {
    return task();
  } catch (const std::exception& error) {
    return std::string("exception: ") + error.what();
  }
}

std::string Ending(int status) {
  return WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status))
                             : "exit status " + std::to_string(WEXITSTATUS(status));
}

}  // namespace

Opened::Opened(const char* path, int mode) : handle_(dlopen(path, mode)) {
  if (handle_ == nullptr) {
    throw std::runtime_error(dlerror());
  }
}

Opened::~Opened() { dlclose(handle_); }

const Plugin& Opened::plugin() const {
  const auto* plugin = static_cast<const Plugin*>(dlsym(handle_, QMSG_PLUGIN_NAME));
  if (plugin == nullptr) {
    throw std::runtime_error(dlerror());
  }
  return *plugin;
}

bool IsInProcess(const char* path) {
  void* handle = dlopen(path, RTLD_LAZY | RTLD_NOLOAD);
  if (handle == nullptr) {
    return false;
  }
  dlclose(handle);
  return true;
}

std::vector<std::string> InChildren(int count, const std::function<std::string()>& task) {
  struct Child {
    pid_t id;
    int result;
  };
  const Pipe start;
  std::vector<Child> children;
  for (int i = 0; i < count; ++i) {
    const Pipe result;
    const pid_t id = fork();
    if (id < 0) {
      throw std::runtime_error("cannot fork");
    }
    if (id == 0) {
      close(start.writer());
      ReadToEnd(start.reader());
      _exit(WriteAll(result.writer(), Result(task)) ? 0 : 1);
    }
    close(result.writer());
    children.push_back({id, result.reader()});
  }
  close(start.reader());
  close(start.writer());

  std::vector<std::string> results;
  for (const Child& child : children) {
    std::string result = ReadToEnd(child.result);
    close(child.result);
    int status = 0;
    if (waitpid(child.id, &status, 0) != child.id || status != 0) {
      result = Ending(status);
    }
    results.push_back(std::move(result));
  }
  return results;
}

std::vector<std::string> InThreads(int count, const std::function<std::string()>& task) {
  std::vector<std::string> results(static_cast<std::size_t>(count));
  RunTogether(results.size(), [&](std::size_t thread) { results[thread] = Result(task); });
  return results;
}

}  // namespace embedding
