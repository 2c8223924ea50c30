// Lengths that promise more than follows, and the ways to read them.
#pragma once

#include <google/protobuf/message.h>

#include <functional>
#include <string>
#include <vector>

namespace hostile {

struct Promise {
  std::string name;
  std::string length;  // the varint after the field's tag
  // The runtime asks for memory before it reads the text, unless it knows where the input ends.
  bool believed;
};

// From 50 million bytes on. The runtime takes no length of 2 GiB less 16 bytes or above.
const std::vector<Promise>& Promises();

struct Reader {
  std::string name;
  std::function<bool(const std::string& bytes, google::protobuf::Message& message)> read;
  // Whether it knows where the input ends.
  bool knows_the_end;
};

const std::vector<Reader>& Readers();

// What the runtime asks for at most for a text that may still come.
constexpr std::size_t kBelieved = 50000000;

}  // namespace hostile
