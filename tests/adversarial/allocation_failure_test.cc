// Each allocation in the life of a message fails once: what survives that, and what does not, with
// the runtime as it is. docs/allocation-failure.md is drawn from here.

#include <google/protobuf/message.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>

#include "contents.h"
#include "failed_allocations.h"
#include "reading.h"

namespace allocation {
namespace {

using testing::TestWithParam;
using testing::ValuesIn;

enum class Action { kBuild, kRead, kCopy, kMerge, kWrite, kPrint };
enum class Place { kHeap, kArena };

constexpr Action kChanges[] = {Action::kBuild, Action::kRead, Action::kCopy, Action::kMerge};
constexpr Place kPlaces[] = {Place::kHeap, Place::kArena};
constexpr Then kThens[] = {Then::kDestroy, Then::kReuse};

const Content& ContentNamed(const std::string& name) {
  const auto& all = Contents();
  return *std::find_if(all.begin(), all.end(),
                       [&](const Content& content) { return content.name == name; });
}

// What is needed for a trial lives here, and outlives it.
struct Subject {
  explicit Subject(const Content& of)
      : content(of),
        source(of.Built(0)),
        bytes(contract::DeterministicBytes(*source)),
        other(contract::DeterministicBytes(*of.Built(1))) {
    source->DebugString();  // So that the reflection of its classes exists.
  }

  Change ToChange(Action action, Place place) const {
    Change change{*content.prototype, place == Place::kArena, {}, {}, other};
    const auto nothing = [](Message&) {};
    const auto read = [this](Message& message) { message.ParseFromString(bytes); };
    switch (action) {
      case Action::kBuild:
        change.prepare = nothing;
        change.change = [this](Message& message) { content.build(message, 0); };
        break;
      case Action::kRead:
        change.prepare = nothing;
        change.change = read;
        break;
      case Action::kCopy:
        change.prepare = nothing;
        change.change = [this](Message& message) { message.CopyFrom(*source); };
        break;
      case Action::kMerge:
        change.prepare = [this](Message& message) { message.ParseFromString(other); };
        change.change = [this](Message& message) { message.MergeFrom(*source); };
        break;
      case Action::kWrite:
        change.prepare = read;
        change.change = [](Message& message) { (void)message.SerializeAsString(); };
        break;
      case Action::kPrint:
        change.prepare = read;
        change.change = [](Message& message) { (void)message.DebugString(); };
        break;
    }
    return change;
  }

