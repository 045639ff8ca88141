// lu::FileOperation and lu::CreateGuid against real files in a temporary directory.
#include <gtest/gtest.h>
#include <dirent.h>
#include <sys/stat.h>

#include <cstring>
#include <set>
#include <string>
#include <vector>

#include <nybase/files/FileOperation.h>

#include "../support/TestSupport.h"

using nytest::ReadFileBytes;
using nytest::TempDir;
using nytest::W16;
using nytest::WriteFileBytes;
namespace FO = lu::FileOperation;

namespace {

using Bytes = std::vector<uint8_t>;

lu::Path P(const TempDir& dir, const std::string& name = {}) {
  return lu::Path(CStdStr<wchar_t>(dir.Wide(name)));
}

std::vector<std::string> Entries(const std::string& native) {
  std::vector<std::string> names;
  if (DIR* d = ::opendir(native.c_str())) {
    while (dirent* e = ::readdir(d)) {
      if (std::strcmp(e->d_name, ".") != 0 && std::strcmp(e->d_name, "..") != 0) names.push_back(e->d_name);
    }
    ::closedir(d);
  }
  return names;
}

Bytes B(const char* s) { return Bytes(s, s + std::strlen(s)); }

}  // namespace

TEST(CreateGuid, Version4Variant10AndDistinct) {
  std::set<std::vector<uint8_t>> seen;
  for (int i = 0; i < 2000; ++i) {
    const NyGuid g = lu::CreateGuid();
    const auto* b = reinterpret_cast<const uint8_t*>(&g);
    ASSERT_EQ(b[7] >> 4, 4) << i;        // high nibble of the 16-bit field at byte 6
    ASSERT_EQ(b[8] >> 6, 2) << i;        // top two bits of the ninth byte
    seen.insert(std::vector<uint8_t>(b, b + 16));
  }
  EXPECT_EQ(seen.size(), 2000u);
}

TEST(FileOperationCreate, CreateNewIsExclusiveAndRefusesExistingFiles) {
  TempDir dir;
  lu::File first = FO::CreateNew(P(dir, "a.bin"));
  ASSERT_TRUE(first.IsOpen());
  lu::File again = FO::CreateNew(P(dir, "a.bin"));
  EXPECT_FALSE(again.IsOpen());
  EXPECT_EQ(lu::File::GetLastError(), lu::FileErrorOther);
  lu::File reader;
  EXPECT_NE(reader.Open(P(dir, "a.bin"), NyOpenModeRead, 0), NYRESULT_SUCCESS);  // exclusive
}

TEST(FileOperationCreate, TempFilesGetGuidNamesWithTheExtension) {
  TempDir dir;
  lu::Path a(L"unchanged");
  lu::Path b;
  lu::File fa = FO::CreateNewTempFile(P(dir), a, L"wav", NyFileFlagCreateNew);
  lu::File fb = FO::CreateNewTempFile(P(dir), b, L".tmp", NyFileFlagCreateNew);
  ASSERT_TRUE(fa.IsOpen() && fb.IsOpen());
  ASSERT_TRUE(fa.WriteExact("x", 1));
  fa.Close();
  const std::wstring folder = dir.Wide() + L"\\";
  const std::wstring textA = a.GetFullPath();
  const std::wstring textB = b.GetFullPath();
  ASSERT_EQ(textA.size(), folder.size() + 38 + 4) << a.c_str();
  EXPECT_EQ(textA.substr(folder.size(), 1) + textA.substr(folder.size() + 37), L"{}.wav");
  EXPECT_EQ(textB.substr(folder.size() + 38), L".tmp");
  EXPECT_NE(textA.substr(0, folder.size() + 38), textB.substr(0, folder.size() + 38));
  const std::wstring name = textA.substr(folder.size());
  EXPECT_EQ(ReadFileBytes(dir.Native(std::string(name.begin(), name.end()))), B("x"));
  // A folder given with a final separator still gets exactly one before the name.
  lu::Path c;
  EXPECT_TRUE(FO::CreateNewTempFile(lu::Path(CStdStr<wchar_t>(folder)), c, L"tmp", NyFileFlagDeleteOnClose).IsOpen());
  EXPECT_EQ(c.GetFullPath().substr(0, folder.size() + 1), folder + L"{");

  // No such directory, or a file given as the directory: closed, and the path is left alone.
  lu::Path kept(L"kept");
  EXPECT_FALSE(FO::CreateNewTempFile(P(dir, "missing"), kept, L"tmp", 0).IsOpen());
  EXPECT_FALSE(FO::CreateNewTempFile(a, kept, L"tmp", 0).IsOpen());
  EXPECT_EQ(kept.GetFullPath(), L"kept");
}

