#include "text.h"

#include <google/protobuf/util/time_util.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace {

using quor::protobuf::QuorPHP::QVal;

bool StartsCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U; }

std::size_t Width(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), StartsCharacter));
}

// Three significant digits for what is below 1000.
std::string NumberText(double number, const char* unit) {
  const double size = std::abs(number);
  const int decimals = size < 9.995 ? 2 : size < 99.95 ? 1 : 0;
  std::array<char, 400> buffer{};
  const int length = std::snprintf(buffer.data(), buffer.size(), "%.*f %s", decimals, number, unit);
  return {buffer.data(), static_cast<std::size_t>(length)};
}

std::string DoubleText(double number) {
  std::array<char, 32> buffer{};
  auto* const end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number).ptr;
  std::string text(buffer.data(), end);
  // As in PHP, a decimal point tells 1.0 from 1.
  return text.find_first_not_of("-0123456789") == std::string::npos ? text + ".0" : text;
}

}  // namespace

double Seconds(const google::protobuf::Duration& duration) {
  return static_cast<double>(duration.seconds()) + duration.nanos() * 1e-9;
}

std::string TimeText(double seconds) {
  const double size = std::abs(seconds);
  if (size < 999.5e-6) {
    return NumberText(seconds * 1e6, "µs");
  }
  return size < 999.5e-3 ? NumberText(seconds * 1e3, "ms") : NumberText(seconds, "s");
}

std::string MemoryText(std::uint64_t bytes) {
  constexpr std::array kUnits = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
  if (bytes < 1024) {
    return std::to_string(bytes) + " B";
  }
  double size = static_cast<double>(bytes) / 1024;
  const auto* unit = kUnits.begin();
  for (; size >= 999.5; ++unit) {
    size /= 1024;
  }
  return NumberText(size, *unit);
}

std::string CountText(std::int64_t count, std::string_view singular, std::string_view plural) {
  return std::to_string(count).append(" ").append(count == 1 ? singular : plural);
}

std::string LineText(std::string_view text, std::size_t limit) {
  constexpr std::string_view kWhiteSpace = " \t\r\n";
  constexpr std::string_view kHexDigits = "0123456789ABCDEF";
  std::string line;
  for (const char byte : text) {
    const auto code = static_cast<unsigned char>(byte);
    if (kWhiteSpace.find(byte) != std::string_view::npos) {
      if (!line.empty() && line.back() != ' ') {
        line += ' ';
      }
    } else if (code < 0x20 || code == 0x7F) {
      line.append("\\x").append(1, kHexDigits[code >> 4U]).append(1, kHexDigits[code & 15U]);
    } else {
      line += byte;
    }
  }
  if (!line.empty() && line.back() == ' ') {
    line.pop_back();
  }
  if (Width(line) <= limit) {
    return line;
  }
  std::size_t characters = 0;
  const auto cut = std::find_if(line.begin(), line.end(), [&](char byte) {
    return StartsCharacter(byte) && ++characters == limit;
  });
  line.erase(cut, line.end());
  return line + "…";
}

std::string ValueText(const QVal& value, std::size_t limit) {
  switch (value.value_case()) {
    case QVal::kBoolValue:
      return value.bool_value() ? "true" : "false";
    case QVal::kStringValue:
      return "'" + LineText(value.string_value(), limit) + "'";
    case QVal::kIntValue:
      return std::to_string(value.int_value());
    case QVal::kDoubleValue:
      return DoubleText(value.double_value());
    case QVal::kJsonValue:
      return LineText(value.json_value(), limit);
    case QVal::kTmValue:
      return google::protobuf::util::TimeUtil::ToString(value.tm_value());
    case QVal::VALUE_NOT_SET:
      break;
  }
  return value.value_type() == QVal::NUL ? "null" : "undefined";
}

std::string AlignRight(const std::string& text, std::size_t width) {
  return std::string(width - std::min(width, Width(text)), ' ') + text;
}

std::string AlignLeft(const std::string& text, std::size_t width) {
  return text + std::string(width - std::min(width, Width(text)), ' ');
}
