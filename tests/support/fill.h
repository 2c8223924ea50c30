// Messages with content in every field, below every sub-message too.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "message_class.h"
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
      SCOPED_TRACE(prototype->GetTypeName());
      check(*prototype, filling);
    }
  }
}

// A message class with one of its fillings.
struct FilledClass {
  const MessageClass& type;
  int filling;

  std::unique_ptr<Message> OnHeap() const;
  Message& OnArena(Arena& arena) const;
  // What such a message is written as.
  std::string Bytes() const;
  // The same class with the next filling.
  FilledClass Next() const { return {type, filling + 1}; }
};

// Calls check(filled_class) for each filling of each message class.
template <class Check>
void ForEachFilledClass(const Check& check) {
  for (const MessageClass& type : MessageClasses()) {
    for (int filling = 0; filling < kFillings; ++filling) {
      SCOPED_TRACE(type.default_instance->GetTypeName());
      check(FilledClass{type, filling});
    }
  }
}

}  // namespace contract
