// What goes through operator new. A program that is linked with this has an operator new of its
// own, which all libraries of the process use: it counts, and fails when it is told to.
#pragma once

#include <cstddef>

namespace allocations {

// How many blocks were handed out so far.
std::size_t Made();

// How many of them were not given back.
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