  const Content& content;
  const std::unique_ptr<const Message> source;
  const std::string bytes;
  const std::string other;
};

Outcomes Find(const Content& content, Action action, Place place, Then then) {
  const Subject subject(content);
  return FailEachAllocation(subject.ToChange(action, place), then);
}

void ExpectAllIntact(const Outcomes& found) {
  EXPECT_EQ(found.lossy + found.unnoticed + found.broken, 0) << found.list;
}

struct Case {
  const char* name;  // Of the content, the change and the place.
  const char* content;
  Action change;
  Place place;
  Outcomes expected;
};

void PrintTo(const Case& known, std::ostream* out) { *out << known.name; }

// What the runtime does not survive or does not give back: all that is known, so that a change of
// any of it is seen. The numbers are those of the struct Outcomes.
const Case kKnown[] = {
    // Texts and sub-messages that occur once: nothing is lost.
    {"QueryBuild", "Query", Action::kBuild, Place::kHeap, {8, 0, 0, 0, 0, {}}},
    {"QueryRead", "Query", Action::kRead, Place::kHeap, {6, 0, 0, 0, 0, {}}},
    {"QueryCopy", "Query", Action::kCopy, Place::kHeap, {7, 0, 0, 0, 0, {}}},
    {"QueryMerge", "Query", Action::kMerge, Place::kHeap, {0, 0, 0, 0, 0, {}}},
    // A repeated field makes the element first and then the room for it: without room, one block
    // is lost. If the element is a string moved in, it makes room and counts the element first:
    // what is destroyed then is a pointer that nobody has set. A copy counts its elements when all
    // of them are made: each that was made before the failure is lost.
    {"HeadersBuild", "Headers", Action::kBuild, Place::kHeap, {11, 0, 0, 0, 3, {}}},
    {"HeadersRead", "Headers", Action::kRead, Place::kHeap, {8, 2, 2, 0, 0, {}}},
    {"HeadersCopy", "Headers", Action::kCopy, Place::kHeap, {5, 5, 15, 0, 0, {}}},
    {"HeadersMerge", "Headers", Action::kMerge, Place::kHeap, {2, 5, 15, 0, 0, {}}},
    {"SettingsBuild", "Settings", Action::kBuild, Place::kHeap, {18, 6, 6, 0, 0, {}}},
    {"SettingsRead", "Settings", Action::kRead, Place::kHeap, {14, 6, 6, 0, 0, {}}},
    {"SettingsCopy", "Settings", Action::kCopy, Place::kHeap, {3, 15, 116, 0, 0, {}}},
    {"SettingsMerge", "Settings", Action::kMerge, Place::kHeap, {2, 15, 116, 0, 0, {}}},
    // A map sets the size of its table before it makes the table: without the table, clearing or
    // destroying the map reads through a null pointer.
    {"AttributesBuild", "Attributes", Action::kBuild, Place::kHeap, {5, 0, 0, 0, 1, {}}},
    {"AttributesRead", "Attributes", Action::kRead, Place::kHeap, {4, 0, 0, 0, 1, {}}},
    {"AttributesCopy", "Attributes", Action::kCopy, Place::kHeap, {5, 0, 0, 0, 1, {}}},
    {"AttributesMerge", "Attributes", Action::kMerge, Place::kHeap, {2, 0, 0, 0, 0, {}}},
    // All of this: elements with maps.
    {"JobsBuild", "Jobs", Action::kBuild, Place::kHeap, {28, 2, 2, 0, 2, {}}},
    {"JobsRead", "Jobs", Action::kRead, Place::kHeap, {22, 2, 2, 0, 2, {}}},
    {"JobsCopy", "Jobs", Action::kCopy, Place::kHeap, {3, 23, 270, 0, 0, {}}},
    {"JobsMerge", "Jobs", Action::kMerge, Place::kHeap, {2, 23, 270, 0, 0, {}}},
    // Unknown fields always lie on the heap. A copy takes the pointers of the source over and then
    // replaces one after the other: after a failure both messages own what was not yet replaced.
    {"UnknownBuild", "Unknown", Action::kBuild, Place::kHeap, {7, 1, 1, 0, 0, {}}},
    {"UnknownRead", "Unknown", Action::kRead, Place::kHeap, {7, 1, 1, 0, 0, {}}},
    {"UnknownCopy", "Unknown", Action::kCopy, Place::kHeap, {3, 0, 0, 0, 3, {}}},
    {"UnknownMerge", "Unknown", Action::kMerge, Place::kHeap, {1, 0, 0, 0, 3, {}}},
    {"UnknownBuildOnArena", "Unknown", Action::kBuild, Place::kArena, {6, 1, 1, 0, 0, {}}},
    {"UnknownReadOnArena", "Unknown", Action::kRead, Place::kArena, {6, 1, 1, 0, 0, {}}},
    {"UnknownCopyOnArena", "Unknown", Action::kCopy, Place::kArena, {2, 0, 0, 0, 3, {}}},
    {"UnknownMergeOnArena", "Unknown", Action::kMerge, Place::kArena, {1, 0, 0, 0, 3, {}}},
};

class FailedAllocation : public TestWithParam<Case> {
 protected:
  static void ExpectKnown(Then then) {
    const Case& known = GetParam();
    const Outcomes found = Find(ContentNamed(known.content), known.change, known.place, then);
    EXPECT_EQ(found.intact, known.expected.intact) << found.list;
    EXPECT_EQ(found.lossy, known.expected.lossy) << found.list;
    EXPECT_EQ(found.lost, known.expected.lost) << found.list;
    EXPECT_EQ(found.unnoticed, known.expected.unnoticed) << found.list;
    EXPECT_EQ(found.broken, known.expected.broken) << found.list;
  }
};

TEST_P(FailedAllocation, HasTheKnownOutcomesIfTheMessageIsDestroyed) {
  ExpectKnown(Then::kDestroy);
}

TEST_P(FailedAllocation, HasTheKnownOutcomesIfTheMessageIsReused) { ExpectKnown(Then::kReuse); }

INSTANTIATE_TEST_SUITE_P(Of, FailedAllocation, ValuesIn(kKnown),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(FailedAllocationOnAnArena, DoesNoHarmIfTheArenaIsDestroyed) {
  for (const Content& content : Contents()) {
    if (content.name == "Unknown") {
      continue;
    }
    for (const Action change : kChanges) {
      SCOPED_TRACE(content.name);
      ExpectAllIntact(Find(content, change, Place::kArena, Then::kDestroy));
    }
  }
}

TEST(FailedAllocationOnAnArena, DoesNoHarmIfAMessageIsReadAndReused) {
  for (const Content& content : Contents()) {
    if (content.name != "Unknown") {
      SCOPED_TRACE(content.name);
      ExpectAllIntact(Find(content, Action::kRead, Place::kArena, Then::kReuse));
    }
  }
}

// The string is counted before it is there, as on the heap.
TEST(FailedAllocationOnAnArena, BreaksAMessageThatAStringIsMovedInto) {
  if (!hostile::kFiguresApply) {
    GTEST_SKIP() << "other objects have other figures";
  }
  const Outcomes found = Find(ContentNamed("Headers"), Action::kBuild, Place::kArena, Then::kReuse);
  EXPECT_EQ(found.broken, 1) << found.list;
  EXPECT_EQ(found.intact, 8) << found.list;
}

TEST(FailedAllocationOfWriting, DoesNoHarm) {
  for (const Content& content : Contents()) {
    for (const Place place : kPlaces) {
      for (const Then then : kThens) {
        SCOPED_TRACE(content.name);
        const Outcomes found = Find(content, Action::kWrite, place, then);
        EXPECT_EQ(found.intact, 1) << found.list;
        ExpectAllIntact(found);
      }
    }
  }
}

// To print a map, the runtime sorts copies of its pairs, which are lost. How many there are at a
// failure depends on the order of the pairs, which is different each time.
TEST(FailedAllocationOfPrinting, LosesCopiesOfAMapAndNothingElse) {
  for (const Content& content : Contents()) {
    for (const Place place : kPlaces) {
      for (const Then then : kThens) {
        SCOPED_TRACE(content.name);
        const bool has_map = content.name == "Attributes" || content.name == "Jobs";
        const Outcomes found = Find(content, Action::kPrint, place, then);
        EXPECT_GT(found.intact, 0) << found.list;
        EXPECT_EQ(found.lossy > 0, has_map) << found.list;
        EXPECT_EQ(found.broken, 0) << found.list;
      }
    }
  }
}

}  // namespace
}  // namespace allocation
