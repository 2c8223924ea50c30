// Each check of the tool finds a planted mistake.

#include "check_tool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/fill.h"
#include "support/prototypes.h"

namespace fuzz {
namespace {

using namespace std::string_literals;

constexpr char kBytes[] = "\x0a\x01\x61\x10\x05";

// A view of kBytes, right but for what was done to it.
struct View {
  const char* description;
  Shown shown;
  std::string text;
  const char* verdict;
};

void PrintTo(const View& view, std::ostream* out) { *out << view.description; }

class ViewTest : public ::testing::TestWithParam<View> {};

TEST_P(ViewTest, IsJudged) {
  std::string verdict = "agreed";
  try {
    CheckView(GetParam().text, kBytes, 999998, GetParam().shown);
  } catch (const Disagreement& disagreement) {
    verdict = disagreement.what();
    verdict = verdict.substr(0, verdict.find(": '"));
  }
  EXPECT_EQ(verdict, GetParam().verdict);
}

std::string NameOf(const ::testing::TestParamInfo<View>& info) {
  std::string name = info.param.description;
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(
    Each, ViewTest,
    ::testing::Values(
        View{"all bytes", Shown::kAll, "999998  0a 01 61  a: 0a\n         b\n1000001  10 05\n",
             "agreed"},
        View{"no byte at the end", Shown::kAll, "999998  0a 01 61  a\n1000001  10\n",
             "The view ends with byte 4 of 5"},
        View{"no byte in between", Shown::kAll, "999998  0a 01  a\n1000001  10 05\n",
             "Another offset than that of byte 2"},
        View{"a byte too many", Shown::kAll, "999998  0a 01 61 10 05 00  a\n",
             "Another byte than byte 5"},
        View{"another byte", Shown::kAll, "999998  0a 01 62 10 05  a\n",
             "Another byte than byte 2"},
        View{"bytes twice", Shown::kAll, "999998  0a 01 61 10 05\n1000001  10 05\n",
             "Another offset than that of byte 5"},
        View{"another offset", Shown::kAll, "999999  0a 01 61 10 05\n",
             "Another offset than that of byte 0"},
        View{"no bytes in a line", Shown::kAll, "999998  0a 01 61 10 05\n1000003\n",
             "Another byte than byte 5"},
        View{"a line that is text", Shown::kAll, "  a\n999998  0a 01 61 10 05\n",
             "Another offset than that of byte 0"},
        View{"spaces at the end", Shown::kAll, "999998  0a 01 61 10 05\n          \n",
             "A line without bytes is none"},
        View{"bytes left out at the end", Shown::kBeginnings, "999998  0a 01 ..  a\n", "agreed"},
        View{"bytes left out in between", Shown::kBeginnings,
             "999998  0a 01 ..  a\n1000001  10 05  b\n", "agreed"},
        View{"bytes left out of all", Shown::kAll, "999998  0a 01 ..  a\n1000001  10 05  b\n",
             "Another byte than byte 2"},
        View{"bytes left out in silence", Shown::kBeginnings,
             "999998  0a 01  a\n1000001  10 05  b\n", "Another offset than that of byte 2"},
        View{"no bytes left out", Shown::kBeginnings, "999998  0a 01 ..  a\n1000000  61 10 05  b\n",
             "Not behind what was left out"},
        View{"bytes behind the end", Shown::kBeginnings, "999998  0a 01 ..  a\n1000003  00  b\n",
             "Not behind what was left out"}),
    NameOf);

TEST(Line, HasNeitherControlsNorBadText) {
  EXPECT_NO_THROW(CheckLine("plain, \xc3\xa9, \xc2\xa0"));
  for (const std::string& bad : {"\x1b[1m"s, "a\nb"s, "\x7f"s, "\0"s, "\xc2\x9b"s, "\xff"s}) {
    EXPECT_THROW(CheckLine(bad), Disagreement) << ::testing::PrintToString(bad);
  }
}

TEST(CheckTool, AgreesOnFilledMessagesOfEachTypeAndOnTheirBeginnings) {
  contract::ForEachFilling([&](const Message& prototype, int filling) {
    const std::string bytes = contract::Filled(prototype, filling)->SerializeAsString();
    CheckTool(prototype.GetDescriptor(), bytes);
    CheckTool(prototype.GetDescriptor(), bytes.substr(0, bytes.size() / 2));
  });
}

}  // namespace
}  // namespace fuzz