TEST(FileOperationProbe, IsWritableLeavesNoTrace) {
  TempDir dir;
  WriteFileBytes(dir.Native("file"), B("content"));
  ::mkdir(dir.Native("sub").c_str(), 0755);
  struct Case {
    const char* name;
    bool writable;
  } const cases[] = {{"sub", true}, {"file", true}, {"new.txt", true}, {"missing/x", false}};
  for (const Case& c : cases) EXPECT_EQ(FO::IsWritable(P(dir, c.name)), c.writable) << c.name;
  EXPECT_EQ(Entries(dir.Native()).size(), 2u);
  EXPECT_TRUE(Entries(dir.Native("sub")).empty());
  EXPECT_EQ(ReadFileBytes(dir.Native("file")), B("content"));

  if (nytest::IsRoot()) GTEST_SKIP() << "permissions do not bind root";
  ::chmod(dir.Native("file").c_str(), 0444);
  ::chmod(dir.Native("sub").c_str(), 0555);
  EXPECT_FALSE(FO::IsWritable(P(dir, "file")));
  EXPECT_FALSE(FO::IsWritable(P(dir, "sub")));
  ::chmod(dir.Native("sub").c_str(), 0755);
}

TEST(FileOperationCompare, AreFilesIdentical) {
  TempDir dir;
  Bytes big(20000);
  for (size_t i = 0; i < big.size(); ++i) big[i] = static_cast<uint8_t>(i * 7);
  Bytes lastDiffers = big;
  lastDiffers.back() ^= 1;
  Bytes firstDiffers = big;
  firstDiffers[0] ^= 1;
  WriteFileBytes(dir.Native("big"), big);
  WriteFileBytes(dir.Native("big2"), big);
  WriteFileBytes(dir.Native("last"), lastDiffers);
  WriteFileBytes(dir.Native("first"), firstDiffers);
  WriteFileBytes(dir.Native("short"), Bytes(big.begin(), big.end() - 1));
  WriteFileBytes(dir.Native("empty"), {});
  WriteFileBytes(dir.Native("empty2"), {});
  struct Case {
    const char* a;
    const char* b;
    bool same;
  } const cases[] = {
      {"big", "big2", true},      {"big", "last", false},       {"big", "first", false},
      {"big", "short", false},    {"empty", "empty2", true},    {"empty", "missing", false},
      {"missing", "empty", false}, {"missing", "gone", false},
  };
  for (const Case& c : cases) EXPECT_EQ(FO::AreFilesIdentical(P(dir, c.a), P(dir, c.b)), c.same) << c.a << " " << c.b;
}

