// usage: replay [--tool] PATH...
// Checks the library, or the tool, with each file and those below each folder. A file's type is the
// name of its folder:
// .../quor.protobuf.JQ.Job/anything

#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "check.h"
#include "check_tool.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> FilesBelow(const fs::path& path) {
  if (!fs::is_directory(path)) {
    return {path};
  }
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path)) {
    if (entry.is_regular_file()) {
      files.push_back(entry.path());
    }
  }
  if (files.empty()) {
    throw std::runtime_error(path.string() + ": no files");
  }
  return files;
}

std::string Content(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(stream), {}};
  if (!stream) {
    throw std::runtime_error(file.string() + ": cannot be read");
  }
  return bytes;
}

// Returns the number of findings.
int Replay(bool tool, const std::vector<fs::path>& paths) {
  fuzz::DynamicTypes dynamic_types;
  std::map<std::string, fuzz::TypeUnderTest> types;
  int inputs = 0;
  int findings = 0;
  for (const fs::path& path : paths) {
    for (const fs::path& file : FilesBelow(path)) {
      const std::string name = fs::absolute(file).parent_path().filename();
      if (types.find(name) == types.end()) {
        types.emplace(name, fuzz::FindType(name, dynamic_types));
      }
      try {
        const fuzz::TypeUnderTest& type = types.at(name);
        if (tool) {
          fuzz::CheckTool(type.generated.default_instance->GetDescriptor(), Content(file));
        } else {
          fuzz::Check(type, Content(file));
        }
      } catch (const fuzz::Disagreement& disagreement) {
        std::cout << file.string() << ": " << disagreement.what() << '\n';
        ++findings;
      }
      ++inputs;
    }
  }
  std::cout << inputs << " inputs of " << types.size() << " types, " << findings << " findings\n";
  return findings;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const bool tool = argc > 1 && std::string(argv[1]) == "--tool";
    const int first = tool ? 2 : 1;
    if (argc <= first) {
      throw std::invalid_argument("usage: replay [--tool] PATH...");
    }
    return Replay(tool, {argv + first, argv + argc}) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
  } catch (const std::exception& error) {
    std::cerr << "replay: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
