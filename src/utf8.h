#pragma once

// A fast check ahead of the runtime's check of UTF-8, 16 bytes a step. Text that it accepts is
// valid. Text that it does not accept may be valid, too: the runtime's own check decides, and logs.

#include <cstddef>
#include <cstdint>
#include <cstring>

// 1: plain C++ without vector types, for other compilers and processors.
#ifndef QMSG_PORTABLE
#if defined(__GNUC__) && (defined(__SSE2__) || defined(__ARM_NEON))
#define QMSG_PORTABLE 0
#else
#define QMSG_PORTABLE 1
#endif
#endif

// The compiler's own heuristics do not inline all functions that run once a field.
#define QMSG_INLINE __attribute__((always_inline)) inline

namespace qmsg {

template <typename Word>
Word LoadWord(const char* from) {
  Word word;
  std::memcpy(&word, from, sizeof word);
  return word;
}

// Covers sizeof(Word) to 2 * sizeof(Word) bytes.
template <typename Word>
bool IsAsciiInTwoWords(const char* text, std::size_t size) {
  const Word both = LoadWord<Word>(text) | LoadWord<Word>(text + size - sizeof(Word));
  return (both & static_cast<Word>(0x8080808080808080)) == 0;
}

QMSG_INLINE bool IsShortAscii(const char* text, std::size_t size) {
  if (size >= 8) {
    return IsAsciiInTwoWords<std::uint64_t>(text, size);
  }
  if (size >= 4) {
    return IsAsciiInTwoWords<std::uint32_t>(text, size);
  }
  if (size >= 2) {
    return IsAsciiInTwoWords<std::uint16_t>(text, size);
  }
  return size == 0 || static_cast<unsigned char>(*text) < 0x80;
}

#if QMSG_PORTABLE

QMSG_INLINE bool IsAscii(const char* text, std::size_t size) {
  if (size <= 16) {
    return IsShortAscii(text, size);
  }
  std::uint64_t all = LoadWord<std::uint64_t>(text + size - 8);
  for (std::size_t i = 0; i < size - 8; i += 8) {
    all |= LoadWord<std::uint64_t>(text + i);
  }
  return (all & 0x8080808080808080) == 0;
}

QMSG_INLINE bool IsCertainlyUtf8(const char* text, std::size_t size) { return IsAscii(text, size); }

#else

using Bytes = unsigned char __attribute__((vector_size(16)));
constexpr std::size_t kBlock = sizeof(Bytes);

inline bool AnyHighBit(Bytes bytes) {
  std::uint64_t halves[2];
  std::memcpy(halves, &bytes, sizeof bytes);
  return ((halves[0] | halves[1]) & 0x8080808080808080) != 0;
}

QMSG_INLINE bool IsAscii(const char* text, std::size_t size) {
  if (size <= kBlock) {
    return IsShortAscii(text, size);
  }
  auto all = LoadWord<Bytes>(text + size - kBlock);
  for (std::size_t i = 0; i < size - kBlock; i += kBlock) {
    all |= LoadWord<Bytes>(text + i);
  }
  return !AnyHighBit(all);
}

// Sets the high bit of each byte that is invalid after the three bytes before it.
inline Bytes Utf8Errors(Bytes byte, Bytes before, Bytes second_before, Bytes third_before) {
  const auto continues = (byte & 0xC0) == 0x80;
  const auto must_continue = (before >= 0xC0) | (second_before >= 0xE0) | (third_before >= 0xF0);
  const auto never = ((byte & 0xFE) == 0xC0) | (byte > 0xF4);
  const auto too_long = ((before == 0xE0) & (byte < 0xA0)) | ((before == 0xF0) & (byte < 0x90));
  const auto surrogate = (before == 0xED) & (byte > 0x9F);
  const auto too_large = (before == 0xF4) & (byte > 0x8F);
  return (Bytes)((continues ^ must_continue) | never | too_long | surrogate | too_large);
}

// The bytes before the first are zeroes.
inline Bytes Utf8ErrorsAtStart(const char* text) {
  constexpr Bytes kZeroes = {};
  const auto byte = LoadWord<Bytes>(text);
  const auto before = __builtin_shufflevector(kZeroes, byte, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24,
                                              25, 26, 27, 28, 29, 30);
  const auto second_before = __builtin_shufflevector(kZeroes, byte, 14, 15, 16, 17, 18, 19, 20, 21,
                                                     22, 23, 24, 25, 26, 27, 28, 29);
  const auto third_before = __builtin_shufflevector(kZeroes, byte, 13, 14, 15, 16, 17, 18, 19, 20,
                                                    21, 22, 23, 24, 25, 26, 27, 28);
  return Utf8Errors(byte, before, second_before, third_before);
}

inline Bytes Utf8ErrorsWithin(const char* text) {
  return Utf8Errors(LoadWord<Bytes>(text), LoadWord<Bytes>(text - 1), LoadWord<Bytes>(text - 2),
                    LoadWord<Bytes>(text - 3));
}

inline bool EndsWithinCharacter(const char* end) {
  const auto at = [end](int back) { return static_cast<unsigned char>(end[-back]); };
  return at(1) >= 0xC0 || at(2) >= 0xE0 || at(3) >= 0xF0;
}

__attribute__((noinline)) inline bool IsUtf8(const char* text, std::size_t size) {
  if (size < kBlock + 3) {  // the last block reads the three bytes before it
    return false;
  }
  Bytes errors = Utf8ErrorsAtStart(text);
  for (std::size_t i = kBlock; i < size - kBlock; i += kBlock) {
    errors |= Utf8ErrorsWithin(text + i);
  }
  errors |= Utf8ErrorsWithin(text + size - kBlock);
  return !AnyHighBit(errors) && !EndsWithinCharacter(text + size);
}

QMSG_INLINE bool IsCertainlyUtf8(const char* text, std::size_t size) {
  return IsAscii(text, size) || IsUtf8(text, size);
}

#endif

}  // namespace qmsg
