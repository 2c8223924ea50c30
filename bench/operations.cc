// Measures each operation on each workload, and how two operations grow with the size of the
// message. Linked once with the library and once with the baseline.

#include <benchmark/benchmark.h>
#include <google/protobuf/arena.h>
#include <google/protobuf/stubs/common.h>
#include <google/protobuf/text_format.h>
#include <google/protobuf/util/json_util.h>

#include <string>
#include <utility>
#include <vector>

#include "workloads.h"

namespace bench {
namespace {

using benchmark::State;
using google::protobuf::Arena;
using google::protobuf::TextFormat;

#ifdef __clang__
constexpr const char* kCompiler = __VERSION__;
#else
constexpr const char* kCompiler = "GCC " __VERSION__;
#endif

// Runs an action, which returns whether it worked, and reports the size of the encoded message.
template <class Action>
void Run(State& state, std::size_t bytes, const Action& action) {
  for (auto unused : state) {
    if (!action()) {
      state.SkipWithError("the operation failed");
      break;
    }
    benchmark::ClobberMemory();
  }
  const auto size = static_cast<std::int64_t>(bytes);
  state.SetBytesProcessed(state.iterations() * size);
  state.SetItemsProcessed(state.iterations());
  state.counters["bytes"] = static_cast<double>(bytes);
}

// The objects that an action makes count as used, and are destroyed within the measured time.
template <class T>
bool Used(T& object) {
  benchmark::DoNotOptimize(object);
  return true;
}

template <class T>
void SerialiseMessage(State& state, const T& message) {
  std::string bytes;
  Run(state, message.ByteSizeLong(), [&] { return message.SerializeToString(&bytes); });
}

template <class T>
void Serialise(State& state) {
  SerialiseMessage(state, Filled<T>());
}

template <class T>
void SerialiseToArray(State& state) {
  const T message = Filled<T>();
  std::vector<char> room(message.ByteSizeLong());
  Run(state, room.size(),
      [&] { return message.SerializeToArray(room.data(), static_cast<int>(room.size())); });
}

template <class T>
void ParseBytes(State& state, const std::string& bytes) {
  Run(state, bytes.size(), [&] {
    T message;
    return message.ParseFromString(bytes) && Used(message);
  });
}

template <class T>
void Parse(State& state) {
  ParseBytes<T>(state, BytesOf(Filled<T>()));
}

// Gives each message its own arena. All arenas start in the same block, with the sizes that
// docs/hostile-input.md recommends.
template <class T, class Action>
void RunOnArena(State& state, std::size_t bytes, const Action& action) {
  std::vector<char> block(262144);
  google::protobuf::ArenaOptions options;
  options.initial_block = block.data();
  options.initial_block_size = block.size();
  options.max_block_size = 65536;
  Run(state, bytes, [&] {
    Arena arena(options);
    T& message = *Arena::CreateMessage<T>(&arena);
    return action(message) && Used(message);
  });
}

template <class T>
void ParseOnArena(State& state) {
  const std::string bytes = BytesOf(Filled<T>());
  RunOnArena<T>(state, bytes.size(), [&](T& message) { return message.ParseFromString(bytes); });
}

template <class T>
void ClearAndReuse(State& state) {
  const std::string bytes = BytesOf(Filled<T>());
  T message;
  Run(state, bytes.size(), [&] { return message.ParseFromString(bytes); });
}

template <class T>
void Build(State& state) {
  Run(state, Filled<T>().ByteSizeLong(), [] {
    T message;
    Fill(message);
    return Used(message);
  });
}

template <class T>
void BuildOnArena(State& state) {
  RunOnArena<T>(state, Filled<T>().ByteSizeLong(), [](T& message) {
    Fill(message);
    return true;
  });
}

template <class T>
void Size(State& state) {
  const T message = Filled<T>();
  const std::size_t bytes = message.ByteSizeLong();
  Run(state, bytes, [&] { return message.ByteSizeLong() == bytes; });
}

template <class T>
void Copy(State& state) {
  const T message = Filled<T>();
  Run(state, message.ByteSizeLong(), [&] {
    T copy(message);
    return Used(copy);
  });
}

template <class T>
void Merge(State& state) {
  const T message = Filled<T>();
  T target;
  Run(state, message.ByteSizeLong(), [&] {
    target.Clear();
    target.MergeFrom(message);
    return true;
  });
}

bool ToJson(const google::protobuf::Message& message, std::string& json) {
  json.clear();
  return google::protobuf::util::MessageToJsonString(message, &json).ok();
}

template <class T>
void SerialiseJson(State& state) {
  const T message = Filled<T>();
  std::string json;
  Run(state, message.ByteSizeLong(), [&] { return ToJson(message, json); });
}

template <class T>
void ParseJson(State& state) {
  const T filled = Filled<T>();
  std::string json;
  ToJson(filled, json);
  Run(state, filled.ByteSizeLong(), [&] {
    T message;
    return google::protobuf::util::JsonStringToMessage(json, &message).ok();
  });
}

template <class T>
void SerialiseText(State& state) {
  const T message = Filled<T>();
  std::string text;
  Run(state, message.ByteSizeLong(), [&] { return TextFormat::PrintToString(message, &text); });
}

template <class T>
void ParseText(State& state) {
  const T filled = Filled<T>();
  std::string text;
  TextFormat::PrintToString(filled, &text);
  Run(state, filled.ByteSizeLong(), [&] {
    T message;
    return TextFormat::ParseFromString(text, &message);
  });
}

struct Register {
  template <class T>
  void operator()(const std::string& workload) const {
    for (const auto& [operation, function] : {
             std::pair{"serialise", &Serialise<T>},
             {"serialise_to_array", &SerialiseToArray<T>},
             {"parse", &Parse<T>},
             {"parse_arena", &ParseOnArena<T>},
             {"clear_and_reuse", &ClearAndReuse<T>},
             {"build", &Build<T>},
             {"build_arena", &BuildOnArena<T>},
             {"size", &Size<T>},
             {"copy", &Copy<T>},
             {"merge", &Merge<T>},
             {"json_serialise", &SerialiseJson<T>},
             {"json_parse", &ParseJson<T>},
             {"text_serialise", &SerialiseText<T>},
             {"text_parse", &ParseText<T>},
         }) {
      benchmark::RegisterBenchmark((std::string(operation) + "/" + workload).c_str(), function);
    }
  }
};

Tarq::SqlQueries Statements(const State& state) {
  Tarq::SqlQueries queries;
  FillStatements(static_cast<int>(state.range()), queries);
  return queries;
}

void SerialiseMany(State& state) { SerialiseMessage(state, Statements(state)); }

void ParseMany(State& state) { ParseBytes<Tarq::SqlQueries>(state, BytesOf(Statements(state))); }

// From about 1 KB to about 80 MB.
void RegisterGrowth() {
  for (const auto& [name, function] :
       {std::pair{"growth_serialise", &SerialiseMany}, {"growth_parse", &ParseMany}}) {
    benchmark::RegisterBenchmark(name, function)->RangeMultiplier(4)->Range(1, 65536);
  }
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  bench::ForEachWorkload(bench::Register());
  bench::RegisterGrowth();
  benchmark::AddCustomContext("compiler", bench::kCompiler);
  benchmark::AddCustomContext("protobuf",
                              google::protobuf::internal::VersionString(GOOGLE_PROTOBUF_VERSION));
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 2;
  }
  return benchmark::RunSpecifiedBenchmarks() > 0 ? 0 : 1;
}
