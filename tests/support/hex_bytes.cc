#include "hex_bytes.h"

#include <google/protobuf/message.h>
#include <google/protobuf/unknown_field_set.h>
#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

namespace wire {
std::string Bytes(const std::string& hex) {
  std::string digits;
  for (const char c : hex) {
    if (c != ' ') {
      EXPECT_TRUE(std::isxdigit(static_cast<unsigned char>(c)) != 0) << hex;
      digits += c;
    }
  }
  EXPECT_EQ(digits.size() % 2, 0U) << hex;
  std::string bytes;
  for (std::string::size_type i = 0; i < digits.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
  }
  return bytes;
}

std::string Hex(const std::string& bytes) {
  const std::string digits = "0123456789ABCDEF";
  std::string hex;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (!hex.empty()) {
      hex += ' ';
    }
    hex += digits[byte / 16U];
    hex += digits[byte % 16U];
  }
  return hex;
}

std::string Hex(const google::protobuf::Message& message) {
  return Hex(message.SerializeAsString());
}

const google::protobuf::UnknownFieldSet& UnknownFields(const google::protobuf::Message& message) {
  return message.GetReflection()->GetUnknownFields(message);
}

void ExpectComplaint(const std::vector<LogRecorder::Line>& lines, const std::string& field,
                     const std::string& doing) {
  ASSERT_EQ(lines.size(), 1U) << field << ", " << doing;
  EXPECT_EQ(lines[0].level, google::protobuf::LOGLEVEL_ERROR);
  EXPECT_NE(lines[0].text.find("'" + field + "'"), std::string::npos) << lines[0].text;
  EXPECT_NE(lines[0].text.find(doing), std::string::npos) << lines[0].text;
}

}  // namespace wire
