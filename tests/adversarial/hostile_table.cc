// Prints the tables of docs/hostile-input.md.

#include <google/protobuf/stubs/logging.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <functional>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include "colliding_keys.h"
#include "lengths.h"
#include "output_shapes.h"
#include "reading.h"
#include "shapes.h"
#include "support/heap_use.h"
#include "support/message_list.h"
#include "support/wire.h"

namespace hostile {
namespace {

namespace JQ = quor::protobuf::JQ;
namespace Login = quor::protobuf::Login;
namespace Tarq = quor::protobuf::Tarq;
namespace wire = contract::wire;

constexpr std::array<std::size_t, 3> kSizes = {kMebibyte, 4 * kMebibyte, 16 * kMebibyte};
// In JSON with all fields, one MiB already takes seconds.
constexpr std::array<std::size_t, 3> kOutputSizes = {kMebibyte / 16, kMebibyte / 4, kMebibyte};

void Progress(const std::string& what) {
  if (isatty(STDERR_FILENO) != 0) {
    std::cerr << "\r\x1b[K" << what << std::flush;
  }
}

// Nanoseconds of processor time that this thread has had.
double Now() {
  timespec now{};
  if (clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now) != 0) {
    throw std::runtime_error("The system does not tell the processor time of a thread");
  }
  return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

// How long an action takes, in nanoseconds. It gets its memory from the system, not from what an
// earlier one left.
double Time(const std::function<void()>& action) {
  malloc_trim(0);
  const double start = Now();
  action();
  return Now() - start;
}

double PerByte(double total, std::size_t bytes) { return total / static_cast<double>(bytes); }

std::string Number(double value) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(value < 10 ? 1 : 0) << value;
  return text.str();
}

std::string Factor(std::size_t memory, std::size_t bytes) {
  return Number(PerByte(static_cast<double>(memory), bytes));
}

// Two cells: the time of each action for a byte of its input, and by which power of the input's
// size the time grows from the first to the last. The rounds take turns, so that a slow moment of
// the machine falls on all.
struct Timed {
  std::size_t bytes;
  std::function<void()> action;
};
std::string Times(int rounds, const std::vector<Timed>& all) {
  std::vector<std::vector<double>> times(all.size());
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < all.size(); ++i) {
      times[i].push_back(Time(all[i].action));
    }
  }
  std::ostringstream cells;
  for (std::size_t i = 0; i < all.size(); ++i) {
    cells << (i == 0 ? "" : " / ") << Number(PerByte(Median(times[i]), all[i].bytes));
  }
  const double growth = Median(times.back()) / Median(times.front());
  const double size_growth = PerByte(static_cast<double>(all.back().bytes), all.front().bytes);
  cells << " | " << std::fixed << std::setprecision(2) << std::log(growth) / std::log(size_growth);
  return cells.str();
}

void PrintReading(int rounds) {
  std::cout
      << "| input | an element of it | memory, heap | memory, arena | of that known to the arena "
         "| ns, heap | power | ns, arena | power |\n|---|---|---|---|---|---|---|---|---|\n";
  for (const Shape& shape : Shapes()) {
    Progress(shape.name);
    const std::string bytes = shape.bytes(JustAbove(kMebibyte));
    const Reading heap = ReadOnHeap(*shape.prototype, bytes);
    const Reading arena = ReadOnArena(*shape.prototype, bytes);
    std::cout << "| " << shape.name << (shape.accepted ? "" : " (refused)") << " | " << shape.input
              << " | " << Factor(heap.peak, bytes.size()) << " | "
              << Factor(arena.peak, bytes.size()) << " | "
              << Factor(arena.known_to_arena, bytes.size());
    std::vector<std::string> inputs;
    inputs.reserve(kSizes.size());
    for (const std::size_t size : kSizes) {
      inputs.push_back(shape.bytes(JustAbove(size)));
    }
    for (const auto& read : {&ReadOnHeap, &ReadOnArena}) {
      std::vector<Timed> all;
      all.reserve(inputs.size());
      for (const std::string& input : inputs) {
        all.push_back({input.size(), [&] { read(*shape.prototype, input); }});
      }
      std::cout << " | " << (rounds == 0 ? " | " : Times(rounds, all));
    }
    std::cout << " |" << std::endl;
  }
}

double TimePerKey(int rounds, std::size_t count, std::size_t buckets, bool colliding) {
  std::vector<double> times;
  for (int round = 0; round < rounds; ++round) {
    JQ::AttrList list;
    (*list.mutable_attr_list())[0];
    JQ::AttrList other;
    (*other.mutable_attr_list())[0];
    std::string bytes;
    for (const std::int32_t key : CollidingKeys(list.attr_list(), buckets, count)) {
      bytes += wire::LengthDelimitedField(1, wire::VarintField(1, static_cast<std::uint64_t>(key)));
    }
    times.push_back(Time([&] { (colliding ? list : other).MergeFromString(bytes); }));
  }
  return PerByte(Median(times), count);
}

