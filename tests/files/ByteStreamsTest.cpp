// Byte streams on files and memory, the string record, and memory-mapped files.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <nybase/files/MemoryMappedFile.h>
#include <nybase/files/ReadBytesLuFile.h>
#include <nybase/files/ReadBytesMem.h>
#include <nybase/files/WriteBytesLuFile.h>
#include <nybase/files/WriteBytesMem.h>

#include "../support/TestSupport.h"

using nytest::ReadFileBytes;
using nytest::TempDir;
using nytest::W16;
using nytest::WriteFileBytes;
using Bytes = std::vector<uint8_t>;

namespace {

lu::Path P(const TempDir& dir, const std::string& name) { return lu::Path(CStdStr<wchar_t>(dir.Wide(name))); }

lu::File OpenFile(const TempDir& dir, const std::string& name, NyOpenMode mode) {
  lu::File f;
  EXPECT_EQ(f.Open(P(dir, name), mode, 0), NYRESULT_SUCCESS);
  return f;
}

}  // namespace

TEST(StringRecord, BytesOnDiskAndRoundTrip) {
  const struct {
    std::wstring text;
    Bytes bytes;
  } rows[] = {
      {L"", {0, 0, 0, 0}},
      {L"ab", {2, 0, 0, 0, 'a', 'b'}},
      {L"\u20AC\u20AC\u20AC", {9, 0, 0, 0, 0xE2, 0x82, 0xAC, 0xE2, 0x82, 0xAC, 0xE2, 0x82, 0xAC}},
      {W16(u"\U0001F3B5"), {4, 0, 0, 0, 0xF0, 0x9F, 0x8E, 0xB5}},  // a surrogate pair
      {std::wstring(1, 0xD800), {3, 0, 0, 0, 0xEF, 0xBF, 0xBD}},    // a lone surrogate: U+FFFD
  };
  TempDir dir;
  for (const auto& row : rows) {
    lu::File out = OpenFile(dir, "s.bin", NyOpenModeWriteOverwrite);
    EXPECT_TRUE(WriteBytesLuFile(&out).WriteLuString(row.text));
    out.Close();
    EXPECT_EQ(ReadFileBytes(dir.Native("s.bin")), row.bytes);
    lu::File in = OpenFile(dir, "s.bin", NyOpenModeRead);
    CStdStr<wchar_t> back(L"stale");
    EXPECT_TRUE(ReadBytesLuFile(&in).ReadLuString(back, 0));
    EXPECT_EQ(back, row.text[0] == 0xD800 ? std::wstring(1, 0xFFFD) : row.text);
  }
}

TEST(StringRecord, LimitsAndShortReadsLeaveTheOutputAlone) {
  TempDir dir;
  WriteFileBytes(dir.Native("five.bin"), {5, 0, 0, 0, 'a', 'b', 'c', 'd', 'e', 9});
  lu::File in = OpenFile(dir, "five.bin", NyOpenModeRead);
  ReadBytesLuFile reader(&in);
  CStdStr<wchar_t> out(L"keep");
  EXPECT_FALSE(reader.ReadLuString(out, 4));
  EXPECT_EQ(out, L"keep");
  char next = 0;
  int done = 0;
  EXPECT_TRUE(reader.ReadBytes(&next, 1, done));  // the four length bytes were consumed
  EXPECT_EQ(next, 'a');
  // A forged length far beyond the file: a short read, no allocation of the claimed size.
  WriteFileBytes(dir.Native("forged.bin"), {0xF0, 0xFF, 0xFF, 0x7F, 'x'});
  lu::File forged = OpenFile(dir, "forged.bin", NyOpenModeRead);
  EXPECT_FALSE(ReadBytesLuFile(&forged).ReadLuString(out, 0));
  EXPECT_EQ(out, L"keep");
  WriteFileBytes(dir.Native("short.bin"), {1, 0});
  lu::File shortFile = OpenFile(dir, "short.bin", NyOpenModeRead);
  EXPECT_FALSE(ReadBytesLuFile(&shortFile).ReadLuString(out, 0));
}

