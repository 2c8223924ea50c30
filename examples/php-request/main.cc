// Prints a report of PHP requests from what the extension recorded.

#include <fstream>
#include <iostream>
#include <string>

#include "recording.h"
#include "report.h"

namespace {

constexpr int kSuccess = 0;
constexpr int kBadInput = 1;
constexpr int kBadUsage = 2;

constexpr const char* kProgram = "php_request_report";
constexpr const char* kUsage =
    "usage: php_request_report FILE\n"
    "Prints a report of the PHP requests whose records FILE holds; - is the standard input.\n";

int Report(const std::string& name) {
  std::ifstream file;
  if (name != "-") {
    file.open(name, std::ios::binary);
    if (!file) {
      throw BadInput("cannot be opened: check the name and its permissions");
    }
  }
  RecordStream stream(name == "-" ? std::cin : file);
  PrintReport(ReadRecording(stream), std::cout);
  if (!std::cout.flush()) {
    throw std::runtime_error("the report could not be written");
  }
  return kSuccess;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string argument = argc == 2 ? argv[1] : "";
  if (argument == "--help") {
    std::cout << kUsage;
    return kSuccess;
  }
  if (argument.empty()) {
    std::cerr << kUsage;
    return kBadUsage;
  }
  try {
    return Report(argument);
  } catch (const std::exception& error) {
    std::cerr << kProgram << ": " << argument << ": " << error.what() << '\n';
    return kBadInput;
  }
}
