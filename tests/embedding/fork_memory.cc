// What a forked child pays for using reflection, with and without a warm-up before the fork.
// Prints, in KiB: the memory that the first use adds to what a child shares with nobody, the median
// of eight children. They come one after the other: a page that several hold is not private.

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

#include "host.h"
#include "use.h"
#include "warm_up.h"

namespace {

constexpr int kChildren = 8;

long PrivateMemory() {
  std::ifstream rollup("/proc/self/smaps_rollup");
  long sum = 0;
  for (std::string line; std::getline(rollup, line);) {
    if (line.rfind("Private_Dirty", 0) == 0) {
      sum += std::stol(line.substr(line.find(':') + 1));
    }
  }
  return sum;
}

// Uses all there is, so that the children differ in nothing but what was there before.
std::string Growth() {
  const long before = PrivateMemory();
  if (!embedding::Use().empty()) {
    return "the library does not work";
  }
  WarmUp();
  return std::to_string(PrivateMemory() - before);
}

long MedianGrowth() {
  std::vector<long> growths;
  growths.reserve(kChildren);
  for (int i = 0; i < kChildren; ++i) {
    growths.push_back(std::stol(embedding::InChildren(1, &Growth).front()));
  }
  std::sort(growths.begin(), growths.end());
  return growths[growths.size() / 2];
}

}  // namespace

int main() {
  // Pages of a file that has just been built count as changed until they are on the disk.
  sync();
  if (PrivateMemory() == 0) {
    std::cerr << "fork_memory: /proc/self/smaps_rollup tells nothing\n";
    return EXIT_FAILURE;
  }
  std::cout << "not warmed up: " << MedianGrowth() << " KiB a child\n";
  WarmUp();
  std::cout << "warmed up: " << MedianGrowth() << " KiB a child\n";
}
