// What a process is before the library comes, it is after it was used.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <clocale>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <string>

#include "host.h"

namespace {

std::atomic<int> variables_read{0};

}  // namespace

// Takes the place of the C library's for all that is loaded.
extern "C" char* getenv(const char* name) noexcept {
  using GetEnv = char* (*)(const char*);
  static const auto original = reinterpret_cast<GetEnv>(dlsym(RTLD_NEXT, "getenv"));
  ++variables_read;
  return original(name);
}

namespace embedding {
namespace {

// The names in a folder, and where those lead that are links.
std::map<std::string, std::string> Entries(const char* folder) {
  namespace fs = std::filesystem;
  std::map<std::string, std::string> entries;
  for (const auto& entry : fs::directory_iterator(folder)) {
    std::error_code gone;
    entries[entry.path().filename()] =
        entry.is_symlink(gone) ? fs::read_symlink(entry.path(), gone).string() : "";
  }
  return entries;
}

void LoadAndUse() {
  const Opened plugin(QMSG_PLUGIN_ONE, RTLD_NOW);
  ASSERT_EQ(plugin.plugin().use(), 0);
  ASSERT_NE(std::strlen(plugin.plugin().declarations()), 0U);
}

TEST(Process, HasNoMoreThreads) {
  const auto before = Entries("/proc/self/task");
  LoadAndUse();
  EXPECT_EQ(Entries("/proc/self/task"), before);
}

TEST(Process, HasNoMoreOpenFiles) {
  const auto before = Entries("/proc/self/fd");
  LoadAndUse();
  EXPECT_EQ(Entries("/proc/self/fd"), before);
}

TEST(Process, HandlesSignalsAsBefore) {
  using Handling = std::map<int, std::string>;
  const auto handling = [] {
    Handling all;
    for (int number = 1; number < NSIG; ++number) {
      struct sigaction action {};
      if (sigaction(number, nullptr, &action) == 0) {
        all[number] = std::to_string(reinterpret_cast<std::uintptr_t>(action.sa_sigaction)) +
                      ", flags " + std::to_string(action.sa_flags);
      }
    }
    return all;
  };
  const auto blocked = [] {
    sigset_t set;
    EXPECT_EQ(pthread_sigmask(SIG_BLOCK, nullptr, &set), 0);
    std::string numbers;
    for (int number = 1; number < NSIG; ++number) {
      numbers += sigismember(&set, number) == 1 ? '1' : '0';
    }
    return numbers;
  };
  const Handling handling_before = handling();
  const std::string blocked_before = blocked();
  LoadAndUse();
  EXPECT_EQ(handling(), handling_before);
  EXPECT_EQ(blocked(), blocked_before);
}

TEST(Process, HasItsEnvironmentToItself) {
  const int before = variables_read;
  ASSERT_NE(std::getenv("PATH"), nullptr);
  ASSERT_EQ(variables_read, before + 1);
  LoadAndUse();
  EXPECT_EQ(variables_read, before + 1);
}

TEST(Process, KeepsItsLocale) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  LoadAndUse();
  EXPECT_EQ(std::setlocale(LC_ALL, nullptr), before);
}

TEST(Process, HasItsOutputToItself) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  LoadAndUse();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace embedding
