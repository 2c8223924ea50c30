#include "failed_allocations.h"

#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <new>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "support/allocations.h"

namespace allocation {
namespace {

using contract::Arena;

// More than any of the changes needs.
constexpr int kMost = 2000;

enum Step : int { kNotTried, kChanging, kClearing, kReusing, kDestroying, kDone };

struct Trial {
  Step step;
  bool thrown;
  bool happened;
  bool reads_wrong;
  long lost;
};

[[noreturn]] void Throw(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

// Seen by the process that tries and by the one that draws up the list.
class SharedTrials {
 public:
  SharedTrials()
      : trials_(static_cast<Trial*>(
            mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {
    if (trials_ == MAP_FAILED) {
      Throw("mmap");
    }
  }
  ~SharedTrials() { munmap(trials_, kSize); }
  SharedTrials(const SharedTrials&) = delete;
  SharedTrials& operator=(const SharedTrials&) = delete;

  // `nth` from 1 to kMost.
  Trial& operator[](int nth) { return trials_[static_cast<std::size_t>(nth)]; }

 private:
  static constexpr std::size_t kSize = sizeof(Trial) * static_cast<std::size_t>(kMost + 1);
  Trial* trials_;
};

void Attempt(const Change& change, Message& message, int nth, Trial& trial) {
  const allocations::Failure failure(static_cast<std::size_t>(nth));
  try {
    change.change(message);
  } catch (const std::bad_alloc&) {
    trial.thrown = true;
  }
  trial.happened = failure.Happened();
}

void Reuse(const std::string& other, Message& message, Trial& trial) {
  trial.step = kClearing;
  message.Clear();
  trial.step = kReusing;
  trial.reads_wrong =
      !message.ParseFromString(other) || contract::DeterministicBytes(message) != other;
}

void Try(const Change& change, Then then, int nth, Trial& trial) {
  const std::size_t before = allocations::Outstanding();
  {
    std::optional<Arena> arena;
    Message* const message = change.prototype.New(change.on_arena ? &arena.emplace() : nullptr);
    change.prepare(*message);
    trial.step = kChanging;
    Attempt(change, *message, nth, trial);
    if (then == Then::kReuse) {
      Reuse(change.other, *message, trial);
    }
    trial.step = kDestroying;
    if (!change.on_arena) {
      delete message;
    }
  }
  trial.lost = static_cast<long>(allocations::Outstanding()) - static_cast<long>(before);
  trial.step = kDone;
}

// Goes on from the first trial that has not begun.
void TryInChild(const Change& change, Then then, int first, SharedTrials& trials) {
  const pid_t child = fork();
  if (child < 0) {
    Throw("fork");
  }
  if (child == 0) {
    // It may die: no core file, and no message of the C library.
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    close(STDERR_FILENO);
    for (int nth = first; nth <= kMost; ++nth) {
      Try(change, then, nth, trials[nth]);
      if (!trials[nth].happened) {
        break;
      }
    }
    _exit(0);
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child) {
    Throw("waitpid");
  }
}

const char* WhereItDied(Step step) {
  switch (step) {
    case kChanging:
      return "dies in the change";
    case kClearing:
      return "dies when cleared";
    case kReusing:
      return "dies when reused";
    default:
      return "dies when destroyed";
  }
}

// Adds the trial to the outcomes and says which of them it is.
std::string Count(const Trial& trial, Outcomes& outcomes) {
  if (trial.step != kDone) {
    ++outcomes.broken;
    return WhereItDied(trial.step);
  }
  if (trial.reads_wrong) {
    ++outcomes.broken;
    return "reads wrong";
  }
  if (trial.lost < 0) {
    ++outcomes.broken;
    return "frees what it does not own";
  }
  if (!trial.thrown) {
    ++outcomes.unnoticed;
    return "unnoticed";
  }
  if (trial.lost == 0) {
    ++outcomes.intact;
    return "intact";
  }
  ++outcomes.lossy;
  outcomes.lost += static_cast<int>(trial.lost);
  return "lossy";
}

// "1-3 5", for {1, 2, 3, 5}.
std::string Ranges(const std::vector<int>& ascending) {
  std::string ranges;
  for (std::size_t first = 0; first < ascending.size();) {
    std::size_t last = first;
    while (last + 1 < ascending.size() && ascending[last + 1] == ascending[last] + 1) {
      ++last;
    }
    ranges += ' ' + std::to_string(ascending[first]);
    if (last > first) {
      ranges += '-' + std::to_string(ascending[last]);
    }
    first = last + 1;
  }
  return ranges;
}

}  // namespace

Outcomes FailEachAllocation(const Change& change, Then then) {
  SharedTrials trials;
  Outcomes outcomes;
  std::map<std::string, std::vector<int>> list;
  int nth = 1;
  while (true) {
    if (nth > kMost) {
      throw std::length_error("A change needs more allocations than there are trials");
    }
    if (trials[nth].step == kNotTried) {
      TryInChild(change, then, nth, trials);
    }
    if (trials[nth].step == kDone && !trials[nth].happened) {
      break;
    }
    list[Count(trials[nth], outcomes)].push_back(nth);
    ++nth;
  }
  if (trials[nth].lost != 0 || trials[nth].thrown || trials[nth].reads_wrong) {
    throw std::logic_error("The change fails even without a failed allocation");
  }
  for (const auto& [outcome, which] : list) {
    outcomes.list += (outcomes.list.empty() ? "" : "; ") + outcome + Ranges(which);
  }
  return outcomes;
}

}  // namespace allocation
