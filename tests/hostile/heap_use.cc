#include "heap_use.h"

#include <malloc.h>

#include <cstdlib>
#include <new>

namespace {

std::size_t allocations = 0;
std::size_t bytes = 0;
std::size_t peak = 0;

void* AllocateOrNull(std::size_t size) noexcept {
  void* const memory = std::malloc(size);
  if (memory != nullptr) {
    ++allocations;
    bytes += heap_use::Taken(malloc_usable_size(memory));
    peak = std::max(peak, bytes);
  }
  return memory;
}

void* Allocate(std::size_t size) {
  void* const memory = AllocateOrNull(size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

void Free(void* memory) noexcept {
  if (memory != nullptr) {
    bytes -= heap_use::Taken(malloc_usable_size(memory));
    std::free(memory);
  }
}

}  // namespace

// Sanitizers have each of these forms too, so all of them are replaced.
void* operator new(std::size_t size) { return Allocate(size); }
void* operator new[](std::size_t size) { return Allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return AllocateOrNull(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return AllocateOrNull(size);
}
void operator delete(void* memory) noexcept { Free(memory); }
void operator delete[](void* memory) noexcept { Free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { Free(memory); }
void operator delete[](void* memory, std::size_t /*size*/) noexcept { Free(memory); }
void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept { Free(memory); }
void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept { Free(memory); }

namespace heap_use {

std::size_t Allocations() { return allocations; }
std::size_t Bytes() { return bytes; }
std::size_t Peak() { return peak; }
void ForgetPeak() { peak = bytes; }

}  // namespace heap_use
