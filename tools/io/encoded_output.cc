#include "io/encoded_output.h"

#include <array>

#include "io/text.h"

namespace qmsg {
namespace {

constexpr std::size_t kLine = 64;
constexpr std::string_view kBase64Digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

void EncodedOutput::Write(std::string_view bytes) {
  switch (form_) {
    case Form::kBinary:
      output_.Write(bytes);
      break;
    case Form::kHex:
      WriteHex(bytes);
      break;
    case Form::kBase64:
      WriteBase64(bytes);
      break;
  }
}

void EncodedOutput::Finish() {
  if (group_size_ > 0) {
    WriteBase64Group();
  }
  if (column_ > 0) {
    output_.Write("\n");
    column_ = 0;
  }
}

void EncodedOutput::WriteDigits(std::string_view digits) {
  output_.Write(digits);
  column_ += digits.size();
  if (column_ == kLine) {
    output_.Write("\n");
    column_ = 0;
  }
}

void EncodedOutput::WriteHex(std::string_view bytes) {
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    const std::array<char, 2> digits{kHexDigits[value >> 4U], kHexDigits[value & 15U]};
    WriteDigits({digits.data(), digits.size()});
  }
}

void EncodedOutput::WriteBase64(std::string_view bytes) {
  for (const char byte : bytes) {
    group_ = group_ << 8U | static_cast<unsigned char>(byte);
    if (++group_size_ == 3) {
      WriteBase64Group();
    }
  }
}

void EncodedOutput::WriteBase64Group() {
  const std::uint32_t bits = group_ << (8 * (3 - group_size_));
  std::array<char, 4> digits{};
  for (int i = 0; i < 4; ++i) {
    digits[static_cast<std::size_t>(i)] =
        i <= group_size_ ? kBase64Digits[bits >> (18 - 6 * i) & 63U] : '=';
  }
  WriteDigits({digits.data(), digits.size()});
  group_ = 0;
  group_size_ = 0;
}

}  // namespace qmsg
