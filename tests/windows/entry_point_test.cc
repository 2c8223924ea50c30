// The DLL's entry point, linked into this program, which stands in for the system.

#include <gtest/gtest.h>
#include <windows.h>

#include <vector>

extern "C" BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, LPVOID reserved);

namespace {

std::vector<HMODULE>& Asked() {
  static std::vector<HMODULE> modules;
  return modules;
}

BOOL WINAPI Refuse(HMODULE module) {
  Asked().push_back(module);
  return FALSE;
}

HINSTANCE Library() { return GetModuleHandle(nullptr); }

// What the entry point reports for a reason, and what it has asked of the system for it.
struct Call {
  BOOL succeeds;
  std::vector<HMODULE> asked;
};

Call Enter(DWORD reason) {
  Asked().clear();
  const BOOL succeeds = DllMain(Library(), reason, nullptr);
  return {succeeds, Asked()};
}

TEST(EntryPoint, SucceedsWhenTheSystemKeepsTellingOfThreads) {
  const Call call = Enter(DLL_PROCESS_ATTACH);
  EXPECT_EQ(call.succeeds, TRUE);
  EXPECT_EQ(call.asked, std::vector<HMODULE>{Library()});
}

TEST(EntryPoint, DoesNothingForAnyOtherReason) {
  for (const DWORD reason : {DLL_PROCESS_DETACH, DLL_THREAD_ATTACH, DLL_THREAD_DETACH, 4}) {
    const Call call = Enter(reason);
    EXPECT_EQ(call.succeeds, TRUE) << reason;
    EXPECT_TRUE(call.asked.empty()) << reason;
  }
}

}  // namespace

// Where a program finds a function of a DLL; here in place of what the import library has.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" decltype(&DisableThreadLibraryCalls) __imp_DisableThreadLibraryCalls;
decltype(&DisableThreadLibraryCalls) __imp_DisableThreadLibraryCalls = &Refuse;
