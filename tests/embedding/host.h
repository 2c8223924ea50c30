// What the hosts share that know the library only as a file.
#pragma once

#include <dlfcn.h>

#include <functional>
#include <string>
#include <vector>

#include "plugin.h"

namespace embedding {

// A shared object that is open while this object lives.
class Opened {
 public:
  // `mode` is that of dlopen. Throws std::runtime_error with the loader's words.
  explicit Opened(const char* path, int mode = RTLD_NOW | RTLD_LOCAL);
  ~Opened();
  Opened(const Opened&) = delete;
  Opened& operator=(const Opened&) = delete;

  // Throws std::runtime_error if it is not a plugin.
  const Plugin& plugin() const;

 private:
  void* handle_;
};

bool IsInProcess(const char* path);

// Forks so many children, lets them all go on at the same time, and returns what `task` returned
// in each; or how the child ended, if it ended otherwise.
std::vector<std::string> InChildren(int count, const std::function<std::string()>& task);

// The same for threads.
std::vector<std::string> InThreads(int count, const std::function<std::string()>& task);

}  // namespace embedding
