#include "subject.h"

#include <stdexcept>
#include <utility>

#include "../contract/message_list.h"

namespace fuzz {
namespace {

template <class M>
constexpr Operations OperationsOf() {
  return {
      [](const Message& from) -> std::unique_ptr<Message> {
        return std::make_unique<M>(static_cast<const M&>(from));
      },
      [](Message& to, const Message& from) {
        static_cast<M&>(to).CopyFrom(static_cast<const M&>(from));
      },
      [](Message& to, const Message& from) {
        static_cast<M&>(to).MergeFrom(static_cast<const M&>(from));
      },
      [](Message& to, Message& from) { static_cast<M&>(to) = std::move(static_cast<M&>(from)); },
      [](Message& a, Message& b) { static_cast<M&>(a).Swap(&static_cast<M&>(b)); },
  };
}

}  // namespace

Subject FindSubject(const std::string& full_name, DynamicTypes& dynamic_types) {
  Subject found{};
  contract::AllMessages::ForEach([&](auto type) {
    using M = typename decltype(type)::Message;
    if (M::descriptor()->full_name() == full_name) {
      found = {&M::default_instance(), &dynamic_types.Prototype(*M::descriptor()),
               OperationsOf<M>()};
    }
  });
  if (found.compiled == nullptr) {
    throw std::runtime_error("No message type is called '" + full_name + "'");
  }
  return found;
}

}  // namespace fuzz
