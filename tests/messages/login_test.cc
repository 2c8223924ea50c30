#include <google/protobuf/io/coded_stream.h>
#include <gtest/gtest.h>
#include <qmsg/login.pb.h>

#include <string>

#include "support/hex_bytes.h"

namespace messages::login {
namespace {

using quor::protobuf::Login::Config;
using quor::protobuf::Login::Login;
using wire::Hex;
using wire::Parse;

TEST(LoginFile, HasAMessageNamedLikeItsPackage) {
  EXPECT_EQ(Login::descriptor()->full_name(), "quor.protobuf.Login.Login");
  EXPECT_EQ(Config::descriptor()->full_name(), "quor.protobuf.Login.Config");
}

TEST(Login, IsRefusedAfterAZeroTagOrAnEndOfGroup) {
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

TEST(Login, KeepsTheStorageOfItsHostnameWhenCleared) {
  auto login = Parse<Login>("0A 01 61 08 05");
  const std::string* const storage = login.mutable_hostname();
  login.Clear();
  EXPECT_EQ(Hex(login), "");
  EXPECT_EQ(login.mutable_hostname(), storage);
}

}  // namespace
}  // namespace messages::login
