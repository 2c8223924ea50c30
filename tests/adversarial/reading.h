// What it takes to read bytes.
#pragma once

#include <cstddef>
#include <string>

#include "support/prototypes.h"

namespace hostile {

// What is measured in docs/hostile-input.md are objects with 64-bit pointers.
constexpr bool kFiguresApply = sizeof(void*) == 8;

struct Reading {
  bool accepted;
  // The most memory taken at once by the message or the arena, in bytes; see heap_use.h.
  std::size_t peak;
  // What the arena knows of in the end, in bytes; 0 on the heap.
  std::size_t known_to_arena;
};

// Each makes a message, reads `bytes` into it and drops it.
Reading ReadOnHeap(const google::protobuf::Message& prototype, const std::string& bytes);
Reading ReadOnArena(const google::protobuf::Message& prototype, const std::string& bytes);

}  // namespace hostile
