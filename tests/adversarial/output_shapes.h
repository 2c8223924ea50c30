// Inputs whose JSON or text form is as long as it can be.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "shapes.h"

namespace hostile {

struct OutputShape {
  std::string input;  // an element, as protoc would print it
  std::string form;
  const Message* prototype;
  // Bytes of input in one element, and bytes of output for it, worked out by hand.
  std::size_t element;
  std::size_t output;
  // An input of about `size` bytes.
  std::function<std::string(std::size_t size)> bytes;
  std::function<std::string(const Message&)> write;
};

const std::vector<OutputShape>& OutputShapes();

}  // namespace hostile
