// What bytes can cost in memory: no more than worked out by hand, and in proportion to their
// number.

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>

#include "reading.h"
#include "shapes.h"
#include "support/log_recorder.h"

namespace hostile {

// For GoogleTest.
void PrintTo(const Shape& shape, std::ostream* out) { *out << shape.name; }

namespace {

using namespace std::string_literals;

// The message itself, an arena's first blocks, and the pages to which malloc rounds large pieces.
constexpr double kFixed = 24.0 * 1024;
// Blocks of an arena have a head, and an end that the next object does not fit into.
constexpr double kArenaBlocks = 1.03;

// The shape's name in letters, digits and underscores.
std::string TestName(const testing::TestParamInfo<Shape>& shape) {
  std::string name = shape.param.name;
  name.erase(std::remove(name.begin(), name.end(), ','), name.end());
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
}

class EachShape : public testing::TestWithParam<Shape> {};

INSTANTIATE_TEST_SUITE_P(Memory, EachShape, testing::ValuesIn(Shapes()), TestName);

TEST_P(EachShape, IsReadOrRefusedAsExpected) {
  const LogRecorder log;
  const std::string bytes = GetParam().bytes(kMebibyte);
  EXPECT_GT(bytes.size(), kMebibyte - GetParam().element - 8);
  EXPECT_EQ(ReadOnHeap(*GetParam().prototype, bytes).accepted, GetParam().accepted);
  EXPECT_EQ(ReadOnArena(*GetParam().prototype, bytes).accepted, GetParam().accepted);
  EXPECT_EQ(log.lines().size(), GetParam().accepted ? 0U : 2U);
}

TEST_P(EachShape, TakesWhatWasWorkedOutByHand) {
  if (!kFiguresApply) {
    GTEST_SKIP() << "other objects have other figures";
  }
  const LogRecorder log;
  const std::string bytes = GetParam().bytes(JustAbove(kMebibyte));
  const double elements =
      static_cast<double>(bytes.size()) / static_cast<double>(GetParam().element);

  const auto heap = static_cast<double>(ReadOnHeap(*GetParam().prototype, bytes).peak);
  const double heap_bound = elements * static_cast<double>(GetParam().heap);
  EXPECT_LE(heap, heap_bound + kFixed);
  EXPECT_GE(heap, heap_bound * 0.75);

  const auto arena = static_cast<double>(ReadOnArena(*GetParam().prototype, bytes).peak);
  const double arena_bound = elements * static_cast<double>(GetParam().arena);
  EXPECT_LE(arena, arena_bound * kArenaBlocks + kFixed);
  EXPECT_GE(arena, arena_bound * 0.75);
}

TEST_P(EachShape, TakesFourTimesTheMemoryForFourTimesTheBytes) {
  const LogRecorder log;
  const std::string bytes = GetParam().bytes(JustAbove(kMebibyte / 4));
  const std::string more = GetParam().bytes(JustAbove(kMebibyte));
  for (const auto& read : {&ReadOnHeap, &ReadOnArena}) {
    const double once = static_cast<double>(read(*GetParam().prototype, bytes).peak);
    EXPECT_NEAR(static_cast<double>(read(*GetParam().prototype, more).peak), 4 * once,
                0.03 * once + 4 * kFixed);
  }
}

}  // namespace
}  // namespace hostile
