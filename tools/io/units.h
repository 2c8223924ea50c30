// Times and sizes as people read them.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace qmsg {

// Three digits: "83.0 ns", "12.5 ms", "1.25 s"; from 1,000 s on "12,345 s".
std::string TimeText(std::chrono::nanoseconds time);

// "700 B", "1.50 KiB", "16.0 EiB".
std::string SizeText(std::uint64_t bytes);

// With blanks on the left. Widths count characters of UTF-8.
std::string AlignRight(const std::string& text, std::size_t width);

// "12,345".
std::string CountText(std::uint64_t count);

}  // namespace qmsg
