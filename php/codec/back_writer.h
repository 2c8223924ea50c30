// Writes the wire format from its last byte to its first, so that the length of a message is known
// before it is written.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

namespace qmsg::php {

class BackWriter {
 public:
  // Forgets all bytes and keeps the memory.
  void Clear() { at_ = capacity_; }

  // Returns memory beyond what most messages need.
  void Trim() {
    constexpr std::size_t kKept = std::size_t{1} << 20U;
    if (capacity_ > kKept) {
      *this = BackWriter();
    }
  }

  void Varint(std::uint64_t number) {
    std::size_t size = 1;
    for (std::uint64_t rest = number >> 7U; rest != 0; rest >>= 7U) {
      ++size;
    }
    char* to = Reserve(size);
    for (; number >= 0x80; number >>= 7U) {
      *to++ = static_cast<char>(number | 0x80U);
    }
    *to = static_cast<char>(number);
  }

  void Fixed64(std::uint64_t number) {
    char* to = Reserve(sizeof number);
    for (std::size_t i = 0; i < sizeof number; ++i) {
      to[i] = static_cast<char>(number >> (8 * i));
    }
  }

  void Bytes(std::string_view bytes) {
    std::memcpy(Reserve(bytes.size()), bytes.data(), bytes.size());
  }

  std::size_t size() const { return capacity_ - at_; }
  std::string_view bytes() const { return {memory_.get() + at_, size()}; }

 private:
  char* Reserve(std::size_t size) {
    if (at_ < size) {
      Grow(size);
    }
    at_ -= size;
    return memory_.get() + at_;
  }

  void Grow(std::size_t more) {
    const std::size_t capacity = std::max({2 * capacity_, this->size() + more, std::size_t{1024}});
    std::unique_ptr<char[]> memory(new char[capacity]);
    if (size() > 0) {
      std::memcpy(memory.get() + capacity - size(), memory_.get() + at_, size());
    }
    at_ = capacity - size();
    capacity_ = capacity;
    memory_ = std::move(memory);
  }

  std::unique_ptr<char[]> memory_;
  std::size_t capacity_ = 0;
  std::size_t at_ = 0;
};

}  // namespace qmsg::php
