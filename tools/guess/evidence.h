// What speaks for bytes being messages of a type, and what against.
#pragma once

#include <google/protobuf/descriptor.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qmsg {

// What is counted. Each has its points, in evidence.cc.
enum class Sign {
  kDeclared,      // a field that is declared, with the right wire type
  kUnknown,       // a number that is not declared
  kWrongWire,     // a declared number with another wire type
  kText,          // text that shows as it is
  kGarbled,       // text with characters that do not show
  kMessage,       // a field that is a message, with bytes in it
  kEnum,          // a declared value of an enum
  kOddEnum,       // an undeclared one
  kFlag,          // a bool
  kChoice,        // a member of a oneof: each halving of the others
  kTagFits,       // a type tag with the member that goes with it
  kTagMisfits,    // a type tag with another one, or none
  kTime,          // a point in time from 2000 to 2100
  kOddTime,       // another one
  kDuration,      // of at most a month, not negative
  kOddDuration,   // another one
  kOutOfRange,    // nanos that are no part of a second, times that do not exist
  kDouble,        // of a usual size
  kOddDouble,     // another one
  kLengthFits,    // the declared length of a body that is as long
  kCut,           // a number that is too large for its type
  kZero,          // a zero or an empty text that a writer leaves out
  kBackwards,     // a field behind one with a higher number
  kTwice,         // a field that can be there once, or members of a oneof, more than once
  kAbsent,        // a field of the outermost type that is not there
  kAbsentInside,  // one of the types in it
  kCount,
};

// Counts over any number of messages, in memory of their depth.
class Evidence {
 public:
  // Takes a message of that type into account. Returns an empty text; or, if the bytes are none,
  // why, and the evidence is void. `base` is the offset of the bytes, for that text.
  std::string Judge(std::string_view bytes, const google::protobuf::Descriptor* type,
                    std::uint64_t base);

  std::uint64_t count(Sign sign) const { return counts_[static_cast<std::size_t>(sign)]; }
  std::uint64_t messages() const { return messages_; }

  // The points of all signs; 0 as long as there are no fields, which any type can lack. Higher is
  // likelier; only scores of the same bytes compare.
  std::int64_t Score() const;

  // Whether all is declared, and text is text, and more speaks for it than against it.
  bool FitsWell() const;

  // What was counted, in words: "all 14 fields declared", "3 texts".
  std::vector<std::string> Reasons() const;

 private:
  class Collector;

  std::uint64_t Fields() const;

  void Add(Sign sign, std::uint64_t times = 1) { counts_[static_cast<std::size_t>(sign)] += times; }

  std::array<std::uint64_t, static_cast<std::size_t>(Sign::kCount)> counts_{};
  std::uint64_t messages_ = 0;
  int first_year_ = 0;  // of plausible times
  int last_year_ = 0;
};

}  // namespace qmsg
