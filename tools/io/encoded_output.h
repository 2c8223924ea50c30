// Writes bytes as hexadecimal or base64.
#pragma once

#include <cstdint>
#include <string_view>

#include "io/input.h"
#include "io/output.h"

namespace qmsg {

// Writes bytes in an encoding, text in lines. Throws what Output throws.
class EncodedOutput {
 public:
  EncodedOutput(Output& output, Form form) : output_(output), form_(form) {}

  void Write(std::string_view bytes);

  // Ends the text. Call once, after the last byte.
  void Finish();

 private:
  void WriteDigits(std::string_view digits);
  void WriteHex(std::string_view bytes);
  void WriteBase64(std::string_view bytes);
  void WriteBase64Group();

  Output& output_;
  Form form_;
  std::size_t column_ = 0;
  std::uint32_t group_ = 0;  // bytes of an incomplete group of three
  int group_size_ = 0;
};

}  // namespace qmsg
