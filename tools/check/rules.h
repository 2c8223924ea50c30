// The rules of check. The code of a rule is stable: users search for it.
#pragma once

#include <array>

namespace qmsg {

enum class Severity { kError, kWarning };

struct Rule {
  const char* code;
  Severity severity;
  const char* meaning;  // for the help
};

namespace rules {

inline constexpr Rule kFraming{"framing", Severity::kError,
                               "the rest of the input is not a message"};
inline constexpr Rule kAnyType{"any-type", Severity::kError,
                               "an Any does not name a type of the schema"};
inline constexpr Rule kUnknownType{"unknown-type", Severity::kWarning,
                                   "an Any has a type that the schema does not have"};
inline constexpr Rule kMalformed{"malformed", Severity::kError, "the wire format is invalid"};
inline constexpr Rule kUtf8{"utf-8", Severity::kError, "text is not valid UTF-8"};
inline constexpr Rule kTypeTag{"type-tag", Severity::kWarning,
                               "a type tag and the member that is set disagree"};
inline constexpr Rule kUndeclaredEnum{"undeclared-enum", Severity::kWarning,
                                      "an enum value is not declared"};
inline constexpr Rule kUnknownField{"unknown-field", Severity::kWarning,
                                    "a field number is not declared"};
inline constexpr Rule kWireType{"wire-type", Severity::kWarning,
                                "a declared field has another wire type"};
inline constexpr Rule kDanglingReference{"dangling-reference", Severity::kWarning,
                                         "a reference to an ident that does not exist"};
inline constexpr Rule kParentCycle{"parent-cycle", Severity::kWarning,
                                   "the parents of transactions form a cycle"};
inline constexpr Rule kDuplicateKey{"duplicate-key", Severity::kWarning,
                                    "two elements have the same key"};
inline constexpr Rule kNanosRange{"nanos-range", Severity::kWarning,
                                  "nanoseconds are out of range or have the wrong sign"};
inline constexpr Rule kSecondsRange{"seconds-range", Severity::kWarning,
                                    "seconds are out of range"};
inline constexpr Rule kContentLength{"content-length", Severity::kWarning,
                                     "a body does not have its declared length"};
inline constexpr Rule kRepeatedSingular{"repeated-singular", Severity::kWarning,
                                        "a singular field or its oneof occurs more than once"};

}  // namespace rules

inline constexpr std::array<const Rule*, 16> kRules{
    &rules::kFraming,        &rules::kAnyType,
    &rules::kMalformed,      &rules::kUtf8,
    &rules::kUnknownType,    &rules::kTypeTag,
    &rules::kUndeclaredEnum, &rules::kUnknownField,
    &rules::kWireType,       &rules::kDanglingReference,
    &rules::kParentCycle,    &rules::kDuplicateKey,
    &rules::kNanosRange,     &rules::kSecondsRange,
    &rules::kContentLength,  &rules::kRepeatedSingular};

}  // namespace qmsg
