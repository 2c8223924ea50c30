// What a user of windows.h writes for a value whose short name is a macro there.

#include <gtest/gtest.h>
#include <windows.h>

// Behind it, where the macro is there already.
#include <qmsg/tarq.pb.h>

#include <string>

namespace {

using quor::protobuf::Tarq::Error;

TEST(WindowsH, LeavesTheLongNameOfAValue) {
  Error error;
  error.set_severity(quor::protobuf::Tarq::Error_Severity_ERROR);
  EXPECT_EQ(error.SerializeAsString(), std::string("\x20\x03"));
}

#undef ERROR

TEST(WindowsH, LeavesTheShortNameWhereItsMacroIsUndefined) { EXPECT_EQ(Error::ERROR, 3); }

}  // namespace
