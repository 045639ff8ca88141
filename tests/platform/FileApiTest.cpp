// The platform's file services: open dispositions, attributes and wildcard searches.
#include <gtest/gtest.h>
#include <nybase/platform/FileApi.h>
#include <nybase/platform/LastError.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <algorithm>
#include <string>
#include <vector>

#include "../support/TestSupport.h"

using namespace lu::platform;
using nytest::TempDir;

TEST(FileApi, OpenDispositionsReportWindowsErrors) {
  TempDir dir;
  nytest::WriteFileBytes(dir.Native("f"), {1, 2, 3});
  struct Case {
    std::string name;
    uint32_t access;
    uint32_t disposition;
    uint32_t error;  // 0: the open succeeds
  };
  const Case cases[] = {
      {"f", k_genericRead, k_createNew, k_errorFileExists},
      {"f", k_genericRead, k_truncateExisting, k_errorInvalidParameter},
      {"f", k_genericRead, 6, k_errorInvalidParameter},
      {"g", k_genericRead, k_openExisting, k_errorFileNotFound},
      {"no/g", k_genericWrite, k_openAlways, k_errorPathNotFound},
      {"f/g", k_genericRead, k_openExisting, k_errorPathNotFound},
      {"f", k_genericRead | k_genericWrite, k_truncateExisting, 0},
  };
  for (const Case& c : cases) {
    const std::wstring path = dir.Wide(c.name);
    SetLastError(12345);
    const FileHandle h = CreateFileW(path.data(), path.size(), c.access, k_fileShareRead, c.disposition, 0);
    EXPECT_EQ(GetLastError(), c.error) << c.name << " " << c.disposition;
    EXPECT_EQ(h != k_invalidFileHandle, c.error == 0);
    if (h != k_invalidFileHandle) {
      EXPECT_TRUE(CloseHandle(h));
    }
  }
  EXPECT_TRUE(nytest::ReadFileBytes(dir.Native("f")).empty()) << "the last case truncates";
}

TEST(FileApi, AttributesFollowModeBitsNamesAndTheHiddenMark) {
  TempDir dir;
  nytest::WriteFileBytes(dir.Native("plain"), {1, 2});
  nytest::WriteFileBytes(dir.Native(".dot"), {1});
  nytest::WriteFileBytes(dir.Native("ro"), {1});
  ASSERT_EQ(::chmod(dir.Native("ro").c_str(), 0444), 0);
  ASSERT_EQ(::mkdir(dir.Native("sub").c_str(), 0755), 0);
  const std::pair<std::string, uint32_t> cases[] = {
      {"plain", k_fileAttributeNormal}, {".dot", k_fileAttributeHidden}, {"ro", k_fileAttributeReadOnly},
      {"sub", k_fileAttributeDirectory},
  };
  for (const auto& [name, attributes] : cases) {
    const std::wstring path = dir.Wide(name);
    FileAttributeData data;
    ASSERT_TRUE(GetFileAttributesExW(path.data(), path.size(), data)) << name;
    EXPECT_EQ(data.attributes, attributes) << name;
  }
  const std::wstring plain = dir.Wide("plain");
  FileAttributeData data;
  if (::setxattr(dir.Native("plain").c_str(), "user.nybase.hidden", "1", 1, 0) == 0) {
    ASSERT_TRUE(GetFileAttributesExW(plain.data(), plain.size(), data));
    EXPECT_EQ(data.attributes, k_fileAttributeHidden);
  }
  const std::wstring missing = dir.Wide("none");
  EXPECT_FALSE(GetFileAttributesExW(missing.data(), missing.size(), data));
  EXPECT_EQ(GetLastError(), k_errorFileNotFound);
}

TEST(FileApi, SearchesMatchWildcardsWithoutCaseInNameOrder) {
  TempDir dir;
  for (const char* name : {"b.WAV", "a.wav", "C.wav", "a.txt", "noext", "ab"})
    nytest::WriteFileBytes(dir.Native(name), {});
  struct Case {
    std::string pattern;
    std::vector<std::string> names;  // empty: the search fails with `error`
    uint32_t error;
  };
  const Case cases[] = {
      {"*.wav", {"a.wav", "b.WAV", "C.wav"}, 0}, {"a*", {"a.txt", "a.wav", "ab"}, 0},
      {"*.*", {".", "..", "a.txt", "a.wav", "ab", "b.WAV", "C.wav", "noext"}, 0},
      {"z*", {}, k_errorFileNotFound}, {"nodir/*", {}, k_errorPathNotFound},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.pattern);
    const std::wstring pattern = dir.Wide(c.pattern);
    FindData data;
    FindHandle find = FindFirstFileExW(pattern.data(), pattern.size(), data);
    if (c.names.empty()) {
      EXPECT_EQ(find, nullptr);
      EXPECT_EQ(GetLastError(), c.error);
      continue;
    }
    ASSERT_NE(find, nullptr);
    std::vector<std::string> got;
    do {
      std::string name;
      for (const wchar_t* p = data.fileName; *p; ++p) name.push_back(static_cast<char>(*p));
      got.push_back(name);
    } while (FindNextFileW(find, data));
    EXPECT_EQ(GetLastError(), k_errorNoMoreFiles);
    EXPECT_TRUE(FindClose(find));
    EXPECT_EQ(got, c.names);
  }
}

