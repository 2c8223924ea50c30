#include "lengths.h"

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/util/delimited_message_util.h>

#include <sstream>

#include "support/wire.h"

namespace hostile {
namespace {

namespace io = google::protobuf::io;
using google::protobuf::Message;

// As a socket would: a few bytes at a time.
constexpr int kPiece = 4;

io::ArrayInputStream InPieces(const std::string& bytes) {
  return {bytes.data(), static_cast<int>(bytes.size()), kPiece};
}

}  // namespace

const std::vector<Promise>& Promises() {
  using contract::wire::Varint;
  static const std::vector<Promise> promises = {
      {"50 million", Varint(50000000), true},
      {"2 GiB - 64", Varint((std::uint64_t{1} << 31) - 64), true},
      {"2 GiB - 16", Varint((std::uint64_t{1} << 31) - 16), false},
      {"2 GiB - 1", Varint((std::uint64_t{1} << 31) - 1), false},
      {"4 GiB - 1", Varint((std::uint64_t{1} << 32) - 1), false},
      {"2^64 - 1, in ten bytes", Varint(~std::uint64_t{0}), false},
  };
  return promises;
}

const std::vector<Reader>& Readers() {
  static const std::vector<Reader> readers = {
      {"`ParseFromArray`, `ParseFromString`",
       [](const std::string& bytes, Message& message) { return message.ParseFromString(bytes); },
       true},
      {"`ParseFromBoundedZeroCopyStream`",
       [](const std::string& bytes, Message& message) {
         io::ArrayInputStream stream = InPieces(bytes);
         return message.ParseFromBoundedZeroCopyStream(&stream, static_cast<int>(bytes.size()));
       },
       true},
      {"`ParseFromZeroCopyStream`",
       [](const std::string& bytes, Message& message) {
         io::ArrayInputStream stream = InPieces(bytes);
         return message.ParseFromZeroCopyStream(&stream);
       },
       false},
      {"`ParseFromIstream`",
       [](const std::string& bytes, Message& message) {
         std::istringstream stream(bytes);
         return message.ParseFromIstream(&stream);
       },
       false},
      {"`ParseFromCodedStream` with `SetTotalBytesLimit`, or below `PushLimit`",
       [](const std::string& bytes, Message& message) {
         io::ArrayInputStream stream = InPieces(bytes);
         io::CodedInputStream input(&stream);
         input.SetTotalBytesLimit(static_cast<int>(bytes.size()));
         input.PushLimit(static_cast<int>(bytes.size()));
         return message.ParseFromCodedStream(&input);
       },
       false},
      {"`ParseDelimitedFromZeroCopyStream`",
       [](const std::string& bytes, Message& message) {
         const std::string framed = contract::wire::Varint(bytes.size()) + bytes;
         io::ArrayInputStream stream = InPieces(framed);
         return google::protobuf::util::ParseDelimitedFromZeroCopyStream(&message, &stream,
                                                                         nullptr);
       },
       false},
  };
  return readers;
}

}  // namespace hostile
