// The order of the virtual functions, which callers compiled elsewhere rely on.
//
// In the Itanium ABI an object begins with a pointer to the vtable of its class. The destructor has
// two slots there: one destroys, the other also frees.

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include <cstring>

#include "support/loaded_library.h"
#include "support/prototypes.h"

namespace contract {
namespace {

enum class Owner { kClass, kMessage, kMessageLiteInline };

struct Slot {
  Owner owner;
  bool is_const;
  // Name, as its length and itself, and parameters: what a mangled name has after the class.
  const char* name_and_parameters;
};

constexpr Slot kSlots[] = {
    {Owner::kClass, false, "D1Ev"},
    {Owner::kClass, false, "D0Ev"},
    {Owner::kMessage, true,
     "11GetTypeName"
     "B5cxx11Ev"},
    {Owner::kClass, true,
     "3New"
     "EPN6google8protobuf5ArenaE"},
    {Owner::kClass, false,
     "5Clear"
     "Ev"},
    {Owner::kClass, true,
     "13IsInitialized"
     "Ev"},
    {Owner::kMessage, true,
     "25InitializationErrorString"
     "B5cxx11Ev"},
    {Owner::kMessage, false,
     "21CheckTypeAndMergeFrom"
     "ERKNS0_11MessageLiteE"},
    {Owner::kClass, true,
     "12ByteSizeLong"
     "Ev"},
    {Owner::kClass, true,
     "13GetCachedSize"
     "Ev"},
    {Owner::kClass, false,
     "14_InternalParse"
     "EPKcPN6google8protobuf8internal12ParseContextE"},
    {Owner::kMessageLiteInline, false,
     "25OnDemandRegisterArenaDtor"
     "EPNS0_5ArenaE"},
    {Owner::kClass, true,
     "18_InternalSerialize"
     "EPhPN6google8protobuf2io19EpsCopyOutputStreamE"},
    {Owner::kMessage, false,
     "9MergeFrom"
     "ERKS1_"},
    {Owner::kMessage, true,
     "13SpaceUsedLong"
     "Ev"},
    {Owner::kClass, true,
     "13SetCachedSize"
     "Ei"},
    {Owner::kClass, true,
     "11GetMetadata"
     "Ev"},
    {Owner::kClass, true,
     "12GetClassData"
     "Ev"},
};

// The parts of a dotted name, each after its length.
std::string MangledParts(const std::string& full_name) {
  std::string mangled;
  for (std::size_t begin = 0; begin < full_name.size();) {
    const std::size_t end = std::min(full_name.find('.', begin), full_name.size());
    mangled += std::to_string(end - begin) + full_name.substr(begin, end - begin);
    begin = end + 1;
  }
  return mangled;
}

std::string MangledName(const Slot& slot, const Message& message) {
  std::string owner;
  switch (slot.owner) {
    case Owner::kClass:
      owner = MangledParts(message.GetDescriptor()->full_name());
      break;
    case Owner::kMessage:
      owner = "6google8protobuf7Message";
      break;
    case Owner::kMessageLiteInline:
      owner = "6google8protobuf11MessageLite";
      break;
  }
  return std::string("_ZN") + (slot.is_const ? "K" : "") + owner + slot.name_and_parameters;
}

const void* const* TableOf(const Message& message) {
  const void* const* table = nullptr;
  std::memcpy(&table, static_cast<const void*>(&message), sizeof table);
  return table;
}

TEST(VirtualFunctions, HaveTheirSlotsInEachClass) {
  const void* const* const first_table = TableOf(*Prototypes().front());
  for (const Message* prototype : Prototypes()) {
    const void* const* const table = TableOf(*prototype);
    // The destructor is never inlined: it is where the library is.
    void* const library = LibraryWith(table[0]);
    ASSERT_NE(library, nullptr) << prototype->GetTypeName();
    std::size_t index = 0;
    for (const Slot& slot : kSlots) {
      const std::string expected = MangledName(slot, *prototype);
      SCOPED_TRACE(prototype->GetTypeName() + ", slot " + std::to_string(index) + ": " + expected);
      if (slot.owner == Owner::kMessageLiteInline) {
        // The library's own copy of a function that is inline in the runtime's headers.
        EXPECT_EQ(table[index], first_table[index]);
        EXPECT_EQ(LibraryWith(table[index]), library);
      } else {
        const void* const function = FindFunction(library, expected.c_str());
        ASSERT_NE(function, nullptr);
        EXPECT_EQ(Destination(table[index]), function);
      }
      ++index;
    }
  }
}

}  // namespace
}  // namespace contract
