// How much longer than the bytes their JSON and text forms can be, worked out by hand.

#include <gtest/gtest.h>

#include "output_shapes.h"

namespace hostile {
namespace {

constexpr std::size_t kSize = 6000;

TEST(Output, IsAsLongAsWorkedOutByHand) {
  for (const OutputShape& shape : OutputShapes()) {
    SCOPED_TRACE(shape.input + " as " + shape.form);
    const std::string bytes = shape.bytes(kSize);
    const std::unique_ptr<Message> message = contract::NewOnHeap(*shape.prototype);
    ASSERT_TRUE(message->ParseFromString(bytes));
    const double elements = static_cast<double>(bytes.size()) / static_cast<double>(shape.element);
    const auto each = static_cast<double>(shape.output);
    // Some bytes go to what is around the elements.
    EXPECT_NEAR(static_cast<double>(shape.write(*message).size()) / elements, each, 0.05 * each);
  }
}

}  // namespace
}  // namespace hostile
