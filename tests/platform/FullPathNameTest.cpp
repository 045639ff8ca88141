// Making paths absolute the Windows way, with Z: as the current drive, and the current directory.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include <nybase/platform/CurrentDirectory.h>
#include <nybase/platform/FullPathName.h>
#include <nybase/platform/LastError.h>
#include <nybase/platform/NativePath.h>

#include "../support/TestSupport.h"

using namespace lu::platform;
using W = std::wstring;

TEST(FullPathName, AgainstAGivenDirectory) {
  const std::pair<const wchar_t*, const wchar_t*> cases[] = {
      {L"x.wav", L"Z:\\home\\u\\x.wav"}, {L"a/b\\\\c", L"Z:\\home\\u\\a\\b\\c"}, {L".", L"Z:\\home\\u"},
      {L"..\\..\\..\\x", L"Z:\\x"}, {L"Z:x", L"Z:\\home\\u\\x"}, {L"C:x", L"C:\\x"},
      {L"\\tmp\\x.wav", L"Z:\\tmp\\x.wav"},
      {L"c:/a//b/", L"c:\\a\\b\\"},
      {L"C:\\a\\..", L"C:\\"}, {L"C:\\a.\\b", L"C:\\a\\b"}, {L"C:\\a\\b. .", L"C:\\a\\b"},
      {L"\\\\server\\share\\..\\x", L"\\\\server\\share\\x"},
      {L"//./C:/a/../b", L"\\\\.\\C:\\b"},
      {L"\\\\.\\..", L"\\\\.\\"},
      // The exact verbatim prefix passes the text through untouched.
      {L"\\\\?\\C:\\a\\..\\/x", L"\\\\?\\C:\\a\\..\\/x"}, {L"\\??\\x", L"Z:\\??\\x"},
  };
  for (const auto& [in, out] : cases) {
    std::wstring full = L"unchanged";
    ASSERT_TRUE(GetFullPathNameFrom(in, L"Z:\\home\\u", full)) << in;
    EXPECT_EQ(full, W(out)) << in;
  }
}

TEST(FullPathName, BadInputFailsAndLeavesTheOutputAlone) {
  const std::pair<std::wstring, uint32_t> cases[] = {
      {L"", k_errorInvalidName}, {std::wstring(L"a\0b", 3), k_errorInvalidName},
      {L"C:\\" + std::wstring(40000, L'a'), k_errorFilenameTooLong},
  };
  for (const auto& [in, error] : cases) {
    std::wstring full = L"unchanged";
    SetLastError(0);
    EXPECT_FALSE(GetFullPathNameFrom(in, L"Z:\\", full));
    EXPECT_FALSE(GetFullPathNameW(in, full));
    EXPECT_EQ(GetLastError(), error);
    EXPECT_EQ(full, L"unchanged");
  }
}

TEST(FullPathName, UsesTheProcessCurrentDirectory) {
  nytest::TempDir dir;
  const std::filesystem::path previous = std::filesystem::current_path();
  std::filesystem::current_path(dir.Native());
  const std::wstring cwd = FromNativePath(std::filesystem::current_path().string());

  std::wstring got;
  ASSERT_TRUE(GetCurrentDirectoryW(got));
  EXPECT_EQ(got, cwd);
  ASSERT_TRUE(GetFullPathNameW(L"x.wav", got));
  EXPECT_EQ(got, cwd + L"\\x.wav");

  // A removed current directory cannot be read: relative paths fail, absolute ones do not.
  std::filesystem::create_directory("gone");
  std::filesystem::current_path("gone");
  std::filesystem::remove(dir.Native("gone"));
  got = L"unchanged";
  EXPECT_FALSE(GetCurrentDirectoryW(got));
  EXPECT_EQ(GetLastError(), k_errorFileNotFound);
  EXPECT_FALSE(GetFullPathNameW(L"x", got));
  EXPECT_EQ(got, L"unchanged");
  EXPECT_TRUE(GetFullPathNameW(L"\\x", got));
  EXPECT_EQ(got, L"Z:\\x");
  std::filesystem::current_path(previous);
}
