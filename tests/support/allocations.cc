#include "allocations.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

std::size_t made = 0;
std::size_t given_back = 0;
// Counts down to the allocation that fails; 0 when none is to fail.
std::size_t until_failure = 0;
bool failed = false;

// In front of each block.
struct alignas(std::max_align_t) Header {
  std::size_t size;
  std::uint64_t state;
};

constexpr std::uint64_t kInUse = 0x5afe'b10c'5afe'b10c;

// What new blocks and returned ones are filled with: a pointer read from there leads nowhere.
constexpr int kUnset = 0xa5;

void* Allocate(std::size_t size) {
  if (until_failure > 0 && --until_failure == 0) {
    failed = true;
    throw std::bad_alloc();
  }
  void* const memory = std::malloc(sizeof(Header) + size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  auto* const header = new (memory) Header{size, kInUse};
  ++made;
  return std::memset(header + 1, kUnset, size);
}

void GiveBack(void* block) noexcept {
  if (block == nullptr) {
    return;
  }
  Header* const header = static_cast<Header*>(block) - 1;
  if (header->state != kInUse) {
    std::abort();
  }
  ++given_back;
  std::memset(block, kUnset, header->size);
  header->state = 0;
  std::free(header);
}

}  // namespace

#include "operator_new.inc"

namespace allocations {

std::size_t Made() { return made; }

std::size_t Outstanding() { return made - given_back; }

Failure::Failure(std::size_t nth) {
  failed = false;
  until_failure = nth;
}

Failure::~Failure() { until_failure = 0; }

bool Failure::Happened() const { return failed; }

}  // namespace allocations
