#include <google/protobuf/io/coded_stream.h>
#include <gtest/gtest.h>
#include <qmsg/login.pb.h>

#include <cstdint>
#include <string>
#include <type_traits>

#include "fields.h"
#include "wire.h"

namespace {

using quor::protobuf::Login::Config;
using quor::protobuf::Login::Login;
using wire::ExpectBytes;
using wire::Hex;
using wire::Parse;

TEST(LoginFile, NumbersItsMessagesInTheOrderOfTheirDeclaration) {
  EXPECT_EQ(Login::kIndexInFileMessages, 0);
  EXPECT_EQ(Config::kIndexInFileMessages, 1);
}

TEST(LoginFile, NamesAMessageLikeItsPackage) {
  EXPECT_EQ(Login::descriptor()->full_name(), "quor.protobuf.Login.Login");
  EXPECT_EQ(Config::descriptor()->full_name(), "quor.protobuf.Login.Config");
}

TEST(Login, HasItsFieldUnderItsTag) {
  ExpectField(PLAIN_TEXT(Login, hostname), "0A", "quor.protobuf.Login.Login.hostname");
}

TEST(LoginConfig, HasItsFieldUnderItsTag) {
  ExpectField(PLAIN_TEXT(Config, pub_uri), "0A", "quor.protobuf.Login.Config.pub_uri");
}

TEST(Login, IsWrittenAsTheBytesWorkedOutByHand) {
  Login login;
  login.set_hostname("web-1");
  ExpectBytes(login, "0A 05 77 65 62 2D 31");
}

TEST(LoginConfig, IsWrittenAsTheBytesWorkedOutByHand) {
  Config config;
  config.set_pub_uri("tcp://a");
  ExpectBytes(config, "0A 07 74 63 70 3A 2F 2F 61");
}

TEST(Login, WritesNothingForAnEmptyHostname) {
  Login login;
  login.set_hostname("");
  EXPECT_EQ(Hex(login), "");
}

TEST(Login, ReadsAnEmptyHostnameFromNoBytes) { EXPECT_EQ(Parse<Login>("").hostname(), ""); }

TEST(Login, TakesTheSecondOfTwoHostnames) {
  EXPECT_EQ(Parse<Login>("0A 05 66 69 72 73 74 0A 01 62").hostname(), "b");
}

TEST(Login, KeepsAVarintInFieldOneAsUnknownAndWritesItLast) {
  const auto login = Parse<Login>("08 05 0A 01 61");
  EXPECT_EQ(login.hostname(), "a");
  EXPECT_EQ(Hex(login), "0A 01 61 08 05");
  const auto without_hostname = Parse<Login>("08 05");
  EXPECT_EQ(without_hostname.hostname(), "");
  EXPECT_EQ(Hex(without_hostname), "08 05");
}

TEST(Login, WritesAHostnameThatIsNotUtf8ButDoesNotReadIt) {
  Login login;
  login.set_hostname("a\xFF");
  wire::ExpectInvalidTextIsWrittenButNotRead(login, "0A 02 61 FF",
                                             "quor.protobuf.Login.Login.hostname");
}

TEST(LoginFile, HasTwoMessagesOfOneWireForm) {
  const std::string bytes = "0A 01 61";
  EXPECT_EQ(Parse<Login>(bytes).hostname(), "a");
  EXPECT_EQ(Parse<Config>(bytes).pub_uri(), "a");
  EXPECT_FALSE((std::is_same_v<Login, Config>));
}

TEST(Login, EndsAtAZeroTagOrAnEndOfGroupAndThenIsNotReadAsWhole) {
  for (const char* const hex : {"0A 01 61 00", "0A 01 61 0C"}) {
    Login login;
    EXPECT_FALSE(login.ParseFromString(wire::Bytes(hex))) << hex;
    EXPECT_EQ(login.hostname(), "a") << hex;
  }
}

TEST(Login, HandsTheTagOfAnEndOfGroupToItsCaller) {
  const std::string bytes = wire::Bytes("0A 01 61 0C 0A 01 62");
  google::protobuf::io::CodedInputStream input(reinterpret_cast<const uint8_t*>(bytes.data()),
                                               static_cast<int>(bytes.size()));
  Login login;
  EXPECT_TRUE(login.MergeFromCodedStream(&input));
  EXPECT_EQ(login.hostname(), "a");
  EXPECT_TRUE(input.LastTagWas(0x0C));
}

TEST(Login, MergesAHostnameUnlessItIsEmpty) {
  auto target = Parse<Login>("0A 01 61 08 05");
  target.MergeFrom(Parse<Login>("08 06"));
  EXPECT_EQ(Hex(target), "0A 01 61 08 05 08 06");
  target.MergeFrom(Parse<Login>("0A 01 62"));
  EXPECT_EQ(Hex(target), "0A 01 62 08 05 08 06");
}

TEST(Login, IsReplacedByACopyAndUnchangedByACopyOfItself) {
  auto target = Parse<Login>("0A 01 61 08 05");
  const Login& itself = target;
  target.CopyFrom(itself);
  EXPECT_EQ(Hex(target), "0A 01 61 08 05");
  target.CopyFrom(Parse<Login>("08 06"));
  EXPECT_EQ(Hex(target), "08 06");
}

TEST(Login, KeepsTheStorageOfItsHostnameWhenCleared) {
  auto login = Parse<Login>("0A 01 61 08 05");
  const std::string* const storage = login.mutable_hostname();
  login.Clear();
  EXPECT_EQ(Hex(login), "");
  EXPECT_EQ(login.mutable_hostname(), storage);
}

}  // namespace
