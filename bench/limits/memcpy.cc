// The lower bound of anything that copies the bytes of a message.

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "../../implementations/measure.h"

namespace {

void MeasureAll(const Measurer& measurer) {
  for (const char* workload : {"SqlQuery", "SqlQueries", "Functions", "JobList", "Event", "Text"}) {
    const std::string bytes = measurer.Bytes(workload);
    std::vector<char> copy(bytes.size());
    const auto action = [&] {
      std::memcpy(copy.data(), bytes.data(), bytes.size());
      Keep(*copy.data());
    };
    action();
    Check(std::equal(copy.begin(), copy.end(), bytes.begin()), "memcpy copies other bytes");
    measurer.Time(workload, "copy", action);
  }
}

}  // namespace

int main(int argc, char** argv) { return RunBenchmark(argc, argv, MeasureAll); }
