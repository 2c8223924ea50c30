// What nothing that copies the bytes of a message can go below.

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "../peers/measure.h"

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

int main(int argc, char** argv) { return RunPeer(argc, argv, MeasureAll); }