TEST(FileOperationRead, WholeTextReads) {
  TempDir dir;
  struct Case {
    Bytes content;
    std::wstring text;      // ReadTextFile
    std::wstring utf8;      // ReadUtf8File
    std::string raw;        // ReadUtf8FileRaw, terminator included
  };
  const std::string bom = "\xEF\xBB\xBF";
  const Case cases[] = {
      {{}, L"", L"", std::string(1, '\0')},
      {B("\xEF\xBB\xBFhi"), L"\xFEFFhi", L"hi", std::string("hi\0", 3)},
      {B("a\xC3\xA9z"), L"a\x00E9z", L"a\x00E9z", std::string("a\xC3\xA9z\0", 5)},
      {{'a', 0, 'b'}, L"a", L"a", std::string("a\0b\0", 4)},
      {B("\xF0\x9F\x8E\xB5!"), W16(u"\U0001F3B5!"), W16(u"\U0001F3B5!"), std::string("\xF0\x9F\x8E\xB5!\0", 6)},
      {B("x\xFFy"), L"x\xFFFDy", L"x\xFFFDy", std::string("x\xFFy\0", 4)},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    WriteFileBytes(dir.Native("t"), cases[i].content);
    EXPECT_EQ(std::wstring(FO::ReadTextFile(P(dir, "t"))), cases[i].text) << i;
    EXPECT_EQ(std::wstring(FO::ReadUtf8File(P(dir, "t"))), cases[i].utf8) << i;
    EXPECT_EQ(FO::ReadUtf8FileRaw(P(dir, "t")), cases[i].raw) << i;
  }
  EXPECT_TRUE(FO::ReadTextFile(P(dir, "missing")).empty());
  EXPECT_TRUE(FO::ReadUtf8FileRaw(P(dir, "missing")).empty());
}

TEST(FileOperationStreams, OpenTextStreamDecodesUtf8ThenUtf16) {
  TempDir dir;
  struct Case {
    Bytes content;
    bool opens;
    std::wstring text;
  };
  const Case cases[] = {
      {B("\xEF\xBB\xBF" "caf\xC3\xA9\n"), true, L"caf\x00E9\n"}, {B("plain"), true, L"plain"},
      {{0xFF, 0xFE, 'h', 0, 'i', 0, 0xAC, 0x20}, true, L"hi\x20AC"},  // little-endian with its mark
      {{0xFE, 0xFF, 0x00, 'o', 0x00, 'k'}, true, L"ok"},             // big-endian with its mark
      {{0x00, 'o', 0x00, 'k'}, true, std::wstring(L"\0o\0k", 4)},  // NULs are valid UTF-8
      {{0xFF, 0xFE}, false, L""},                                    // a mark and nothing else
      {{}, false, L""},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    WriteFileBytes(dir.Native("s"), cases[i].content);
    std::wifstream stream;
    ASSERT_EQ(FO::OpenTextStream(stream, P(dir, "s")), cases[i].opens) << i;
    if (!cases[i].opens) continue;
    EXPECT_EQ(std::wstring(FO::GetTextStreamErrorString(stream)), L"") << i;
    std::wstring text;
    for (wchar_t c; stream.get(c);) text.push_back(c);
    EXPECT_EQ(text, cases[i].text) << i;
    EXPECT_EQ(std::wstring(FO::GetTextStreamErrorString(stream)), L"End-of-File reached") << i;
  }
  std::wifstream missing;
  EXPECT_FALSE(FO::OpenTextStream(missing, P(dir, "missing")));
  EXPECT_EQ(std::wstring(FO::GetTextStreamErrorString(missing)), L"Logical error on I/O");
}

TEST(FileOperationStreams, OpenFileWithWideNamesAndModes) {
  TempDir dir;
  const CStdStr<wchar_t> name(dir.Wide("c.txt"));
  FILE* f = nullptr;
  ASSERT_TRUE(FO::WithOpenFile(&f, name, L"wt"));
  std::fputs("line", f);
  std::fclose(f);
  EXPECT_EQ(ReadFileBytes(dir.Native("c.txt")), B("line"));
  EXPECT_FALSE(FO::WithOpenFile(nullptr, name, L"r"));
  EXPECT_FALSE(FO::WithOpenFile(&f, CStdStr<wchar_t>(dir.Wide("missing")), L"r"));
  EXPECT_EQ(f, nullptr);
  EXPECT_EQ(FO::OpenFile(name, L"q"), nullptr);
  EXPECT_EQ(FO::OpenFile(CStdStr<wchar_t>(L"C:\\x.txt"), L"w"), nullptr);  // only drive Z: exists here
}
