// Foreign text is escaped before it reaches a terminal.
#include "io/escape.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace {

using qmsg::Escape;
using qmsg::Legibility;
using qmsg::LegibilityOf;
using qmsg::Shown;
using qmsg::ShowText;

struct Case {
  const char* name;
  std::string text;
  std::string shown;
};

void PrintTo(const Case& tested, std::ostream* out) { *out << tested.name; }

const Case kCases[] = {
    {"Letters", "az AZ~", "az AZ~"},
    {"LettersOfOtherScripts", "ünï Ж 漢 😀", "ünï Ж 漢 😀"},
    {"QuotationMarksAndBackslashes", R"("\)", R"(\"\\)"},
    {"LineEndsAndTabs", "\n\r\t", R"(\n\r\t)"},
    {"AnEscapeSequence", "\x1b[31m", "\\x1b[31m"},
    {"Zero", std::string(1, '\0'), "\\x00"},
    {"Delete", "\x7f", "\\x7f"},
    {"TheFirstC1Control", "\xc2\x80", "\\u0080"},
    {"TheC1FormOfAnEscapeSequence", "\xc2\x9b", "\\u009b"},
    {"TheLastC1Control", "\xc2\x9f", "\\u009f"},
    {"NoBreakSpaceWhichIsNone", "\xc2\xa0", "\xc2\xa0"},
    {"TheOverrideOfDirection", std::string("\xe2\x80") + '\xae', "\\u202e"},
    {"AnIsolateOfDirection", std::string("\xe2\x81") + '\xa6', "\\u2066"},
    {"TheArabicLetterMark", "\xd8\x9c", "\\u061c"},
    {"TheByteOrderMark", "\xef\xbb\xbf", "\\ufeff"},
    {"ATag", "\xf3\xa0\x80\x81", "\\U000e0001"},
    {"AByteThatNoCharacterBeginsWith",
     "a\xff"
     "b",
     "a\\xffb"},
    {"AContinuationAlone", "\x80", "\\x80"},
    {"ACharacterCutOff", "a\xe2\x82", R"(a\xe2\x82)"},
    {"ASurrogate", "\xed\xa0\x80", R"(\xed\xa0\x80)"},
    {"AnOverlongForm", "\xc0\xaf", R"(\xc0\xaf)"},
    {"WhatIsBeyondUnicode", "\xf4\x90\x80\x80", R"(\xf4\x90\x80\x80)"},
};

class Shows : public testing::TestWithParam<Case> {};

TEST_P(Shows, AsExpected) { EXPECT_EQ(Escape(GetParam().text), GetParam().shown); }

INSTANTIATE_TEST_SUITE_P(Escape, Shows, testing::ValuesIn(kCases),
                         [](const auto& tested) { return tested.param.name; });

TEST(Escape, LeavesNoControlOfAnyTwoBytes) {
  for (int first = 0; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      const std::string text{static_cast<char>(first), static_cast<char>(second)};
      const std::string shown = Escape(text);
      for (std::size_t i = 0; i < shown.size(); ++i) {
        const auto byte = static_cast<unsigned char>(shown[i]);
        ASSERT_TRUE(byte >= 0x20 && byte != 0x7f) << first << ' ' << second;
        const bool c1 = byte == 0xc2 && static_cast<unsigned char>(shown[i + 1]) < 0xa0;
        ASSERT_FALSE(c1) << first << ' ' << second;
      }
    }
  }
}

TEST(ShowText, TakesWholeCharactersOnly) {
  const Shown four = ShowText("abc\ndef", 4);  // "\n" needs two columns, one is left.
  EXPECT_EQ(four.text, "abc");
  EXPECT_EQ(four.size, 3U);
  const Shown five = ShowText("abc\ndef", 5);
  EXPECT_EQ(five.text, "abc\\n");
  EXPECT_EQ(five.size, 4U);
  EXPECT_EQ(five.columns, 5U);
}

TEST(ShowText, CountsColumnsOfWideCharacters) {
  EXPECT_EQ(ShowText("漢漢漢", 5).text, "漢漢");
  EXPECT_EQ(ShowText("äöü", 3).text, "äöü");
}

TEST(LegibilityOf, TellsTextFromBytes) {
  EXPECT_EQ(LegibilityOf(""), Legibility::kText);
  EXPECT_EQ(LegibilityOf("C:\\ \"ü\""), Legibility::kText);
  EXPECT_EQ(LegibilityOf("a\nb"), Legibility::kLines);
  EXPECT_EQ(LegibilityOf("a\x01"), Legibility::kNone);
  EXPECT_EQ(LegibilityOf("a\n\x1b"), Legibility::kNone);
  EXPECT_EQ(LegibilityOf("a\xff"), Legibility::kNone);
}

}  // namespace
