// usage: train
// Does with messages of each type what programs do with messages, always the same: a build that
// counts what is run learns from it what is run often.

#include <google/protobuf/arena.h>
#include <google/protobuf/descriptor.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

#include "messages.h"

namespace {

using google::protobuf::Arena;
using google::protobuf::Message;
using google::protobuf::MessageFactory;
using google::protobuf::io::ArrayInputStream;
using google::protobuf::io::StringOutputStream;

constexpr std::size_t kMessagesOfAType = 40;
constexpr int kRounds = 10;

void Require(bool done, const char* what, const Message& message) {
  if (!done) {
    throw std::runtime_error(message.GetTypeName() + ": " + what + " went wrong");
  }
}

void Write(const Message& message, std::size_t expected_size) {
  std::string bytes;
  Require(message.SerializeToString(&bytes) && bytes.size() == expected_size, "writing a string",
          message);
  Require(message.SerializeToArray(bytes.data(), static_cast<int>(bytes.size())),
          "writing an array", message);
  std::string streamed;
  StringOutputStream stream(&streamed);
  Require(message.SerializeToZeroCopyStream(&stream) && streamed.size() == expected_size,
          "writing a stream", message);
}

void UseOnHeap(const Message& prototype, const std::string& bytes) {
  const std::unique_ptr<Message> message(prototype.New());
  Require(message->ParseFromString(bytes), "reading a string", prototype);
  Require(message->ByteSizeLong() == bytes.size(), "the size", prototype);
  Write(*message, bytes.size());

  const std::unique_ptr<Message> copy(prototype.New());
  copy->CopyFrom(*message);
  copy->MergeFrom(*message);
  copy->Clear();
  ArrayInputStream stream(bytes.data(), static_cast<int>(bytes.size()), 4096);
  Require(copy->ParseFromZeroCopyStream(&stream), "reading a stream", prototype);
}

void UseOnArena(const Message& prototype, const std::string& bytes) {
  Arena arena;
  Message& message = *prototype.New(&arena);
  Require(message.ParseFromString(bytes), "reading on an arena", prototype);
  Write(message, bytes.size());
  Message& copy = *prototype.New(&arena);
  copy.MergeFrom(message);
}

// Returns how many bytes were read each time.
std::size_t Train(const Message& prototype) {
  std::size_t size = 0;
  for (const std::string& bytes :
       training::Messages(*prototype.GetDescriptor(), kMessagesOfAType)) {
    for (int round = 0; round < kRounds; ++round) {
      UseOnHeap(prototype, bytes);
      UseOnArena(prototype, bytes);
    }
    size += bytes.size();
  }
  return size;
}

}  // namespace

int main() {
  try {
    std::size_t size = 0;
    const auto types = training::Types();
    for (const google::protobuf::Descriptor* type : types) {
      size += Train(*MessageFactory::generated_factory()->GetPrototype(type));
    }
    std::cout << kMessagesOfAType << " messages of each of " << types.size() << " types, " << size
              << " bytes in all\n";
    return EXIT_SUCCESS;
  } catch (const std::exception& error) {
    std::cerr << "train: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
