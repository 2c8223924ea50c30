// The bytes that a message has to be written as, derived from its fields by reflection.
#pragma once

#include <string>
#include <vector>

#include "prototypes.h"

namespace contract {

// One tagged element: a field, an element of a repeated field, a pair of a map or an unknown field.
struct Element {
  int number;
  std::string bytes;
};

inline bool operator==(const Element& a, const Element& b) {
  return a.number == b.number && a.bytes == b.bytes;
}

// In the order of writing; the pairs of a map by ascending key.
std::vector<Element> ExpectedElements(const Message& message);

std::string Join(const std::vector<Element>& elements);

// The two together.
std::string ExpectedBytes(const Message& message);

}  // namespace contract
