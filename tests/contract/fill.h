// Messages with content in every field, below every sub-message too.
#pragma once

#include "prototypes.h"

namespace contract {

// How many fillings it takes until each member of each oneof has had its turn.
constexpr int kFillings = 6;

// Sets each field. `filling` picks the member of each oneof; other `filling`s also give other
// values. No message type contains itself, so this comes to an end.
void Fill(Message& message, int filling);
void FillField(Message& message, const FieldDescriptor* field, int filling);

// One unknown field of each wire type. Fill() does this too, at each level.
void AddUnknownFields(Message& message, int filling);

std::unique_ptr<Message> Filled(const Message& prototype, int filling);

// Calls check(prototype, filling) for each filling of each message type.
template <class Check>
void ForEachFilling(const Check& check) {
  for (const Message* prototype : Prototypes()) {
    for (int filling = 0; filling < kFillings; ++filling) {
      check(*prototype, filling);
    }
  }
}

}  // namespace contract
