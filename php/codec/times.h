// Timestamps and durations as text, in the form of protobuf's JSON mapping.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace qmsg::php {

struct Time {
  std::int64_t seconds;
  std::int32_t nanos;
};

using TimeText = std::array<char, 40>;

// "2026-11-22T18:00:00.123Z", "1.500s". Return the length, or 0 if the mapping has no text for the
// time: out of range, or parts of different signs.
std::size_t WriteTimestamp(Time time, TimeText& text);
std::size_t WriteDuration(Time time, TimeText& text);

// The same with up to nine digits after the point, and timestamps also with an offset: "+01:00".
// Return false for all other texts.
bool ReadTimestamp(std::string_view text, Time& time);
bool ReadDuration(std::string_view text, Time& time);

}  // namespace qmsg::php
