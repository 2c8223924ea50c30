#include "io/units.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace qmsg {
namespace {

// Three digits, whatever the locale has for a decimal point: no value is 1,000 or more.
std::string ThreeDigits(double value, const char* unit) {
  const int decimals = value < 9.995 ? 2 : value < 99.95 ? 1 : 0;
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
  return text.data() + std::string(" ") + unit;
}

}  // namespace

std::string TimeText(std::chrono::nanoseconds time) {
  constexpr std::array<const char*, 4> kUnits{"ns", "µs", "ms", "s"};
  if (time.count() < 0) {
    return "-" + TimeText(time == std::chrono::nanoseconds::min() ? std::chrono::nanoseconds::max()
                                                                  : -time);
  }
  auto value = static_cast<double>(time.count());
  std::size_t unit = 0;
  while (value >= 999.5 && unit + 1 < kUnits.size()) {
    value /= 1000;
    ++unit;
  }
  return value < 999.5 ? ThreeDigits(value, kUnits.at(unit))
                       : CountText(static_cast<std::uint64_t>(std::llround(value))) + " s";
}

std::string SizeText(std::uint64_t bytes) {
  constexpr std::array<const char*, 7> kUnits{"B", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
  auto value = static_cast<double>(bytes);
  std::size_t unit = 0;
  while (value >= 999.5) {
    value /= 1024;
    ++unit;
  }
  return unit == 0 ? std::to_string(bytes) + " B" : ThreeDigits(value, kUnits.at(unit));
}

std::string AlignRight(const std::string& text, std::size_t width) {
  const auto columns =
      static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80;
      }));
  return std::string(width > columns ? width - columns : 0, ' ') + text;
}

std::string CountText(std::uint64_t count) {
  std::string text = std::to_string(count);
  for (std::size_t at = text.size(); at > 3;) {
    at -= 3;
    text.insert(at, ",");
  }
  return text;
}

}  // namespace qmsg
