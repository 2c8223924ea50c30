#ifndef QMSG_IMPLEMENTATIONS_MEASURE_H_
#define QMSG_IMPLEMENTATIONS_MEASURE_H_

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>

// Uses the value, so that the compiler cannot drop what computes it.
template <typename Value>
void Keep(const Value& value) {
  asm volatile("" : : "r"(&value) : "memory");
}

// Not for measured code: it makes the complaint whether or not the condition holds.
inline void Check(bool holds, const std::string& complaint) {
  if (!holds) {
    throw std::runtime_error(complaint);
  }
}

// Throws unless the bytes written are those read.
inline void CheckBytes(const std::string& workload, const std::string& written,
                       const std::string& read) {
  Check(written == read, workload + ": writes " + std::to_string(written.size()) +
                             " bytes that differ from the " + std::to_string(read.size()) +
                             " bytes of the workload");
}

// Measures on the workload files of a folder, and prints the results.
class Measurer {
 public:
  // Each measurement takes about `seconds`.
  Measurer(std::string folder, double seconds) : folder_(std::move(folder)), seconds_(seconds) {}

  std::string Bytes(const std::string& workload) const { return Contents(workload + ".pb"); }
  std::string Json(const std::string& workload) const { return Contents(workload + ".json"); }

  // Prints the nanoseconds of one call of `action`: the median of nine batches.
  template <typename Action>
  void Time(const std::string& workload, const std::string& operation, Action action) const {
    long calls = 1;
    double elapsed = Batch(calls, action);
    while (elapsed < seconds_ / 10) {  // the warm-up
      calls *= 2;
      elapsed = Batch(calls, action);
    }
    std::array<double, 9> batches{};
    const double wanted = seconds_ / static_cast<double>(batches.size());
    calls = std::max(1L, static_cast<long>(static_cast<double>(calls) * wanted / elapsed));
    for (double& batch : batches) {
      batch = Batch(calls, action) / static_cast<double>(calls);
    }
    std::sort(batches.begin(), batches.end());
    std::printf("%s\t%s\t%.1f\n", workload.c_str(), operation.c_str(),
                batches[batches.size() / 2] * 1e9);
  }

 private:
  // The seconds of `calls` calls.
  template <typename Action>
  static double Batch(long calls, Action& action) {
    const auto start = std::chrono::steady_clock::now();
    for (long call = 0; call < calls; ++call) {
      action();
    }
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }

  std::string Contents(const std::string& name) const {
    const std::string path = folder_ + "/" + name;
    std::ifstream file(path, std::ios::binary);
    Check(file.is_open(),
          path + ": cannot be opened; bench_workloads DIR writes the files of the workloads");
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::string folder_;
  double seconds_;
};

// The main function of a benchmark: `PROGRAM WORKLOADS_DIR SECONDS`. A std::exception is a failure.
inline int RunBenchmark(int argc, char** argv, void (*measure)(const Measurer&)) {
  const double seconds = argc == 3 ? std::strtod(argv[2], nullptr) : 0;
  if (!(seconds > 0)) {
    std::fprintf(stderr, "usage: %s WORKLOADS_DIR SECONDS\n", argv[0]);
    return 2;
  }
  try {
    measure(Measurer(argv[1], seconds));
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
    return 1;
  }
}

#endif
