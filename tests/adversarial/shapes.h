// Inputs made to cost as much as they can, each of one shape and of any size.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "support/prototypes.h"

namespace hostile {

using google::protobuf::Message;

struct Shape {
  std::string name;
  std::string input;  // an element, as protoc would print it
  const Message* prototype;
  bool accepted;
  // Bytes of input in one element.
  std::size_t element;
  // An input of at most `size` bytes, and at least `size - element`.
  std::function<std::string(std::size_t size)> bytes;
  // The most memory that a message takes while it reads one element, in bytes, worked out by hand.
  std::size_t heap;
  std::size_t arena;
};

const std::vector<Shape>& Shapes();

// For times and for memory: lists and tables grow by doubling, and the worst is just after that.
constexpr std::size_t kMebibyte = std::size_t{1} << 20;
constexpr std::size_t JustAbove(std::size_t size) { return size + 64; }

std::string Repeated(const std::string& element, std::size_t size);

// Unknown groups of number 15 inside each other, around `content`.
std::string NestedGroups(int depth, const std::string& content = "");

}  // namespace hostile
