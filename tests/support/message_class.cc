#include "message_class.h"

#include <utility>

#include "message_list.h"

namespace contract {
namespace {

template <class M>
M& As(Message& message) {
  return static_cast<M&>(message);
}

template <class M>
const M& As(const Message& message) {
  return static_cast<const M&>(message);
}

template <class ClassData>
MessageClass::Data DataOf(const ClassData& data) {
  return {data.copy_to_from, data.merge_to_from};
}

template <class M>
MessageClass ClassOf() {
  MessageClass of{};
  of.default_instance = &M::default_instance();
  of.internal_default_instance = M::internal_default_instance();
  of.descriptor = &M::descriptor;
  of.get_descriptor = &M::GetDescriptor;
  of.get_reflection = &M::GetReflection;
  of.index_in_file = M::kIndexInFileMessages;
  of.class_data = DataOf(M::_class_data_);
  of.get_class_data = [](const Message& from) { return DataOf(*As<M>(from).GetClassData()); };

  of.construct = []() -> std::unique_ptr<Message> { return std::make_unique<M>(); };
  of.copy_construct = [](const Message& from) -> std::unique_ptr<Message> {
    return std::make_unique<M>(As<M>(from));
  };
  of.move_construct = [](Message& from) -> std::unique_ptr<Message> {
    return std::make_unique<M>(std::move(As<M>(from)));
  };
  of.create_on_arena = [](Arena& arena) -> Message* { return Arena::CreateMessage<M>(&arena); };
  of.copy_assign = [](Message& to, const Message& from) { As<M>(to) = As<M>(from); };
  of.move_assign = [](Message& to, Message& from) { As<M>(to) = std::move(As<M>(from)); };
  of.copy_from = [](Message& to, const Message& from) { As<M>(to).CopyFrom(As<M>(from)); };
  of.merge_from = [](Message& to, const Message& from) { As<M>(to).MergeFrom(As<M>(from)); };
  of.swap = [](Message& a, Message& b) { As<M>(a).Swap(&As<M>(b)); };
  of.swap_function = [](Message& a, Message& b) { swap(As<M>(a), As<M>(b)); };
  of.unsafe_arena_swap = [](Message& a, Message& b) { As<M>(a).UnsafeArenaSwap(&As<M>(b)); };
  return of;
}

}  // namespace

const std::vector<MessageClass>& MessageClasses() {
  static const std::vector<MessageClass> classes = [] {
    std::vector<MessageClass> all;
    AllMessages::ForEach(
        [&all](auto type) { all.push_back(ClassOf<typename decltype(type)::Message>()); });
    return all;
  }();
  return classes;
}

}  // namespace contract
