#include "io/wrap.h"

#include <gtest/gtest.h>

#include <string>

namespace qmsg {
namespace {

TEST(Wrap, FillsLinesUpTo80Columns) {
  const std::string word(38, 'w');
  // 2 + 38 + 1 + 38 = 79, and one more letter fits; two do not.
  EXPECT_EQ(Wrap(word + "\n" + word + "w", 2), "  " + word + " " + word + "w\n");
  EXPECT_EQ(Wrap(word + " " + word + "ww", 2), "  " + word + "\n  " + word + "ww\n");
}

TEST(Wrap, CountsCharactersNotBytes) {
  std::string wide;
  for (int i = 0; i < 39; ++i) {
    wide += "\u00e4";
  }
  EXPECT_EQ(Wrap(wide + " " + wide, 2), "  " + wide + "\n  " + wide + "\n");  // 2 + 39 + 1 + 39
  EXPECT_EQ(Wrap(wide + " " + wide, 1), " " + wide + " " + wide + "\n");
}

TEST(Wrap, KeepsParagraphsApartAndIndentedLinesAsTheyAre) {
  EXPECT_EQ(Wrap("one\ntwo\n\nthree\n  code  here\nfour", 1),
            " one two\n\n three\n   code  here\n four\n");
}

TEST(Wrap, LeavesALongWordWhole) {
  const std::string word(100, 'w');
  EXPECT_EQ(Wrap("a " + word + " b", 2), "  a\n  " + word + "\n  b\n");
}

TEST(Wrap, KeepsAnEmptyTextEmpty) { EXPECT_EQ(Wrap("", 4), ""); }

}  // namespace
}  // namespace qmsg
