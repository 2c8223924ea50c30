#pragma once

#include <malloc.h>

#include <cstddef>

// There if the address sanitizer is, whose allocator the C library knows nothing of.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

namespace embedding {

// Bytes that are allocated and not freed.
inline std::size_t HeapInUse() {
  return __sanitizer_get_current_allocated_bytes != nullptr
             ? __sanitizer_get_current_allocated_bytes()
             : mallinfo2().uordblks;
}

}  // namespace embedding
