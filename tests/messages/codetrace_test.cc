#include <gtest/gtest.h>
#include <qmsg/codetrace.pb.h>

#include "support/hex_bytes.h"

namespace messages::codetrace {
namespace {

using quor::protobuf::CT::Header;
using wire::Hex;
using wire::Parse;

TEST(CodeTraceHeader, DoesNotWriteTheReasonUser) {
  Header header;
  header.set_dump_reason(Header::EVENT);
  header.set_dump_reason(Header::USER);
  EXPECT_EQ(Hex(header), "");
  EXPECT_EQ(Parse<Header>("").dump_reason(), Header::USER);
}

}  // namespace
}  // namespace messages::codetrace
