// usage: driver heap|arena|dynamic
// Reads lines "<full message name> <bytes in hex, or ->" and answers each with "refused",
// "accepted <bytes written back> <JSON>" or "unknown-type".

#include <google/protobuf/arena.h>
#include <google/protobuf/descriptor.h>
#include <google/protobuf/dynamic_message.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/message.h>
#include <google/protobuf/util/json_util.h>
#include <qmsg/codetrace.pb.h>

#include <cstdlib>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace {

using google::protobuf::Arena;
using google::protobuf::Descriptor;
using google::protobuf::DescriptorPool;
using google::protobuf::DynamicMessageFactory;
using google::protobuf::Message;
using google::protobuf::MessageFactory;

constexpr std::string_view kHexDigits = "0123456789abcdef";

std::string FromHex(const std::string& hex) {
  std::string bytes;
  if (hex == "-") {
    return bytes;
  }
  if (hex.empty() || hex.size() % 2 != 0 ||
      hex.find_first_not_of(kHexDigits) != std::string::npos) {
    throw std::invalid_argument("not hexadecimal: " + hex);
  }
  for (size_t i = 0; i < hex.size(); i += 2) {
    bytes.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

std::string ToHex(const std::string& bytes) {
  if (bytes.empty()) {
    return "-";
  }
  std::string hex;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    hex += kHexDigits[byte / 16];
    hex += kHexDigits[byte % 16];
  }
  return hex;
}

std::string Serialised(const Message& message) {
  std::string bytes;
  google::protobuf::io::StringOutputStream stream(&bytes);
  google::protobuf::io::CodedOutputStream output(&stream);
  output.SetSerializationDeterministic(true);
  if (!message.SerializeToCodedStream(&output)) {
    throw std::runtime_error("cannot serialise a " + message.GetTypeName());
  }
  output.Trim();
  return bytes;
}

std::string Answer(Message* message, const std::string& bytes) {
  if (!message->ParseFromString(bytes)) {
    return "refused";
  }
  // Serialised first: printing may change the order of map entries.
  std::string answer = "accepted " + ToHex(Serialised(*message));
  std::string json;
  if (google::protobuf::util::MessageToJsonString(*message, &json).ok()) {
    answer += ' ' + json;
  }
  return answer;
}

class Answerer {
 public:
  explicit Answerer(const std::string& mode) : on_arena_(mode == "arena") {
    if (mode == "dynamic") {
      factory_ = &dynamic_factory_;
    } else if (mode != "heap" && !on_arena_) {
      throw std::invalid_argument("no mode called " + mode);
    }
  }

  std::string operator()(const std::string& type_name, const std::string& bytes) {
    const Descriptor* type = DescriptorPool::generated_pool()->FindMessageTypeByName(type_name);
    if (type == nullptr) {
      return "unknown-type";
    }
    const Message* prototype = factory_->GetPrototype(type);
    if (on_arena_) {
      Arena arena;
      return Answer(prototype->New(&arena), bytes);
    }
    const std::unique_ptr<Message> message(prototype->New());
    return Answer(message.get(), bytes);
  }

 private:
  DynamicMessageFactory dynamic_factory_;
  MessageFactory* factory_ = MessageFactory::generated_factory();
  bool on_arena_;
};

void AnswerAll(const std::string& mode) {
  // A linker may drop a library that is not used.
  if (quor::protobuf::CT::Header::descriptor() == nullptr) {
    throw std::logic_error("the message classes are not registered");
  }
  // The answer "refused" says enough.
  const google::protobuf::LogSilencer silence;
  Answerer answer(mode);
  std::string line;
  while (std::getline(std::cin, line)) {
    const size_t space = line.find(' ');
    if (space == std::string::npos) {
      throw std::invalid_argument("not a question: " + line);
    }
    std::cout << answer(line.substr(0, space), FromHex(line.substr(space + 1))) << '\n';
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);
  std::cin.tie(nullptr);
  try {
    if (argc != 2) {
      throw std::invalid_argument("usage: driver heap|arena|dynamic");
    }
    AnswerAll(argv[1]);
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}
