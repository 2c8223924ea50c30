// The heap use of the process. Replaces operator new in the program that links this, which may use
// one thread only.
#pragma once

#include <algorithm>
#include <cstddef>

namespace heap_use {

// What glibc's malloc takes on a 64-bit machine for `size` bytes that are asked for: 8 more,
// rounded up to a multiple of 16, and at least 32.
constexpr std::size_t Taken(std::size_t size) {
  return std::max<std::size_t>(32, (size + 8 + 15) / 16 * 16);
}

// The number of allocations since the program began.
std::size_t Allocations();

// Bytes in use now. Under sanitizers, too, counted as glibc's malloc would.
std::size_t Bytes();

// The most bytes in use at once since ForgetPeak().
std::size_t Peak();
void ForgetPeak();

// The most bytes in use at once while `action` runs, beyond those in use before.
template <class Action>
std::size_t PeakDuring(const Action& action) {
  ForgetPeak();
  const std::size_t before = Bytes();
  action();
  return Peak() - before;
}

}  // namespace heap_use
