#include "io/progress.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <iostream>

namespace qmsg {
namespace {

constexpr auto kPatience = std::chrono::seconds(1);
constexpr auto kPeriod = std::chrono::milliseconds(200);
constexpr unsigned kCallsPerLook = 64;  // a look at the clock costs as much as a small message

// "1.2 GB", "17 bytes".
std::string HumanBytes(std::uint64_t bytes) {
  constexpr std::array<const char*, 5> kUnits{"bytes", "kB", "MB", "GB", "TB"};
  auto value = static_cast<double>(bytes);
  std::size_t unit = 0;
  while (value >= 999.5 && unit + 1 < kUnits.size()) {
    value /= 1000;
    ++unit;
  }
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), unit > 0 && value < 99.95 ? "%.1f %s" : "%.0f %s", value,
                kUnits[unit]);
  return text.data();
}

}  // namespace

Progress::Progress(const Input& input, bool wanted)
    : input_(input),
      wanted_(wanted && isatty(STDERR_FILENO) == 1),
      begin_(Clock::now()),
      next_(begin_ + kPatience) {}

Progress::~Progress() { Hide(); }

void Progress::Update() {
  if (!wanted_ || ++calls_ % kCallsPerLook != 0) {
    return;
  }
  const Clock::time_point now = Clock::now();
  if (now >= next_) {
    next_ = now + kPeriod;
    Show(now);
  }
}

void Progress::Show(Clock::time_point now) {
  const std::uint64_t done = input_.file_position();
  const double seconds = std::chrono::duration<double>(now - begin_).count();
  std::string line = input_.name() + ": ";
  if (input_.file_size() && *input_.file_size() > 0) {
    line += std::to_string(done * 100 / *input_.file_size()) + " %, ";
  }
  line += HumanBytes(done);
  if (input_.file_size()) {
    line += " of " + HumanBytes(*input_.file_size());
  }
  line += ", " + HumanBytes(static_cast<std::uint64_t>(static_cast<double>(done) / seconds)) + "/s";
  std::cerr << '\r' << line << "\x1b[K" << std::flush;
  shown_ = true;
}

void Progress::Hide() {
  if (shown_) {
    std::cerr << "\r\x1b[K" << std::flush;
    shown_ = false;
  }
}

}  // namespace qmsg
