// usage: fuzz --type=FULL_NAME [--tool] [what libFuzzer takes]
// Checks the library, or with --tool the parts of the tool that read any bytes.
// A finding ends the program, and libFuzzer keeps the bytes.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "check.h"
#include "check_tool.h"
#include "support/mutate.h"

namespace {

// Set once at the start, for a callback that takes nothing but bytes.
fuzz::TypeUnderTest g_type;
bool g_tool = false;

std::string TypeArgument(int argc, char** argv) {
  constexpr std::string_view kOption = "--type=";
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument.substr(0, kOption.size()) == kOption) {
      return std::string(argument.substr(kOption.size()));
    }
  }
  throw std::runtime_error("--type=FULL_NAME is missing");
}

bool HasToolArgument(int argc, char** argv) {
  return std::any_of(argv + 1, argv + argc,
                     [](const char* argument) { return std::string_view(argument) == "--tool"; });
}

std::string Bytes(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

}  // namespace

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t max_size);

// libFuzzer sets the types of the parameters.
// NOLINTNEXTLINE(readability-non-const-parameter)
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  try {
    // It outlives all messages, those of threads and of exit handlers included.
    static auto& dynamic_types = *new fuzz::DynamicTypes;
    g_type = fuzz::FindType(TypeArgument(*argc, *argv), dynamic_types);
    g_tool = HasToolArgument(*argc, *argv);
    if (g_tool) {
      fuzz::CheckTool(g_type.generated.default_instance->GetDescriptor(), "");
    }
  } catch (const std::exception& error) {
    std::cerr << "fuzz: " << error.what() << '\n';
    std::exit(EXIT_FAILURE);
  }
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    if (g_tool) {
      fuzz::CheckTool(g_type.generated.default_instance->GetDescriptor(), Bytes(data, size));
    } else {
      fuzz::Check(g_type, Bytes(data, size));
    }
  } catch (const fuzz::Disagreement& disagreement) {
    std::cerr << g_type.generated.default_instance->GetTypeName() << ": " << disagreement.what()
              << '\n';
    std::abort();
  }
  return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t max_size, unsigned seed) {
  fuzz::Random random(seed);
  const auto change = [](const std::string& bytes, std::size_t limit) {
    std::string buffer = bytes;
    buffer.resize(std::max(limit, bytes.size()));
    buffer.resize(LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(buffer.data()), bytes.size(),
                                   buffer.size()));
    return buffer;
  };
  const std::string mutated = fuzz::Mutate(Bytes(data, size), max_size, random, change);
  std::copy(mutated.begin(), mutated.end(), data);
  return mutated.size();
}