TEST(FileByteStreams, ClosedFilesAndNegativeSizes) {
  lu::File closed;
  char buffer[4] = {1, 2, 3, 4};
  int done = 7;
  EXPECT_TRUE(ReadBytesLuFile(&closed).ReadBytes(buffer, 0, done));
  EXPECT_FALSE(ReadBytesLuFile(&closed).ReadBytes(buffer, 4, done));
  EXPECT_EQ(done, 0);
  EXPECT_FALSE(WriteBytesLuFile(&closed).WriteBytes(buffer, 4, done));
  EXPECT_TRUE(WriteBytesLuFile(&closed).WriteBytes(buffer, 0, done));
  TempDir dir;
  WriteFileBytes(dir.Native("a.bin"), {9, 9, 9, 9, 9, 9, 9, 9});
  lu::File f = OpenFile(dir, "a.bin", NyOpenModeRead);
  done = 7;
  EXPECT_FALSE(ReadBytesLuFile(&f).ReadBytes(buffer, -1, done));
  EXPECT_EQ(done, 0);
  EXPECT_EQ(buffer[0], 1);
  EXPECT_FALSE(WriteBytesLuFile(&f).WriteBytes(buffer, INT_MIN, done));
}

TEST(ReadBytesMem, ShortReadsMoveByTheRequestedSize) {
  const char data[] = {'a', 'b', 'c'};
  ReadBytesMem reader(data, 3);
  char out[8] = {};
  int done = -1;
  EXPECT_FALSE(reader.ReadBytes(out, 5, done));
  EXPECT_EQ(done, 3);
  EXPECT_EQ(std::string(out, 3), "abc");
  // The position is now 5, past the end: further reads copy nothing and stay in bounds.
  EXPECT_FALSE(reader.ReadBytes(out, 1, done));
  EXPECT_EQ(done, 0);
  reader.Seek(-6);  // the failed read moved the position to 6
  EXPECT_TRUE(reader.ReadBytes(out, 2, done));
  EXPECT_EQ(std::string(out, 2), "ab");
  reader.Seek(-100);  // before the start: nothing is read from there
  EXPECT_FALSE(reader.ReadBytes(out, 2, done));
  EXPECT_EQ(done, 0);
  reader.Attach(data, 3);
  EXPECT_FALSE(reader.ReadBytes(out, -2, done));
  EXPECT_TRUE(reader.ReadBytes(out, 3, done));
  ReadBytesMem empty;
  done = 42;
  EXPECT_FALSE(empty.ReadBytes(out, 1, done));
  EXPECT_EQ(done, 42);
}

TEST(ReadBytesMem, StringsAreViewsUpToEachNul) {
  const char data[] = {'h', 'i', 0, 0, 'x', 'y'};
  ReadBytesMem reader(data, 6);
  lu::BasicStringView<char> view;
  ASSERT_TRUE(reader.ReadString(view));
  EXPECT_EQ(view.data(), data);
  EXPECT_EQ(view.size(), 2u);
  ASSERT_TRUE(reader.ReadString(view));
  EXPECT_EQ(view.size(), 0u);
  EXPECT_FALSE(reader.ReadString(view));  // "xy" has no NUL: the position stays
  char out[2];
  int done = 0;
  EXPECT_TRUE(reader.ReadBytes(out, 2, done));
  EXPECT_EQ(out[1], 'y');
  EXPECT_FALSE(reader.ReadString(view));  // at the end
}

TEST(WriteBytesMem, GrowsInKibiSteps) {
  WriteBytesMem w;
  const struct {
    int reserve;
    int capacity;
  } rows[] = {{0, 0}, {1, 1024}, {1024, 1024}, {1025, 2048}, {10, 2048}, {4097, 5120}};
  for (const auto& row : rows) {
    EXPECT_TRUE(w.Reserve(row.reserve));
    EXPECT_EQ(w.Size(), row.capacity) << row.reserve;
  }
  WriteBytesMem fresh;
  EXPECT_EQ(fresh.Detach(), nullptr);
  EXPECT_FALSE(fresh.Reserve(INT_MAX));  // rounding up would pass the int range
}

TEST(WriteBytesMem, AppendsStringsAndDetaches) {
  WriteBytesMem w;
  EXPECT_TRUE(w.WriteString(lu::BasicStringView<char>()));
  EXPECT_EQ(w.Count(), 1);
  EXPECT_TRUE(w.WriteString("abc"));
  std::string big(3000, 'z');
  int done = 0;
  EXPECT_TRUE(w.WriteBytes(big.data(), 3000, done));
  EXPECT_EQ(done, 3000);
  EXPECT_EQ(w.Count(), 3005);
  EXPECT_EQ(w.Size(), 3072);
  EXPECT_FALSE(w.WriteBytes(big.data(), -1, done));
  EXPECT_EQ(done, 0);
  EXPECT_EQ(w.Count(), 3005);
  ReadBytesMem reader(w.Bytes(), w.Count());
  lu::BasicStringView<char> view;
  ASSERT_TRUE(reader.ReadString(view) && reader.ReadString(view));
  EXPECT_EQ(view.str(), "abc");
  // The copy shares the block: one of the two detaches it and frees it, the other keeps it.
  WriteBytesMem copy(w);
  EXPECT_EQ(copy.Bytes(), w.Bytes());
  unsigned char* block = copy.Detach();
  EXPECT_EQ(copy.Count(), 0);
  EXPECT_EQ(copy.Size(), 0);
  EXPECT_EQ(block, w.Bytes());
  w.Clear();
  EXPECT_EQ(w.Count(), 0);
  EXPECT_EQ(w.Bytes(), block);
  w.SetCount(5000);  // beyond the capacity: the next write grows the block to cover it
  EXPECT_TRUE(w.WriteBytes("q", 1, done));
  EXPECT_GE(w.Size(), 5001);
  EXPECT_EQ(w.Bytes()[5000], 'q');
  w.SetCount(-4);
  EXPECT_FALSE(w.WriteBytes("q", 1, done));
}