TEST(FileApi, RangeCopyKeepsBufferedWritesInOrderAndFallsBackWhereTheKernelCannot) {
  TempDir dir;
  std::vector<uint8_t> source(100000);
  for (size_t i = 0; i < source.size(); ++i) source[i] = uint8_t(i * 13 + 1);
  nytest::WriteFileBytes(dir.Native("src"), source);
  FILE* in = std::fopen(dir.Native("src").c_str(), "r+b");
  FILE* out = std::fopen(dir.Native("dst").c_str(), "w+b");
  ASSERT_NE(in, nullptr);
  ASSERT_NE(out, nullptr);
  // A buffered write on each side: the source's must be copied, the target's must come first.
  ASSERT_EQ(std::fseek(in, 10, SEEK_SET), 0);
  ASSERT_EQ(std::fputc(0xEE, in), 0xEE);
  source[10] = 0xEE;
  ASSERT_GE(std::fputs("head", out), 0);

  size_t copied = 0;
  ASSERT_EQ(CopyStreamRange(in, 5, out, 60000, copied), RangeCopy::Copied);
  EXPECT_EQ(copied, 60000u);
  EXPECT_EQ(::ftello(out), 60004);
  EXPECT_EQ(::ftello(in), 11) << "the source's position does not move";
  // Past the end of the source only what exists is copied; at the end nothing.
  ASSERT_EQ(CopyStreamRange(in, 99990, out, 50, copied), RangeCopy::Copied);
  EXPECT_EQ(copied, 10u);
  ASSERT_EQ(CopyStreamRange(in, 100000, out, 50, copied), RangeCopy::Copied);
  EXPECT_EQ(copied, 0u);
  ASSERT_GE(std::fputs("tail", out), 0);
  std::fclose(out);

  std::vector<uint8_t> expected = {'h', 'e', 'a', 'd'};
  expected.insert(expected.end(), source.begin() + 5, source.begin() + 60005);
  expected.insert(expected.end(), source.end() - 10, source.end());
  expected.insert(expected.end(), {'t', 'a', 'i', 'l'});
  EXPECT_EQ(nytest::ReadFileBytes(dir.Native("dst")), expected);

  // Targets the kernel cannot copy into are left to the caller, unchanged.
  FILE* appending = std::fopen(dir.Native("app").c_str(), "ab");
  FILE* device = std::fopen("/dev/null", "wb");
  ASSERT_NE(appending, nullptr);
  ASSERT_NE(device, nullptr);
  for (FILE* target : {appending, device}) {
    EXPECT_EQ(CopyStreamRange(in, 0, target, 1000, copied), RangeCopy::Unsupported);
    EXPECT_EQ(copied, 0u);
    EXPECT_EQ(::ftello(target), 0);
  }
  std::fclose(appending);
  std::fclose(device);
  std::fclose(in);
  EXPECT_TRUE(nytest::ReadFileBytes(dir.Native("app")).empty());
}

TEST(FileApi, LargeReadsBypassingTheBufferKeepTheStreamPosition) {
  TempDir dir;
  std::vector<uint8_t> bytes(200000);
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = uint8_t(i * 29 + i / 251);
  nytest::WriteFileBytes(dir.Native("f"), bytes);
  FILE* stream = std::fopen(dir.Native("f").c_str(), "r+b");
  ASSERT_NE(stream, nullptr);
  std::vector<uint8_t> got(bytes.size());
  size_t at = 0;
  // Small reads leave read-ahead in the buffer, a write leaves pending bytes; each large read
  // after them must start exactly where the stream stands.
  const struct {
    size_t size;
    bool writeFirst;
  } steps[] = {{7, false}, {40000, false}, {20000, false}, {100, false}, {16384, true}, {3, false}, {200000, false}};
  for (const auto& step : steps) {
    if (step.writeFirst) {
      ASSERT_EQ(std::fseek(stream, 0, SEEK_CUR), 0);
      ASSERT_EQ(std::fputc(0x5A, stream), 0x5A);
      bytes[at] = 0x5A;
      ASSERT_EQ(std::fseek(stream, 0, SEEK_CUR), 0);
      ++at;
    }
    const size_t expected = std::min(step.size, bytes.size() - at);
    ASSERT_EQ(ReadStream(stream, got.data(), step.size), expected) << step.size;
    EXPECT_TRUE(std::equal(got.begin(), got.begin() + long(expected), bytes.begin() + long(at))) << step.size;
    at += expected;
    EXPECT_EQ(TellStream(stream), int64_t(at));
  }
  // Seeks to a buffer boundary and elsewhere: the stream may remember the offset it sought to,
  // which must not outlive a read that bypassed it.
  for (const int64_t to : {int64_t{8192}, int64_t{5}}) {
    EXPECT_EQ(SeekStream(stream, to, 0), to);
    ASSERT_EQ(ReadStream(stream, got.data(), 20000), 20000u);
    EXPECT_TRUE(std::equal(got.begin(), got.begin() + 20000, bytes.begin() + to));
    EXPECT_EQ(TellStream(stream), to + 20000);
  }
  std::fclose(stream);
  EXPECT_EQ(nytest::ReadFileBytes(dir.Native("f")), bytes) << "only the one byte was written";
}
