// Lists the values in a message, each with its path. The type is known by its name alone.

#include <google/protobuf/descriptor.h>
#include <google/protobuf/util/json_util.h>

#include <iostream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "walk.h"

namespace {

using google::protobuf::DescriptorPool;
using google::protobuf::Message;
using google::protobuf::MessageFactory;

constexpr const char* kUsage =
    "usage: reflection_walker [--json] TYPE <MESSAGE\n"
    "Prints a line 'path = value' for each value in a message of that type, such as\n"
    "quor.protobuf.Tarq.SqlQueries. MESSAGE is bytes; with --json, JSON.\n";

// Returns why the input was not read, or empty text.
std::string Read(const std::string& input, bool json, Message& message) {
  if (!json) {
    return message.ParseFromString(input)
               ? ""
               : "its " + std::to_string(input.size()) + " bytes are damaged or of another type";
  }
  const auto status = google::protobuf::util::JsonStringToMessage(input, &message);
  return status.ok() ? "" : status.message().ToString();
}

int Run(const std::string& type, bool json) {
  // Loading the library has registered its types. This program is not compiled for any of them.
  const auto* descriptor = DescriptorPool::generated_pool()->FindMessageTypeByName(type);
  if (descriptor == nullptr) {
    std::cerr << "reflection_walker: there is no type '" << type
              << "'; names are full ones, such as quor.protobuf.Tarq.SqlQueries\n";
    return 2;
  }
  const std::unique_ptr<Message> message(
      MessageFactory::generated_factory()->GetPrototype(descriptor)->New());
  const std::string input(std::istreambuf_iterator<char>(std::cin), {});
  const std::string reason = Read(input, json, *message);
  if (!reason.empty()) {
    std::cerr << "reflection_walker: the input is not a valid " << type << ": " << reason << '\n';
    return 1;
  }
  Walk(*message, std::cout);
  if (!std::cout.flush()) {
    std::cerr << "reflection_walker: the lines could not be written\n";
    return 1;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> arguments(argv + 1, argv + argc);
  const bool json = !arguments.empty() && arguments.front() == "--json";
  if (json) {
    arguments.erase(arguments.begin());
  }
  if (arguments.size() != 1) {
    std::cerr << kUsage;
    return 2;
  }
  return Run(arguments.front(), json);
}
