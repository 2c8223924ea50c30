// The inputs that the builds are compared on, in the same order in each run. None comes from code
// that is compared.
#pragma once

#include <functional>
#include <string>

#include "support/prototypes.h"

namespace differential {

using contract::FieldDescriptor;
using contract::Message;

enum class Detail {
  kVerdict,  // accepted or refused, and written again, with what is logged
  kFull,     // all of observe.cc
};

struct Input {
  const Message* prototype;
  std::string bytes;
  Detail detail;
  // Where the bytes are one field of text: the field and the text, which is set by hand as well.
  const FieldDescriptor* field = nullptr;
  std::string text = {};
};

using Visitor = std::function<void(const Input&)>;

// Reads what corpus.py wrote. Throws std::runtime_error if it cannot.
void ForEachMessageOf(const std::string& corpus, const Visitor& visit);

// Messages with every field set: whole, truncated, mutated, and in forms that no writer produces.
void ForEachDamage(const Visitor& visit);

// Texts in each string field: lengths, positions and characters where a fast path may differ from
// the plain one. One field gets every short sequence.
void ForEachText(const Visitor& visit);

}  // namespace differential
