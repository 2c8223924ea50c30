// Usage: mistakes NAME
// Makes one mistake in using the messages and goes on as if nothing were wrong: with status 0,
// unless a sanitizer or memcheck stops it.
#include <google/protobuf/arena.h>
#include <qmsg/jobqueue.pb.h>

#include <cstdio>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>
#include <thread>

namespace {

using google::protobuf::Arena;
using quor::protobuf::JQ::Queue;

// Keeps the compiler from seeing where a value comes from and that nobody wants it.
template <class T>
T& Opaque(T& value) {
  asm volatile("" : : "g"(&value) : "memory");  // NOLINT(hicpp-no-assembler)
  return value;
}

// In a thread: its stack, which may still hold the pointer, is gone before leaks are looked for.
void LoseAMessage() {
  std::thread([] {
    auto* queue = std::make_unique<Queue>().release();
    queue->set_queue_name("a name that has a buffer of its own");
    queue = nullptr;
    Opaque(queue);
  }).join();
}

void ReadAMessageOfADeletedArena() {
  auto arena = std::make_unique<Arena>();
  const Queue* queue = Arena::CreateMessage<Queue>(arena.get());
  arena.reset();
  auto id = queue->queue_id();
  Opaque(id);
}

void ReadBeyondAString() {
  Queue queue;
  queue.set_queue_name("a name that has a buffer of its own");
  const char* const name = queue.queue_name().data();
  char last = name[queue.queue_name().capacity() + 1];
  Opaque(last);
}

void OverflowANumber() {
  Queue queue;
  queue.set_queue_id(1);
  int limit = std::numeric_limits<int>::max();
  int sum = Opaque(limit) + static_cast<int>(queue.queue_id());
  Opaque(sum);
}

void DecideByAnUnsetByte() {
  const std::unique_ptr<char[]> bytes(new char[2]);
  Queue queue;
  queue.ParseFromArray(bytes.get(), 2);
}

void ChangeAMessageThatAnotherThreadReads() {
  const auto queue = std::make_unique<Queue>();
  std::thread reader([&queue] {
    auto id = queue->queue_id();
    Opaque(id);
  });
  queue->set_queue_id(7);
  reader.join();
}

constexpr struct {
  const char* name;
  void (*make)();
} kMistakes[] = {
    {"leak", LoseAMessage},
    {"use_after_free", ReadAMessageOfADeletedArena},
    {"beyond_the_end", ReadBeyondAString},
    {"overflow", OverflowANumber},
    {"unset_byte", DecideByAnUnsetByte},
    {"race", ChangeAMessageThatAnotherThreadReads},
};

}  // namespace

int main(int argc, char** argv) {
  for (const auto& mistake : kMistakes) {
    if (argc == 2 && std::strcmp(argv[1], mistake.name) == 0) {
      mistake.make();
      return 0;
    }
  }
  std::fputs("Usage: mistakes NAME, with one of these:\n", stderr);
  for (const auto& mistake : kMistakes) {
    std::fprintf(stderr, "  %s\n", mistake.name);
  }
  return 2;
}
