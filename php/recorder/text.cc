#include "recorder/text.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

bool IsContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80; }

// The length of the character at `from`, or 0.
std::size_t CharacterAt(std::string_view bytes, std::size_t from) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[from + i]); };
  const unsigned char first = byte(0);
  if (first < 0x80) {
    return 1;
  }
  const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || bytes.size() - from < length) {
    return 0;
  }
  for (std::size_t i = 1; i < length; ++i) {
    if (!IsContinuation(bytes[from + i])) {
      return 0;
    }
  }
  const unsigned char second = byte(1);
  const bool is_shortest = (first != 0xE0 || second >= 0xA0) && (first != 0xF0 || second >= 0x90);
  const bool is_in_range = (first != 0xED || second < 0xA0) && (first != 0xF4 || second < 0x90);
  return is_shortest && is_in_range ? length : 0;
}

// The length of the longest prefix that is UTF-8.
std::size_t ValidPrefix(std::string_view bytes) {
  std::size_t at = 0;
  while (at < bytes.size()) {
    std::uint64_t eight = 0;
    if (bytes.size() - at >= sizeof(eight)) {
      std::memcpy(&eight, bytes.data() + at, sizeof(eight));
      if ((eight & 0x8080808080808080U) == 0) {
        at += sizeof(eight);
        continue;
      }
    }
    const std::size_t length = CharacterAt(bytes, at);
    if (length == 0) {
      break;
    }
    at += length;
  }
  return at;
}

}  // namespace

bool IsUtf8(std::string_view bytes) { return ValidPrefix(bytes) == bytes.size(); }

void AppendUtf8(std::string& text, std::string_view bytes) {
  while (!bytes.empty()) {
    std::size_t valid = ValidPrefix(bytes);
    const void* zero = std::memchr(bytes.data(), '\0', valid);
    if (zero != nullptr) {
      valid = static_cast<std::size_t>(static_cast<const char*>(zero) - bytes.data());
    }
    text.append(bytes, 0, valid);
    bytes.remove_prefix(valid);
    if (!bytes.empty()) {
      constexpr std::string_view kDigits = "0123456789ABCDEF";
      const auto byte = static_cast<unsigned char>(bytes.front());
      if (byte == 0) {
        text += "\\0";
      } else {
        text += {'\\', 'x', kDigits[byte / 16U], kDigits[byte % 16U]};
      }
      bytes.remove_prefix(1);
    }
  }
}

std::string Utf8(std::string_view bytes) {
  std::string text;
  AppendUtf8(text, bytes);
  return text;
}

std::string_view Prefix(std::string_view text, std::size_t size) {
  if (text.size() <= size) {
    return text;
  }
  std::size_t end = size;
  for (int back = 0; back < 3 && end > 0 && IsContinuation(text[end]); ++back) {
    --end;
  }
  return text.substr(0, IsContinuation(text[end]) ? size : end);
}

std::string Lower(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return lower;
}
