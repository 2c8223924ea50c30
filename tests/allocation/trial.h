// What becomes of a message when one of the allocations for a change to it fails.
#pragma once

#include <functional>
#include <string>

#include "../contract/prototypes.h"

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

// How many allocations, each of which failed in a trial of its own, ended in which way. The runtime
// is not made for exceptions, so not all ways are good ones.
struct Outcomes {
  // The message did all that Then asks for, and each block was given back.
  int intact = 0;
  // So it did, but some blocks were never given back: `lost` in all these trials together.
  int lossy = 0;
  int lost = 0;
  // The change went on as if nothing had failed, with no harm.
  int unnoticed = 0;
  // The process died, or the message read something else than it was given, or it gave back blocks
  // that were not its own.
  int broken = 0;

  // The trials, for a reader: "intact 1-3 5; lossy 4; dies when destroyed 6".
  std::string list;
};

// Lets each allocation of the change fail in turn until there is none left to fail, in processes of
// their own. What is made on first use has to exist already.
Outcomes FailEachAllocation(const Change& change, Then then);

}  // namespace allocation
