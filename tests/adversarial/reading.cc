#include "reading.h"

#include "support/heap_use.h"

namespace hostile {

using google::protobuf::Arena;
using google::protobuf::Message;

Reading ReadOnHeap(const Message& prototype, const std::string& bytes) {
  Reading reading{};
  reading.peak = heap_use::PeakDuring([&] {
    const std::unique_ptr<Message> message = contract::NewOnHeap(prototype);
    reading.accepted = message->ParseFromString(bytes);
  });
  return reading;
}

Reading ReadOnArena(const Message& prototype, const std::string& bytes) {
  Reading reading{};
  reading.peak = heap_use::PeakDuring([&] {
    Arena arena;
    reading.accepted = prototype.New(&arena)->ParseFromString(bytes);
    reading.known_to_arena = static_cast<std::size_t>(arena.SpaceAllocated());
  });
  return reading;
}

}  // namespace hostile
