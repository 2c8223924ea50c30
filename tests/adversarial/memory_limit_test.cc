// Bytes that ask for more memory than the process may have: each test limits itself, in a process
// of its own.

#include <google/protobuf/arena.h>
#include <gtest/gtest.h>
#include <qmsg/tarq.pb.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <new>
#include <string>

namespace {

using google::protobuf::Arena;
using quor::protobuf::Tarq::SqlQueries;

constexpr std::size_t kMebibyte = std::size_t{1} << 20;

// What the process has plus `more` bytes is all that it gets from now on.
void LimitMemory(std::size_t more) {
  std::size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  const std::size_t has = pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  const rlimit limit{has + more, has + more};
  if (pages == 0 || setrlimit(RLIMIT_AS, &limit) != 0) {
    std::abort();
  }
}

enum Outcome : int { kRead = 10, kRefused, kOutOfMemory };

// Ends the process with what became of reading the bytes, once a small message could be read after
// that. `read(message)` returns whether it was read.
template <class Read>
[[noreturn]] void ExitWithOutcome(std::size_t more, const Read& read) {
  LimitMemory(more);
  Outcome outcome = kRefused;
  try {
    Arena arena;
    outcome = read(*Arena::CreateMessage<SqlQueries>(&arena)) ? kRead : kRefused;
  } catch (const std::bad_alloc&) {
    outcome = kOutOfMemory;
  }
  SqlQueries small;
  const bool goes_on = small.ParseFromString("\x0a\x02id") && small.queue_id() == "id";
  std::_Exit(goes_on ? outcome : EXIT_FAILURE);
}

// Two bytes per element. Each element takes more than a hundred bytes of memory.
std::string ManyElements() {
  std::string bytes;
  for (std::size_t i = 0; i < kMebibyte; ++i) {
    bytes.append("\x12\x00", 2);
  }
  return bytes;
}

TEST(ManyElements, EndInAnExceptionThatTheProcessSurvives) {
  const std::string bytes = ManyElements();
  const auto read = [&](SqlQueries& message) { return message.ParseFromString(bytes); };
  EXPECT_EXIT(ExitWithOutcome(64 * kMebibyte, read), testing::ExitedWithCode(kOutOfMemory), "");
  EXPECT_EXIT(ExitWithOutcome(1024 * kMebibyte, read), testing::ExitedWithCode(kRead), "");
}

// Whether the bytes were read within the available memory.
bool ReadQueries(const void* bytes, int size) {
  try {
    google::protobuf::Arena arena;
    auto* queries =
        google::protobuf::Arena::CreateMessage<quor::protobuf::Tarq::SqlQueries>(&arena);
    return queries->ParseFromArray(bytes, size);  // Use the message here.
  } catch (const std::bad_alloc&) {
    return false;  // The arena is gone, and all that it held. The process goes on.
  }
}

// If the memory of one attempt were lost, the last one would find none.
[[noreturn]] void ExitAfterManyAttempts(const std::string& bytes, const std::string& small) {
  const auto read = [](const std::string& from) {
    return ReadQueries(from.data(), static_cast<int>(from.size()));
  };
  LimitMemory(64 * kMebibyte);
  for (int attempt = 0; attempt < 20; ++attempt) {
    if (read(bytes)) {
      std::_Exit(kRead);
    }
  }
  std::_Exit(read(small) ? kOutOfMemory : kRefused);
}

TEST(ManyElements, LeaveTheMemoryOfAnArenaToTheNextMessage) {
  SqlQueries small;
  small.set_queue_id(std::string(8 * kMebibyte, 'x'));
  EXPECT_EXIT(ExitAfterManyAttempts(ManyElements(), small.SerializeAsString()),
              testing::ExitedWithCode(kOutOfMemory), "");
}

}  // namespace
