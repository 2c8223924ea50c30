#include "heap_use.h"

#include <malloc.h>

#include <cstdlib>
#include <new>

namespace {

std::size_t allocations = 0;
std::size_t bytes = 0;
std::size_t peak = 0;

void* Allocate(std::size_t size) {
  void* const memory = std::malloc(size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  ++allocations;
  bytes += heap_use::Taken(malloc_usable_size(memory));
  peak = std::max(peak, bytes);
  return memory;
}

void GiveBack(void* memory) noexcept {
  if (memory != nullptr) {
    bytes -= heap_use::Taken(malloc_usable_size(memory));
    std::free(memory);
  }
}

}  // namespace

#include "operator_new.inc"

namespace heap_use {

std::size_t Allocations() { return allocations; }
std::size_t Bytes() { return bytes; }
std::size_t Peak() { return peak; }
void ForgetPeak() { peak = bytes; }

}  // namespace heap_use