// Appends of every size through the short-copy classes (1..64) and past them keep the bytes in
// order (ASan checks that no copy reads past its source).
TEST(WriteBytesMem, AppendsEverySizeInOrder) {
  WriteBytesMem w;
  std::vector<unsigned char> expected;
  int done = 0;
  for (int n = 1; n <= 130; ++n) {
    std::vector<unsigned char> piece(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) piece[static_cast<size_t>(i)] = static_cast<unsigned char>(n * 7 + i);
    ASSERT_TRUE(w.WriteBytes(piece.data(), n, done));
    expected.insert(expected.end(), piece.begin(), piece.end());
  }
  ASSERT_EQ(w.Count(), static_cast<int>(expected.size()));
  EXPECT_TRUE(std::equal(expected.begin(), expected.end(), w.Bytes()));
}

TEST(WriteBytesMem, EveryWriteAsksTheVirtualReserve) {
  struct Counting : WriteBytesMem {
    bool Reserve(int required) override {
      asked.push_back(required);
      return WriteBytesMem::Reserve(required);
    }
    std::vector<int> asked;
  } w;
  int done = 0;
  w.WriteBytes("abc", 3, done);
  w.WriteBytes("de", 2, done);  // room is there, and Reserve is still called
  EXPECT_EQ(w.asked, (std::vector<int>{3, 5}));
}

TEST(MemoryMappedFile, MapsReadsWritesAndExtends) {
  TempDir dir;
  lu::MemoryMappedFile m;
  EXPECT_EQ(m.GetFileSize(), ~0ull);
  EXPECT_FALSE(m.Unmap());
  WriteFileBytes(dir.Native("empty.bin"), {});
  EXPECT_EQ(m.Map(P(dir, "empty.bin"), NyOpenModeRead, 0, 0), nullptr);
  EXPECT_EQ(m.GetFileSize(), ~0ull);
  EXPECT_EQ(m.Map(P(dir, "missing.bin"), NyOpenModeRead, 0, 0), nullptr);
  EXPECT_EQ(m.GetLastError(), lu::FileErrorNotFound);

  WriteFileBytes(dir.Native("a.bin"), {1, 2, 3, 4, 5});
  const auto* view = static_cast<const uint8_t*>(m.Map(P(dir, "a.bin"), NyOpenModeRead, 0, 0));
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(m.GetLastError(), lu::FileErrorNone);
  EXPECT_EQ(m.GetFileSize(), 5u);
  EXPECT_EQ(Bytes(view, view + 5), (Bytes{1, 2, 3, 4, 5}));
  EXPECT_TRUE(m.Unmap());
  EXPECT_EQ(m.GetFileSize(), ~0ull);
  // A read-only mapping cannot grow the file.
  EXPECT_EQ(m.Map(P(dir, "a.bin"), NyOpenModeRead, 0, 8), nullptr);
  EXPECT_EQ(ReadFileBytes(dir.Native("a.bin")).size(), 5u);

  // Write is raised to read-write: the view is writable and a larger size extends the file.
  auto* rw = static_cast<uint8_t*>(m.Map(P(dir, "a.bin"), NyOpenModeWrite, 0, 8));
  ASSERT_NE(rw, nullptr);
  EXPECT_EQ(rw[4], 5);
  EXPECT_EQ(rw[7], 0);
  rw[0] = 0xAA;
  rw[7] = 0xBB;
  EXPECT_TRUE(m.UnmapAndTruncate(6));
  EXPECT_EQ(ReadFileBytes(dir.Native("a.bin")), (Bytes{0xAA, 2, 3, 4, 5, 0}));
  EXPECT_FALSE(m.UnmapAndTruncate(1));
  EXPECT_EQ(ReadFileBytes(dir.Native("a.bin")).size(), 6u);
}
