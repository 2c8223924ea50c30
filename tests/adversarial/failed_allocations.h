// What happens to a message when an allocation fails during a change to it.
#pragma once

#include <functional>
#include <string>

#include "support/prototypes.h"

namespace allocation {

using contract::Message;

// How the caller goes on after std::bad_alloc.
enum class Then {
  kDestroy,  // deletes the message, or the arena that it lies on
  kReuse,    // clears the message, reads another one into it, and then deletes it
};

struct Change {
  const Message& prototype;
  bool on_arena;
  std::function<void(Message&)> prepare;  // all of its allocations succeed
  std::function<void(Message&)> change;   // one of its allocations fails
  std::string other;                      // the bytes that kReuse reads
};

// How many failed allocations had which outcome. Each failed in a trial of its own. The runtime is
// not written for exceptions, so not all outcomes are good.
struct Outcomes {
  // The message did all that Then asks for, and freed each block.
  int intact = 0;
  // The same, but some blocks leaked: `lost` in all these trials together.
  int lossy = 0;
  int lost = 0;
  // The change continued without an exception and without harm.
  int unnoticed = 0;
  // The process died, or the message read something else than it was given, or it freed blocks that
  // it does not own.
  int broken = 0;

  // The trials, for a reader: "intact 1-3 5; lossy 4; dies when destroyed 6".
  std::string list;
};

// Fails each allocation of the change in turn, in child processes. Everything that the runtime
// creates on first use has to exist already.
Outcomes FailEachAllocation(const Change& change, Then then);

}  // namespace allocation
