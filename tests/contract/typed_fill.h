// Filled messages of a static type, on the heap or on an arena.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "expected_bytes.h"
#include "fill.h"
#include "message_list.h"

namespace contract {

template <class M>
std::unique_ptr<M> FilledOnHeap(int filling) {
  auto message = std::make_unique<M>();
  Fill(*message, filling);
  return message;
}

template <class M>
M& FilledOn(Arena& arena, int filling) {
  M& message = *Arena::CreateMessage<M>(&arena);
  Fill(message, filling);
  return message;
}

template <class M>
std::string FilledBytes(int filling) {
  return ExpectedBytes(*FilledOnHeap<M>(filling));
}

// Calls check(Type<M>, filling) for each filling of each message class.
template <class Check>
void ForEachTypedFilling(const Check& check) {
  AllMessages::ForEach([&check](auto type) {
    SCOPED_TRACE(decltype(type)::Message::descriptor()->full_name());
    for (int filling = 0; filling < kFillings; ++filling) {
      check(type, filling);
    }
  });
}

}  // namespace contract
