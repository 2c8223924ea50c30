// The version that the system shows of the DLL, read as the system reads it.

#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

namespace {

class VersionOfTheDll : public testing::Test {
 protected:
  void SetUp() override {
    DWORD unused = 0;
    resource_.resize(GetFileVersionInfoSizeA(kFile, &unused));
    ASSERT_FALSE(resource_.empty()) << GetLastError();
    ASSERT_TRUE(
        GetFileVersionInfoA(kFile, 0, static_cast<DWORD>(resource_.size()), resource_.data()));
  }

  std::string Text(const std::string& name) {
    void* text = nullptr;
    UINT size = 0;
    const std::string path = "\\StringFileInfo\\040904b0\\" + name;
    return VerQueryValueA(resource_.data(), path.c_str(), &text, &size) != FALSE
               ? static_cast<const char*>(text)
               : "";
  }

  static constexpr char kFile[] = QMSG_LIBRARY;
  std::vector<char> resource_;
};

TEST_F(VersionOfTheDll, IsThatOfTheProject) {
  EXPECT_EQ(Text("FileVersion"), QMSG_VERSION);
  EXPECT_EQ(Text("ProductVersion"), QMSG_VERSION);
  EXPECT_EQ(Text("OriginalFilename"), "qmsg.dll");

  void* found = nullptr;
  UINT size = 0;
  ASSERT_TRUE(VerQueryValueA(resource_.data(), "\\", &found, &size));
  const auto* const numbers = static_cast<const VS_FIXEDFILEINFO*>(found);
  const std::string version = std::to_string(HIWORD(numbers->dwFileVersionMS)) + "." +
                              std::to_string(LOWORD(numbers->dwFileVersionMS)) + "." +
                              std::to_string(HIWORD(numbers->dwFileVersionLS));
  EXPECT_EQ(version, QMSG_VERSION);
  EXPECT_EQ(numbers->dwFileType, static_cast<DWORD>(VFT_DLL));
}

}  // namespace
