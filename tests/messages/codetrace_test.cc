#include <gtest/gtest.h>
#include <qmsg/codetrace.pb.h>

#include <cstdint>

#include "enums.h"
#include "fields.h"
#include "wire.h"

namespace {

using quor::protobuf::CT::Header;
using quor::protobuf::CT::Header_DumpReason;
using wire::ExpectBytes;
using wire::Hex;
using wire::Parse;

TEST(CodeTraceFile, NumbersItsMessageFromZero) { EXPECT_EQ(Header::kIndexInFileMessages, 0); }

TEST(CodeTraceHeader, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_NUMBER(Header, flags, uint32_t), "08");
  ExpectField(PLAIN_NUMBER(Header, version, uint32_t), "10");
  ExpectField(PLAIN_NUMBER(Header, php_api_version, uint32_t), "18");
  ExpectField(PLAIN_NUMBER(Header, dump_reason, Header_DumpReason), "20");
  ExpectField(PLAIN_NUMBER(Header, data_size, uint32_t), "28");
  ExpectField(PLAIN_NUMBER(Header, add_data_size, uint32_t), "30");
  ExpectField(PLAIN_NUMBER(Header, orig_data_ptr, uint64_t), "38");
  ExpectField(PLAIN_NUMBER(Header, orig_add_data_ptr, uint64_t), "40");
}

TEST(CodeTraceHeader, HasThreeDumpReasons) {
  ExpectEnum(NESTED_ENUM(quor::protobuf::CT, Header, DumpReason),
             "quor.protobuf.CT.Header.DumpReason",
             {{"USER", Header::USER}, {"EVENT", Header::EVENT}, {"REQUEST", Header::REQUEST}});
}

TEST(CodeTraceHeader, IsWrittenAsTheBytesWorkedOutByHand) {
  Header header;
  header.set_flags(5);
  header.set_version(300);
  header.set_php_api_version(20220829);
  header.set_dump_reason(Header::REQUEST);
  header.set_data_size(65536);
  header.set_add_data_size(127);
  header.set_orig_data_ptr(0x7F00'0000'0000);
  header.set_orig_add_data_ptr(128);
  ExpectBytes(header,
              "08 05"
              "10 AC 02"
              "18 9D 97 D2 09"
              "20 02"
              "28 80 80 04"
              "30 7F"
              "38 80 80 80 80 80 E0 1F"
              "40 80 01");
}

TEST(CodeTraceHeader, WritesNothingByDefault) { EXPECT_EQ(Hex(Header()), ""); }

TEST(CodeTraceHeader, WritesAReasonAndASizeInFourBytes) {
  Header header;
  header.set_dump_reason(Header::EVENT);
  header.set_data_size(16);
  EXPECT_EQ(header.ByteSizeLong(), 4U);
  ExpectBytes(header, "20 01 28 10");
}

TEST(CodeTraceHeader, DoesNotWriteTheReasonUser) {
  Header header;
  header.set_dump_reason(Header::EVENT);
  header.set_dump_reason(Header::USER);
  EXPECT_EQ(Hex(header), "");
  EXPECT_EQ(Parse<Header>("").dump_reason(), Header::USER);
}

TEST(CodeTraceHeader, CarriesTheLargestAddress) {
  Header header;
  header.set_orig_data_ptr(UINT64_MAX);
  EXPECT_EQ(Hex(header), "38 FF FF FF FF FF FF FF FF FF 01");
  EXPECT_EQ(Parse<Header>("38 FF FF FF FF FF FF FF FF FF 01").orig_data_ptr(), UINT64_MAX);
}

TEST(CodeTraceHeader, KeepsAnUndeclaredReason) {
  const auto header = Parse<Header>("20 07");
  EXPECT_EQ(static_cast<int>(header.dump_reason()), 7);
  EXPECT_FALSE(Header::DumpReason_IsValid(7));
  EXPECT_FALSE(quor::protobuf::CT::Header_DumpReason_IsValid(7));
  EXPECT_EQ(Hex(header), "20 07");
}

TEST(CodeTraceHeader, KeepsAFieldOfAnotherWireTypeAsUnknown) {
  const auto header = Parse<Header>("0A 01 61 10 01");
  EXPECT_EQ(header.flags(), 0U);
  EXPECT_EQ(wire::UnknownFields(header).field_count(), 1);
  EXPECT_EQ(Hex(header), "10 01 0A 01 61");
  EXPECT_EQ(header.ByteSizeLong(), 5U);
}

TEST(CodeTraceHeader, IsNotReadFromACutVarint) {
  Header header;
  EXPECT_FALSE(header.ParseFromString(wire::Bytes("08 05 10 80")));
  EXPECT_EQ(header.flags(), 5U);
}

TEST(CodeTraceHeader, MergesOnlyWhatIsNotZero) {
  auto target = Parse<Header>("08 01 10 02 20 01");
  target.MergeFrom(Parse<Header>("10 05 40 09"));
  EXPECT_EQ(Hex(target), "08 01 10 05 20 01 40 09");
}

TEST(CodeTraceHeader, IsClearedWithItsUnknownFields) {
  auto header = Parse<Header>("08 01 10 02 18 03 20 01 28 05 30 06 38 07 40 08 0A 01 61");
  header.Clear();
  EXPECT_EQ(Hex(header), "");
}

}  // namespace
