// Replaces operator new in the program that links this, for all libraries of the process. It counts
// allocations and fails on request.
#pragma once

#include <cstddef>

namespace allocations {

// How many blocks were allocated so far.
std::size_t Made();

// How many of them were not freed.
std::size_t Outstanding();

// While it lives, the `nth` allocation from now on throws std::bad_alloc; 1 is the next one. Those
// before and after it succeed. One at a time.
class Failure {
 public:
  explicit Failure(std::size_t nth);
  ~Failure();
  Failure(const Failure&) = delete;
  Failure& operator=(const Failure&) = delete;

  // Whether that allocation was reached.
  bool Happened() const;
};

}  // namespace allocations
