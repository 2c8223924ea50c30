// Prints the figures of docs/performance-guide.md: rows in groups, and the time of each row as a
// multiple of the time of the group's first row.

#include "guide.h"

#include <benchmark/benchmark.h>
#include <google/protobuf/message.h>
#include <google/protobuf/util/json_util.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "workloads.h"

namespace {

using benchmark::State;
using google::protobuf::Arena;
using google::protobuf::ArenaOptions;
namespace JQ = quor::protobuf::JQ;
namespace Tarq = quor::protobuf::Tarq;

constexpr std::size_t kKibibyte = 1024;

// Of all rows, in order.
std::vector<std::string>& Names() {
  static auto& names = *new std::vector<std::string>;
  return names;
}

template <class Function>
void Add(const std::string& name, const Function& function) {
  Names().push_back(name);
  benchmark::RegisterBenchmark(name.c_str(), function);
}

template <class Action>
void Repeat(State& state, const Action& action) {
  for (auto unused : state) {
    if (!action()) {
      state.SkipWithError("the operation failed");
      break;
    }
    benchmark::ClobberMemory();
  }
}

template <class T>
bool Used(T& object) {
  benchmark::DoNotOptimize(object);
  return true;
}

template <class M>
void ReadOnArena(State& state, const std::string& bytes, const ArenaOptions& options) {
  Repeat(state, [&] {
    Arena arena(options);
    M* message = Arena::CreateMessage<M>(&arena);
    return message->ParseFromString(bytes) && Used(*message);
  });
}

// Into a new message each time.
template <class M>
void AddHeap(const std::string& name, const std::string& bytes) {
  Add(name, [bytes](State& state) {
    Repeat(state, [&] {
      M message;
      return message.ParseFromString(bytes) && Used(message);
    });
  });
}

// On a new arena each time.
template <class M>
void AddArena(const std::string& name, const std::string& bytes, std::size_t start_block,
              std::size_t max_block) {
  Add(name, [=](State& state) {
    ArenaOptions options;
    options.start_block_size = start_block;
    options.max_block_size = max_block;
    ReadOnArena<M>(state, bytes, options);
  });
}

template <class M, class Reader>
void AddReader(const std::string& name, const std::string& bytes, std::size_t size) {
  Add(name, [=](State& state) {
    Reader reader(size);
    Repeat(state, [&] { return reader.Read(bytes) != nullptr; });
  });
}

template <class M>
void AddArenas(const std::string& workload, const M& filled) {
  const std::string group = "arena_" + workload + "/";
  const std::string bytes = bench::BytesOf(filled);
  AddHeap<M>(group + "heap", bytes);
  AddArena<M>(group + "default", bytes, 256, 8 * kKibibyte);
  AddArena<M>(group + "max_64K", bytes, 256, 64 * kKibibyte);
  AddArena<M>(group + "start_1M", bytes, kKibibyte * kKibibyte, kKibibyte * kKibibyte);
  for (const auto& [name, size] : {std::pair{"first_256", std::size_t{256}},
                                   {"first_4K", 4 * kKibibyte},
                                   {"first_64K", 64 * kKibibyte},
                                   {"first_256K", 256 * kKibibyte},
                                   {"first_1M", kKibibyte * kKibibyte}}) {
    AddReader<M, guide::ArenaReader<M>>(group + name, bytes, size);
  }
}

template <class M>
void AddSmallGains(const std::string& workload, const M& filled) {
  const std::string group = "arena_" + workload + "/";
  const std::string bytes = bench::BytesOf(filled);
  AddHeap<M>(group + "heap", bytes);
  AddArena<M>(group + "default", bytes, 256, 8 * kKibibyte);
  AddReader<M, guide::ArenaReader<M>>(group + "first_256K", bytes, 256 * kKibibyte);
}

template <class M>
void AddReuse(const std::string& workload, const M& filled) {
  const std::string group = "reuse_" + workload + "/";
  const std::string bytes = bench::BytesOf(filled);
  AddHeap<M>(group + "new", bytes);
  AddReader<M, guide::ReusingReader<M>>(group + "reused", bytes, 100 * bytes.size());
  Add(group + "reused_SpaceUsedLong", [bytes](State& state) {
    M message;
    Repeat(state, [&] {
      return message.ParseFromString(bytes) && message.SpaceUsedLong() > bytes.size();
    });
  });
}

template <class M>
void AddWriting(const std::string& workload, const M& filled) {
  const std::string group = "write_" + workload + "/";
  Add(group + "SerializeAsString", [filled](State& state) {
    Repeat(state, [&] { return !filled.SerializeAsString().empty(); });
  });
  Add(group + "SerializeToString", [filled](State& state) {
    std::string bytes;
    Repeat(state, [&] { return filled.SerializeToString(&bytes); });
  });
  Add(group + "SerializeToArray", [filled](State& state) {
    std::vector<char> room(filled.ByteSizeLong());
    Repeat(state,
           [&] { return filled.SerializeToArray(room.data(), static_cast<int>(room.size())); });
  });
  Add(group + "ByteSizeLong_SerializeToArray", [filled](State& state) {
    std::vector<char> room(filled.ByteSizeLong());
    Repeat(state, [&] {
      return filled.SerializeToArray(room.data(), static_cast<int>(filled.ByteSizeLong()));
    });
  });
  Add(group + "FrameWriter", [filled](State& state) {
    guide::FrameWriter writer;
    Repeat(state, [&] { return !writer.Write(filled).empty(); });
  });
  Add(group + "json", [filled](State& state) {
    std::string json;
    Repeat(state, [&] {
      json.clear();
      return google::protobuf::util::MessageToJsonString(filled, &json).ok();
    });
  });
}

template <class M>
void AddJsonReading(const std::string& workload, const M& filled) {
  const std::string group = "read_" + workload + "/";
  AddHeap<M>(group + "binary", bench::BytesOf(filled));
  Add(group + "json", [filled](State& state) {
    std::string json;
    google::protobuf::util::MessageToJsonString(filled, &json);
    Repeat(state, [&] {
      M message;
      return google::protobuf::util::JsonStringToMessage(json, &message).ok();
    });
  });
}

std::int64_t SumOfRows(const Tarq::SqlQueries& queries) {
  std::int64_t sum = 0;
  for (const auto& query : queries.queries()) {
    sum += query.rows();
  }
  return sum;
}

std::int64_t SumOfRowsByReflection(const google::protobuf::Message& queries) {
  const auto* list = queries.GetDescriptor()->FindFieldByName("queries");
  const auto* rows = list->message_type()->FindFieldByName("rows");
  std::int64_t sum = 0;
  for (int i = 0; i < queries.GetReflection()->FieldSize(queries, list); ++i) {
    const auto& query = queries.GetReflection()->GetRepeatedMessage(queries, list, i);
    sum += query.GetReflection()->GetInt32(query, rows);
  }
  return sum;
}

void AddFields() {
  const auto queries = bench::Filled<Tarq::SqlQueries>();
  const std::int64_t sum = SumOfRows(queries);
  Add("fields/accessors",
      [=](State& state) { Repeat(state, [&] { return SumOfRows(queries) == sum; }); });
  Add("fields/reflection",
      [=](State& state) { Repeat(state, [&] { return SumOfRowsByReflection(queries) == sum; }); });
}

// From one list to another and back, so that there is always something to move.
void MoveToAndFro(State& state, Tarq::SqlQueries* from, Tarq::SqlQueries* to) {
  bench::Fill(*from);
  const int size = from->queries_size();
  Repeat(state, [&] {
    guide::MoveQueries(*from, *to);
    std::swap(from, to);
    return from->queries_size() == size;
  });
}

void AddHandingOver() {
  Add("hand_over/copy", [](State& state) {
    const auto from = bench::Filled<Tarq::SqlQueries>();
    Repeat(state, [&] {
      Tarq::SqlQueries to(from);
      return Used(to);
    });
  });
  Add("hand_over/move_on_heap", [](State& state) {
    Tarq::SqlQueries from;
    Tarq::SqlQueries to;
    MoveToAndFro(state, &from, &to);
  });
  Add("hand_over/move_on_one_arena", [](State& state) {
    Arena arena;
    MoveToAndFro(state, Arena::CreateMessage<Tarq::SqlQueries>(&arena),
                 Arena::CreateMessage<Tarq::SqlQueries>(&arena));
  });
  Add("hand_over/move_from_arena_to_heap", [](State& state) {
    Arena arena;
    Arena::CreateMessage<Tarq::SqlQueries>(&arena);
    auto* from = Arena::CreateMessage<Tarq::SqlQueries>(&arena);
    bench::Fill(*from);
    Repeat(state, [&] {
      Tarq::SqlQueries to;
      to = std::move(*from);  // copies, so `from` keeps its content
      return to.queries_size() == from->queries_size();
    });
  });
}

// 1,000 texts of one repeated letter, all with the same number of bytes.
std::string Texts(const std::string& letter, std::size_t bytes) {
  std::string text;
  while (text.size() < bytes) {
    text += letter;
  }
  Tarq::RequestHeaders headers;
  for (int i = 0; i < 1000; ++i) {
    headers.add_headers(text);
  }
  return bench::BytesOf(headers);
}

void AddTexts() {
  constexpr const char* kCyrillic = "\xD0\xB6";
  for (const std::size_t size : {18U, 20U, 200U}) {
    const std::string group = "text_" + std::to_string(size) + "/";
    for (const auto& [name, letter] : {std::pair{"ascii", "a"}, {"not_ascii", kCyrillic}}) {
      const std::string bytes = Texts(letter, size);
      AddReader<Tarq::RequestHeaders, guide::ReusingReader<Tarq::RequestHeaders>>(
          group + name, bytes, 100 * bytes.size());
    }
  }
}

// Why a run failed; empty if it did not. Google Benchmark 1.8 renamed the member.
template <typename Run>
auto Failure(const Run& run, int /*preferred*/) -> decltype(run.error_message) {
  return run.error_message;
}
template <typename Run>
auto Failure(const Run& run, ...) -> decltype(run.skip_message) {
  return run.skip_message;
}

// Keeps the median of each row's repetitions. Prints the medians at the end in the order in which
// the rows were added, which is not the order of measurement.
class Ratios : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& /*context*/) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      const std::string name = run.run_name.str();
      const std::string failure = Failure(run, 0);
      if (!failure.empty()) {
        std::fprintf(stderr, "%s: ERROR: %s\n", name.c_str(), failure.c_str());
        failed_ = true;
      } else if (run.repetitions <= 1 || run.aggregate_name == "median") {
        times_[name] = run.GetAdjustedCPUTime();
      }
    }
  }

  void Finalize() override {
    std::map<std::string, double> firsts;
    std::printf("%-40s %12s %20s\n", "row", "nanoseconds", "to its group's first");
    for (const std::string& name : Names()) {
      const auto time = times_.find(name);
      if (time != times_.end()) {
        const std::string group = name.substr(0, name.find('/'));
        const double first = firsts.emplace(group, time->second).first->second;
        std::printf("%-40s %12.0f %20.3f\n", name.c_str(), time->second, time->second / first);
      }
    }
  }

  bool Failed() const { return failed_; }

 private:
  std::map<std::string, double> times_;
  bool failed_ = false;
};

