// The private memory of a process.

#ifndef BENCH_PRIVATE_MEMORY_H_
#define BENCH_PRIVATE_MEMORY_H_

#include <fstream>
#include <stdexcept>
#include <string>

namespace bench {

// The memory that this process has written to and does not share, in KiB. Throws std::runtime_error
// if the system does not provide it.
inline long PrivateDirty() {
  std::ifstream rollup("/proc/self/smaps_rollup");
  for (std::string line; std::getline(rollup, line);) {
    if (line.rfind("Private_Dirty:", 0) == 0) {
      return std::stol(line.substr(line.find(':') + 1));
    }
  }
  throw std::runtime_error("/proc/self/smaps_rollup does not tell the private memory");
}

}  // namespace bench

#endif  // BENCH_PRIVATE_MEMORY_H_
