// Mapping Windows-grammar path text to native paths and back.
#include <gtest/gtest.h>

#include <nybase/platform/LastError.h>
#include <nybase/platform/NativePath.h>

using namespace lu::platform;

TEST(NativePath, ToNativeMapsDriveZAndRootedPaths) {
  struct Case {
    const wchar_t* in;
    const char* out;
  };
  const Case cases[] = {
      {L"Z:\\home\\u\\a.wav", "/home/u/a.wav"}, {L"\\tmp\\x.wav", "/tmp/x.wav"},
      {L"\\\\?\\Z:\\tmp\\x", "/tmp/x"}, {L"a\\b.wav", "a/b.wav"}, {L"Z:rel\\x", "rel/x"}, {L"Z:", "."},
      {L"\u00E9t\u00E9.wav", "\xC3\xA9t\xC3\xA9.wav"},
  };
  for (const Case& c : cases) {
    std::string native;
    ASSERT_TRUE(ToNativePath(c.in, std::wcslen(c.in), native)) << c.out;
    EXPECT_EQ(native, c.out);
  }
}

TEST(NativePath, UnmappedPathsAreNotFound) {
  const wchar_t* cases[] = {L"C:\\x.wav", L"\\\\server\\share\\x", L"\\\\?\\UNC\\server\\share", L""};
  for (const wchar_t* c : cases) {
    std::string native = "unchanged";
    SetLastError(0);
    EXPECT_FALSE(ToNativePath(c, std::wcslen(c), native)) << static_cast<const void*>(c);
    EXPECT_EQ(GetLastError(), k_errorPathNotFound);
  }
  std::string native;
  const wchar_t withNul[] = {L'a', 0, L'b'};
  EXPECT_FALSE(ToNativePath(withNul, 3, native));
  EXPECT_EQ(GetLastError(), k_errorInvalidName);
}

TEST(NativePath, FromNativeGivesAbsoluteWindowsGrammar) {
  EXPECT_EQ(FromNativePath("/home/u/a.wav"), L"Z:\\home\\u\\a.wav");
  EXPECT_EQ(FromNativePath("/"), L"Z:\\");
  EXPECT_EQ(FromNativePath("rel/x"), L"rel\\x");
  EXPECT_EQ(FromNativePath(""), L"");
}

TEST(LastError, TranslatesErrnoToWindowsNumbers) {
  struct Case {
    int err;
    uint32_t win;
  };
  const Case cases[] = {{ENOENT, 2},  {ENOTDIR, 3},  {EACCES, 5},      {EROFS, 5},     {EEXIST, 80},
                        {EINVAL, 87}, {ENOSPC, 112}, {ENOTEMPTY, 145}, {EMFILE, 1450}, {EWOULDBLOCK, 32}};
  for (const Case& c : cases) EXPECT_EQ(ErrorFromErrno(c.err), c.win) << c.err;
  SetLastErrorFromErrno(ENOSPC);
  EXPECT_EQ(GetLastError(), 112u);
}