JQ::QueueId OneNumber() {
  JQ::QueueId id;
  id.set_queue_id(300);
  return id;
}

}  // namespace

int main(int argc, char** argv) {
  AddArenas("SqlQuery", bench::Filled<Tarq::SqlQuery>());
  AddArenas("SqlQueries", bench::Filled<Tarq::SqlQueries>());
  AddSmallGains("QueueId", OneNumber());
  AddSmallGains("Text", bench::Filled<Tarq::Storage>());
  AddReuse("SqlQuery", bench::Filled<Tarq::SqlQuery>());
  AddReuse("Functions", bench::Filled<Tarq::Functions>());
  AddReuse("Text", bench::Filled<Tarq::Storage>());
  AddWriting("SqlQuery", bench::Filled<Tarq::SqlQuery>());
  AddWriting("SqlQueries", bench::Filled<Tarq::SqlQueries>());
  AddJsonReading("SqlQuery", bench::Filled<Tarq::SqlQuery>());
  AddFields();
  AddHandingOver();
  AddTexts();
  // The caller's arguments come later, so they override these.
  std::string repetitions = "--benchmark_repetitions=9";
  std::string turns = "--benchmark_enable_random_interleaving=true";
  std::vector<char*> arguments = {argv[0], repetitions.data(), turns.data()};
  arguments.insert(arguments.end(), argv + 1, argv + argc);
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
    return 2;
  }
  Ratios ratios;
  return benchmark::RunSpecifiedBenchmarks(&ratios) > 0 && !ratios.Failed() ? 0 : 1;
}
