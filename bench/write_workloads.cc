// Writes the workloads to files, for programs without these classes.

#include <google/protobuf/util/json_util.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "workloads.h"

namespace {

void WriteFile(const std::filesystem::path& path, const std::string& content) {
  std::ofstream file(path, std::ios::binary);
  file << content << std::flush;
  if (!file) {
    throw std::runtime_error("cannot write " + path.string());
  }
}

struct Write {
  std::filesystem::path folder;

  template <class T>
  void operator()(const std::string& name) const {
    const T message = bench::Filled<T>();
    google::protobuf::util::JsonPrintOptions options;
    options.preserve_proto_field_names = true;
    std::string json;
    if (const auto status = google::protobuf::util::MessageToJsonString(message, &json, options);
        !status.ok()) {
      throw std::runtime_error(name + " cannot be printed as JSON: " + status.ToString());
    }
    WriteFile(folder / (name + ".pb"), bench::BytesOf(message));
    WriteFile(folder / (name + ".json"), json);
  }
};

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 2) {
    std::fputs(
        "Usage: bench_workloads FOLDER\n"
        "Writes each workload to FOLDER as NAME.pb, the encoded message, and NAME.json, the same\n"
        "with the field names of the schema files.\n",
        stderr);
    return 2;
  }
  std::filesystem::create_directories(argv[1]);
  bench::ForEachWorkload(Write{argv[1]});
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "bench_workloads: %s\n", error.what());
  return 1;
}
