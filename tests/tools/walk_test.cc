// The walk over the wire format accepts exactly what the runtime's parser accepts.
#include "wire/walk.h"

#include <google/protobuf/stubs/logging.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>

#include "inputs.h"
#include "wire/faults.h"

namespace {

using tools_test::Message;

constexpr std::size_t kEnough = std::size_t{50} * QMSG_MUTATIONS;

std::string Hex(const std::string& bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string hex;
  for (const char byte : bytes) {
    hex += kDigits[static_cast<unsigned char>(byte) >> 4U];
    hex += kDigits[static_cast<unsigned char>(byte) & 15U];
  }
  return hex;
}

class Faults : public qmsg::Visitor {
 public:
  void Meet(const qmsg::Fault& fault, const qmsg::Path& /*path*/) override {
    ++count;
    last_offset = fault.offset;
  }

  std::size_t count = 0;
  std::size_t last_offset = 0;
};

TEST(WalkOverTheWireFormat, AgreesWithTheRuntimeAboutWhatIsAMessage) {
  const google::protobuf::LogSilencer silencer;
  std::size_t accepted = 0;
  std::size_t refused = 0;
  tools_test::ForEachInput([&](const Message& prototype, const std::string& bytes) {
    const std::unique_ptr<Message> message(prototype.New());
    const bool parsed = message->ParseFromArray(bytes.data(), static_cast<int>(bytes.size()));
    Faults faults;
    const bool walked = qmsg::Walk(bytes, prototype.GetDescriptor(), faults);
    ++(parsed ? accepted : refused);
    ASSERT_EQ(walked, parsed) << prototype.GetTypeName() << ' ' << Hex(bytes) << '\n'
                              << qmsg::FirstFault(bytes, prototype.GetDescriptor(), 0);
    ASSERT_EQ(faults.count == 0, walked) << prototype.GetTypeName() << ' ' << Hex(bytes);
    ASSERT_LE(faults.last_offset, bytes.size()) << Hex(bytes);
  });
  EXPECT_GT(accepted, kEnough);
  EXPECT_GT(refused, kEnough);
}

}  // namespace