void PrintCollisions(int rounds) {
  std::cout << "| keys | one bucket, ns a key | the same keys, another seed, ns a key |\n"
               "|---|---|---|\n";
  for (const std::size_t count : {1000U, 4000U, 16000U}) {
    std::size_t buckets = 8;
    while (buckets * 3 / 4 <= count) {
      buckets *= 2;
    }
    Progress(std::to_string(count) + " colliding keys");
    std::cout << "| " << count << " | " << Number(TimePerKey(rounds, count, buckets, true)) << " | "
              << Number(TimePerKey(rounds, count, buckets, false)) << " |" << std::endl;
  }
}

void PrintOutput(int rounds) {
  std::cout << "| input | form | bytes of output | ns | power |\n|---|---|---|---|---|\n";
  for (const OutputShape& shape : OutputShapes()) {
    Progress(shape.input + " as " + shape.form);
    const auto read = [&shape](std::size_t size) {
      std::unique_ptr<Message> message = contract::NewOnHeap(*shape.prototype);
      if (!message->ParseFromString(shape.bytes(size))) {
        throw std::runtime_error("Refused: " + shape.input);
      }
      return message;
    };
    const std::size_t output = shape.write(*read(kOutputSizes.back())).size();
    std::cout << "| " << shape.input << " | " << shape.form << " | "
              << Factor(output, shape.bytes(kOutputSizes.back()).size()) << " | ";
    std::vector<std::unique_ptr<Message>> messages;
    std::vector<Timed> all;
    for (const std::size_t size : kOutputSizes) {
      messages.push_back(read(size));
      all.push_back({size, [&shape, &message = *messages.back()] { shape.write(message); }});
    }
    std::cout << (rounds == 0 ? " | " : Times(rounds, all)) << " |" << std::endl;
  }
}

void PrintLengths() {
  const auto& prototype = Tarq::ResponseBody::default_instance();
  std::cout << "| reader";
  for (const Promise& promise : Promises()) {
    std::cout << " | " << promise.name;
  }
  std::cout << " |\n|---|---|---|---|---|---|---|\n";
  for (const Reader& reader : Readers()) {
    std::cout << "| " << reader.name;
    for (const Promise& promise : Promises()) {
      const std::string bytes = wire::Tag(3, wire::kLengthDelimited) + promise.length;
      std::cout << " | " << heap_use::PeakDuring([&] {
        const std::unique_ptr<Message> message = contract::NewOnHeap(prototype);
        if (reader.read(bytes, *message)) {
          throw std::runtime_error("Not refused: a length of " + promise.name);
        }
      });
    }
    std::cout << " |" << std::endl;
  }
}

void IgnoreLog(google::protobuf::LogLevel /*level*/, const char* /*file*/, int /*line*/,
               const std::string& /*text*/) {}

// What one line in the log costs, into a file that takes all.
void PrintLogging(int rounds) {
  constexpr int kCount = 10000;
  const std::string bad = wire::LengthDelimitedField(1, "\xff");
  const auto refuse = [&] {
    Login::Login login;
    for (int i = 0; i < kCount; ++i) {
      if (login.ParseFromString(bad)) {
        throw std::runtime_error("Not refused: bad text");
      }
    }
  };
  const auto time_of_refusal = [&] {
    std::vector<double> times(static_cast<std::size_t>(rounds));
    std::generate(times.begin(), times.end(), [&] { return Time(refuse) / kCount; });
    return Median(times);
  };
  google::protobuf::LogHandler* const logged = google::protobuf::SetLogHandler(&IgnoreLog);
  const double silent = time_of_refusal();
  google::protobuf::SetLogHandler(logged);
  std::cerr.flush();
  const int terminal = dup(STDERR_FILENO);
  if (terminal < 0 || std::freopen("/dev/null", "w", stderr) == nullptr) {
    throw std::runtime_error("Cannot write to /dev/null");
  }
  const double written = time_of_refusal();
  std::fflush(stderr);
  dup2(terminal, STDERR_FILENO);
  close(terminal);
  std::cout << "| a refused text of 1 byte | ns |\n|---|---|\n| log handler of its own that does "
               "nothing | "
            << Number(silent) << " |\n| the runtime's, to /dev/null | " << Number(written) << " |"
            << std::endl;
}

void Print(int rounds) {
  google::protobuf::LogHandler* const logged = google::protobuf::SetLogHandler(&IgnoreLog);
  PrintReading(rounds);
  std::cout << "\n";
  PrintLengths();
  std::cout << "\n";
  PrintOutput(rounds);
  google::protobuf::SetLogHandler(logged);
  if (rounds > 0) {
    std::cout << "\n";
    PrintCollisions(rounds);
    std::cout << "\n";
    PrintLogging(rounds);
  }
  Progress("");
}

}  // namespace
}  // namespace hostile

int main(int argc, char** argv) try {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.size() > 1 || (arguments.size() == 1 && arguments[0] != "--no-times")) {
    std::cerr
        << "Usage: hostile_table [--no-times]\n"
           "Prints in Markdown what hostile bytes cost: bytes of memory and nanoseconds for each\n"
           "byte of input. With times it takes some minutes.\n";
    return 2;
  }
  constexpr int kRounds = 5;
  hostile::Print(arguments.empty() ? kRounds : 0);
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "hostile_table: %s\n", error.what());
  return 1;
}
