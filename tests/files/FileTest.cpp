// lu::File and lu::GetFileInfo against real files in a temporary directory.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <nybase/files/File.h>
#include <nybase/platform/LastError.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

#include "../support/TestSupport.h"

using lu::File;
using nytest::ReadFileBytes;
using nytest::TempDir;
using nytest::WriteFileBytes;

namespace {

std::vector<uint8_t> Bytes(const char* s) { return std::vector<uint8_t>(s, s + std::strlen(s)); }

// A path value in the directory, in the Windows grammar the library hands out ("Z:\tmp\...").
lu::Path P(const TempDir& dir, const std::string& name) { return lu::Path(CStdStr<wchar_t>(dir.Wide(name))); }
lu::Path P(const std::wstring& text) { return lu::Path(CStdStr<wchar_t>(text)); }

bool Exists(const std::string& native) {
  struct stat st;
  return ::lstat(native.c_str(), &st) == 0;
}

// Reads everything from the current position to the end of the file.
std::string ReadRest(const File& f) {
  std::string out;
  char buf[64];
  unsigned int done = 0;
  while (f.Read(buf, sizeof buf, done) && done > 0) out.append(buf, done);
  return out;
}

void SetMTime(const std::string& native, time_t sec, long nsec) {
  const timespec times[2] = {{0, UTIME_OMIT}, {sec, nsec}};
  ASSERT_EQ(::utimensat(AT_FDCWD, native.c_str(), times, 0), 0);
}

}  // namespace

TEST(FileOpen, EachModeOnExistingAndMissingFiles) {
  struct Case {
    NyOpenMode mode;
    bool exists;
    NYRESULT result;
    const char* readBack;    // what a read from the start gives; null: reading is refused
    const char* afterWrite;  // file contents after seeking to 0 and writing "XY"; null: not written
  };
  const Case cases[] = {
      {NyOpenModeRead, true, 1, "abc", nullptr},      {NyOpenModeRead, false, 66, nullptr, nullptr},
      {NyOpenModeWrite, true, 1, nullptr, "abcXY"},   {NyOpenModeWrite, false, 1, nullptr, "XY"},
      {NyOpenModeWriteOverwrite, true, 1, "", "XY"},  {NyOpenModeWriteOverwrite, false, 1, "", "XY"},
      {NyOpenModeReadWrite, true, 1, "abc", "abcXY"}, {NyOpenModeReadWrite, false, 1, "", "XY"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "mode " << c.mode << (c.exists ? " existing" : " missing"));
    TempDir dir;
    const std::string native = dir.Native("f.bin");
    if (c.exists) WriteFileBytes(native, Bytes("abc"));
    File f;
    ASSERT_EQ(f.Open(P(dir, "f.bin"), c.mode, 0), c.result);
    if (c.result != 1) {
      EXPECT_FALSE(f.IsOpen());
      EXPECT_EQ(File::GetLastError(), lu::FileErrorNotFound);
      EXPECT_FALSE(Exists(native));
      continue;
    }
    EXPECT_TRUE(f.IsOpen());
    char b;
    unsigned int done = 7;
    if (c.readBack) {
      EXPECT_EQ(ReadRest(f), c.readBack);
    } else {
      EXPECT_TRUE(f.Read(&b, 1, done));
      EXPECT_EQ(done, 0u);
      EXPECT_EQ(File::GetLastError(), lu::FileErrorAccessDenied);
    }
    EXPECT_EQ(f.SetFilePointer(0, lu::FilePointerBegin), 0);
    EXPECT_EQ(f.WriteExact("XY", 2), c.afterWrite != nullptr);
    if (!c.afterWrite) {
      EXPECT_EQ(File::GetLastError(), lu::FileErrorAccessDenied);
    }
    EXPECT_EQ(f.Close(), 1);
    const std::vector<uint8_t> got = ReadFileBytes(native);
    EXPECT_EQ(std::string(got.begin(), got.end()), c.afterWrite ? c.afterWrite : "abc");
  }
}

TEST(FileOpen, InvalidArgumentsAreRefusedBeforeTouchingTheDisk) {
  TempDir dir;
  File f;
  EXPECT_EQ(f.Open(lu::Path(L""), NyOpenModeRead, 0), 31);
  for (int mode : {4, -1, 100}) {
    EXPECT_EQ(f.Open(P(dir, "m"), static_cast<NyOpenMode>(mode), 0), 31) << mode;
  }
  EXPECT_FALSE(Exists(dir.Native("m")));
  EXPECT_FALSE(f.IsOpen());

  File owner;
  ASSERT_EQ(owner.Open(P(dir, "v"), NyOpenModeWriteOverwrite, 0), 1);
  File view = File::CreateView(owner);
  EXPECT_EQ(view.Open(lu::Path(L""), NyOpenModeRead, 0), 2);
  EXPECT_EQ(view.Open(P(dir, "other"), NyOpenModeWrite, 0), 2);
  EXPECT_FALSE(Exists(dir.Native("other")));
}

TEST(FileOpen, BadPathsFailWithAReasonAndCreateNothing) {
  TempDir dir;
  WriteFileBytes(dir.Native("keep"), Bytes("keep"));
  ASSERT_EQ(::mkdir(dir.Native("sub").c_str(), 0755), 0);
  struct Case {
    std::wstring path;
    NYRESULT result;
    lu::FileError error;
  } const cases[] = {
      {dir.Wide("missing\\f.bin"), 66, lu::FileErrorNotFound},
      {L"C:\\nybase\\f.bin", 66, lu::FileErrorNotFound}, {dir.Wide("a<b"), 2, lu::FileErrorOther},
      {dir.Wide("a:stream"), 2, lu::FileErrorOther}, {dir.Wide(std::string(300, 'n')), 2, lu::FileErrorOther},
      {dir.Wide("sub"), 2, lu::FileErrorAccessDenied},
      {dir.Wide("nul") + std::wstring(1, L'\0') + L"x", 2, lu::FileErrorOther},
  };
  for (const Case& c : cases) {
    for (int mode = 0; mode < 4; ++mode) {
      SCOPED_TRACE(testing::Message() << "mode " << mode << " path " << c.path.size() << " units");
      lu::platform::SetLastError(0);
      File f;
      EXPECT_EQ(f.Open(P(c.path), static_cast<NyOpenMode>(mode), 0), c.result);
      EXPECT_EQ(File::GetLastError(), c.error);
      EXPECT_FALSE(f.IsOpen());
    }
  }
  EXPECT_EQ(ReadFileBytes(dir.Native("keep")), Bytes("keep"));
  EXPECT_FALSE(Exists(dir.Native("nul")));
  EXPECT_EQ(nytest::Run("test $(ls -A '" + dir.Native() + "' | wc -l) -eq 2"), 0) << "an open created a file";
}

TEST(FileOpen, CreateNewRefusesAnExistingFileInEveryMode) {
  TempDir dir;
  WriteFileBytes(dir.Native("old"), Bytes("old"));
  for (int mode = 0; mode < 4; ++mode) {
    File f;
    EXPECT_EQ(f.Open(P(dir, "old"), static_cast<NyOpenMode>(mode), NyFileFlagCreateNew), 2) << mode;
    EXPECT_EQ(File::GetLastError(), lu::FileErrorOther);
    EXPECT_EQ(lu::platform::GetLastError(), lu::platform::k_errorFileExists);
  }
  EXPECT_EQ(ReadFileBytes(dir.Native("old")), Bytes("old"));
}

TEST(FileOpen, ReadOnlyFilesRefuseWritersAndUnreadableFilesRefuseReaders) {
  TempDir dir;
  WriteFileBytes(dir.Native("ro"), Bytes("ro"));
  ASSERT_EQ(::chmod(dir.Native("ro").c_str(), 0444), 0);
  for (NyOpenMode mode : {NyOpenModeWrite, NyOpenModeWriteOverwrite, NyOpenModeReadWrite}) {
    File f;
    EXPECT_EQ(f.Open(P(dir, "ro"), mode, 0), 2) << mode;
    EXPECT_EQ(File::GetLastError(), lu::FileErrorAccessDenied);
  }
  File d;
  EXPECT_EQ(d.Open(P(dir, "ro"), NyOpenModeRead, NyFileFlagDeleteOnClose), 2);
  EXPECT_EQ(File::GetLastError(), lu::FileErrorAccessDenied);
  File r;
  EXPECT_EQ(r.Open(P(dir, "ro"), NyOpenModeRead, 0), 1);
  EXPECT_EQ(ReadFileBytes(dir.Native("ro")), Bytes("ro"));

  if (nytest::IsRoot()) GTEST_SKIP() << "root reads files without read permission";
  WriteFileBytes(dir.Native("secret"), Bytes("s"));
  ASSERT_EQ(::chmod(dir.Native("secret").c_str(), 0200), 0);
  File s;
  EXPECT_EQ(s.Open(P(dir, "secret"), NyOpenModeRead, 0), 2);
  EXPECT_EQ(File::GetLastError(), lu::FileErrorAccessDenied);
}

TEST(FileShare, OnlyReadersThatShareReadingCoexist) {
  struct Case {
    NyOpenMode firstMode;
    unsigned firstFlags;
    NyOpenMode secondMode;
    unsigned secondFlags;
    bool secondOpens;
  } const cases[] = {
      {NyOpenModeRead, 0, NyOpenModeRead, 0, true}, {NyOpenModeRead, 0, NyOpenModeWrite, 0, false},
      {NyOpenModeRead, 0, NyOpenModeRead, NyFileFlagExclusive, false},
      {NyOpenModeRead, NyFileFlagExclusive, NyOpenModeRead, 0, false},
      {NyOpenModeWrite, 0, NyOpenModeRead, 0, false},
      {NyOpenModeRead, NyFileFlagDeleteOnClose, NyOpenModeRead, 0, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.firstMode << "/" << c.firstFlags << " then " << c.secondMode << "/"
                                    << c.secondFlags);
    TempDir dir;
    WriteFileBytes(dir.Native("s"), Bytes("shared"));
    File first, second;
    ASSERT_EQ(first.Open(P(dir, "s"), c.firstMode, c.firstFlags), 1);
    if (c.secondOpens) {
      EXPECT_EQ(second.Open(P(dir, "s"), c.secondMode, c.secondFlags), 1);
      continue;
    }
    EXPECT_EQ(second.Open(P(dir, "s"), c.secondMode, c.secondFlags), 2);
    EXPECT_EQ(File::GetLastError(), lu::FileErrorSharingViolation);
    EXPECT_FALSE(second.IsOpen());
    // The refused open emptied nothing; once the first handle is gone the second one opens.
    EXPECT_EQ(ReadFileBytes(dir.Native("s")), Bytes("shared"));
    if (c.firstFlags & NyFileFlagDeleteOnClose) continue;
    EXPECT_EQ(first.Close(), 1);
    EXPECT_EQ(second.Open(P(dir, "s"), c.secondMode, c.secondFlags), 1);
  }
}

TEST(FileShare, ReopeningKeepsTheEarlierStreamOpenAndLocked) {
  TempDir dir;
  File f;
  ASSERT_EQ(f.Open(P(dir, "a"), NyOpenModeWrite, 0), 1);
  void* first = f.GetFileHandle();
  ASSERT_EQ(f.Open(P(dir, "b"), NyOpenModeWrite, 0), 1);
  EXPECT_NE(f.GetFileHandle(), first);
  File other;
  EXPECT_EQ(other.Open(P(dir, "a"), NyOpenModeRead, 0), 2);
  EXPECT_EQ(File::GetLastError(), lu::FileErrorSharingViolation);
  // Released here only so that the test itself leaves nothing open.
  File::CreateOwner(first);
}

TEST(FileDeleteOnClose, TheNameLastsUntilTheOwnerCloses) {
  TempDir dir;
  const std::string native = dir.Native("tmp");
  {
    File f;
    ASSERT_EQ(f.Open(P(dir, "tmp"), NyOpenModeWriteOverwrite, NyFileFlagDeleteOnClose), 1);
    ASSERT_TRUE(f.WriteExact("data", 4));
    EXPECT_TRUE(Exists(native));
    EXPECT_EQ(File::CreateView(f).Close(), 2);
    EXPECT_TRUE(Exists(native));
    EXPECT_EQ(f.Close(), 1);
    EXPECT_FALSE(Exists(native));
  }
  {
    File f;
    ASSERT_EQ(f.Open(P(dir, "tmp"), NyOpenModeWrite, NyFileFlagDeleteOnClose | NyFileFlagCreateNew), 1);
    EXPECT_TRUE(Exists(native));
  }
  EXPECT_FALSE(Exists(native)) << "the destructor closes and deletes too";

  // Through a link the file itself goes, and the link is left dangling.
  WriteFileBytes(dir.Native("target"), Bytes("t"));
  ASSERT_EQ(::symlink(dir.Native("target").c_str(), dir.Native("link").c_str()), 0);
  {
    File f;
    ASSERT_EQ(f.Open(P(dir, "link"), NyOpenModeRead, NyFileFlagDeleteOnClose), 1);
  }
  EXPECT_FALSE(Exists(dir.Native("target")));

  // A file that replaced the name meanwhile is not the one to delete.
  File f;
  ASSERT_EQ(f.Open(P(dir, "tmp"), NyOpenModeWriteOverwrite, NyFileFlagDeleteOnClose), 1);
  ASSERT_EQ(::rename(native.c_str(), dir.Native("moved").c_str()), 0);
  WriteFileBytes(native, Bytes("new"));
  EXPECT_EQ(f.Close(), 1);
  EXPECT_EQ(ReadFileBytes(native), Bytes("new"));
}

TEST(FileViews, ViewsShareTheOwnersStreamAndNeverCloseIt) {
  TempDir dir;
  WriteFileBytes(dir.Native("v"), Bytes("abcdef"));
  File owner;
  ASSERT_EQ(owner.Open(P(dir, "v"), NyOpenModeRead, 0), 1);
  File view = File::CreateView(owner);
  File raw = File::CreateView(owner.GetFileHandle());
  EXPECT_EQ(view.GetFileHandle(), owner.GetFileHandle());
  char buf[2];
  ASSERT_TRUE(owner.ReadExact(buf, 2));
  ASSERT_TRUE(view.ReadExact(buf, 2));
  EXPECT_EQ(std::string(buf, 2), "cd");
  EXPECT_EQ(raw.SetFilePointer(0, lu::FilePointerCurrent), 4);
  EXPECT_EQ(view.Close(), 2);
  EXPECT_EQ(raw.Close(), 2);
  EXPECT_TRUE(view.IsOpen());
  ASSERT_TRUE(owner.ReadExact(buf, 2));
  EXPECT_EQ(std::string(buf, 2), "ef");
  EXPECT_EQ(owner.Close(), 1);
  EXPECT_EQ(owner.Close(), 2);
  EXPECT_EQ(File().Close(), 2);
}

TEST(FileMove, MovesLeaveTheSourceInertOrAViewOfTheTargetsStream) {
  TempDir dir;
  WriteFileBytes(dir.Native("m"), Bytes("move"));
  File a;
  ASSERT_EQ(a.Open(P(dir, "m"), NyOpenModeRead, 0), 1);
  void* stream = a.GetFileHandle();
  File b(std::move(a));
  EXPECT_EQ(b.GetFileHandle(), stream);
  EXPECT_FALSE(a.IsOpen());
  EXPECT_EQ(a.Close(), 2);
  EXPECT_EQ(a.Open(P(dir, "m"), NyOpenModeRead, 0), 2) << "a moved-from File is a view";

  File c;
  c = std::move(b);
  EXPECT_EQ(c.GetFileHandle(), stream);
  EXPECT_FALSE(b.IsOpen());
  EXPECT_EQ(b.Open(P(dir, "m"), NyOpenModeRead, 0), 2);
  char buf[4];
  EXPECT_TRUE(c.ReadExact(buf, 4));
  EXPECT_EQ(c.Close(), 1) << "the target owns what the source owned";
}

TEST(FileIo, ShortCountsFailOnlyTheExpectingOverloads) {
  TempDir dir;
  WriteFileBytes(dir.Native("r"), Bytes("12345"));
  File f, closed;
  ASSERT_EQ(f.Open(P(dir, "r"), NyOpenModeRead, 0), 1);
  char buf[8];
  unsigned int done = 99;
  EXPECT_TRUE(f.Read(buf, 3, done, 3));
  EXPECT_FALSE(f.Read(buf, 8, done, 8));
  EXPECT_EQ(done, 2u);
  EXPECT_TRUE(f.Read(buf, 8, done) && f.Read(buf, 8));
  EXPECT_EQ(done, 0u);
  EXPECT_FALSE(f.ReadExact(buf, 1));
  EXPECT_EQ(f.SetFilePointer(-2, lu::FilePointerEnd), 3);
  EXPECT_FALSE(f.ReadExact(buf, 3, done));
  EXPECT_EQ(done, 2u);
  for (bool write : {false, true}) {
    done = 5;
    EXPECT_FALSE(write ? closed.Write(buf, 1, done) : closed.Read(buf, 1, done));
    EXPECT_EQ(done, 0u);
    EXPECT_FALSE(write ? closed.WriteExact(buf, 0) : closed.ReadExact(buf, 0));
  }
}

TEST(FileIo, EndOfFileIsNotStickyForDataAppendedLater) {
  TempDir dir;
  File writer, reader;
  ASSERT_EQ(writer.Open(P(dir, "grow"), NyOpenModeWrite, 0), 1);
  ASSERT_TRUE(writer.WriteExact("ab", 2) && writer.Flush());
  ASSERT_EQ(writer.Close(), 1);
  ASSERT_EQ(reader.Open(P(dir, "grow"), NyOpenModeRead, 0), 1);
  EXPECT_EQ(ReadRest(reader), "ab");
  FILE* raw = std::fopen(dir.Native("grow").c_str(), "ab");
  ASSERT_NE(raw, nullptr);
  std::fputs("cd", raw);
  std::fclose(raw);
  EXPECT_EQ(ReadRest(reader), "cd");
}

TEST(FileIo, SeekingSizesAndTruncation) {
  TempDir dir;
  File f;
  EXPECT_EQ(f.SetFilePointer(0, lu::FilePointerBegin), -1);
  EXPECT_EQ(f.GetFileSize(), ~uint64_t{0});
  EXPECT_FALSE(f.SetEndOfFile());
  ASSERT_EQ(f.Open(P(dir, "s"), NyOpenModeWriteOverwrite, 0), 1);
  ASSERT_TRUE(f.WriteExact("0123456789", 10));
  EXPECT_EQ(f.GetFileSize(), 0u) << "the size is the file's, without the stream's buffer";
  ASSERT_TRUE(f.Flush());
  EXPECT_EQ(f.GetFileSize(), 10u);

  struct Case {
    int64_t offset;
    int position;
    int64_t expected;
  };
  const Case cases[] = {{3, 0, 3}, {2, 1, 5}, {-4, 2, 6}, {7, 9, 7}, {-1, 0, -1}, {20, 0, 20}};
  f.SetFilePointer(0, lu::FilePointerBegin);
  for (const Case& c : cases) {
    EXPECT_EQ(f.SetFilePointer(c.offset, static_cast<lu::FilePointerPosition>(c.position)), c.expected)
        << c.offset << " from " << c.position;
  }
  ASSERT_EQ(f.SetFilePointer(4, lu::FilePointerBegin), 4);
  ASSERT_TRUE(f.SetEndOfFile());
  EXPECT_EQ(f.GetFileSize(), 4u);
  EXPECT_EQ(f.SetFilePointer(0, lu::FilePointerEnd), 4);
  ASSERT_EQ(f.SetFilePointer(6, lu::FilePointerBegin), 6);
  ASSERT_TRUE(f.SetEndOfFile());
  EXPECT_EQ(f.GetFileSize(), 6u);
  f.SetFilePointer(0, lu::FilePointerBegin);
  EXPECT_EQ(ReadRest(f), std::string("0123\0\0", 6));

  // Positions and sizes are 64-bit (the file is sparse).
  const int64_t far = (int64_t{5} << 30) + 3;
  ASSERT_EQ(f.SetFilePointer(far, lu::FilePointerBegin), far);
  ASSERT_TRUE(f.WriteExact("z", 1) && f.Flush());
  EXPECT_EQ(f.GetFileSize(), static_cast<uint64_t>(far) + 1);
  ASSERT_EQ(f.Close(), 1);

  File reader;
  ASSERT_EQ(reader.Open(P(dir, "s"), NyOpenModeRead, 0), 1);
  EXPECT_FALSE(reader.SetEndOfFile());
  EXPECT_EQ(File::GetLastError(), lu::FileErrorAccessDenied);
}

TEST(FileIo, SetEndOfFileDropsReadAheadBeyondTheCut) {
  TempDir dir;
  WriteFileBytes(dir.Native("t"), Bytes("abcdefgh"));
  File f;
  ASSERT_EQ(f.Open(P(dir, "t"), NyOpenModeWriteOverwrite, 0), 1);
  ASSERT_TRUE(f.WriteExact("abcdefgh", 8) && f.Flush());
  f.SetFilePointer(0, lu::FilePointerBegin);
  char c;
  ASSERT_TRUE(f.ReadExact(&c, 1));  // fills the read buffer with the whole file
  ASSERT_EQ(f.SetFilePointer(3, lu::FilePointerBegin), 3);
  ASSERT_TRUE(f.SetEndOfFile());
  f.SetFilePointer(0, lu::FilePointerBegin);
  EXPECT_EQ(ReadRest(f), "abc");
}

TEST(FileError, DiskFullIsReportedOnWriteFlushAndClose) {
  File big;
  ASSERT_EQ(big.Open(lu::Path(L"/dev/full"), NyOpenModeWrite, 0), 1);
  std::vector<char> block(1 << 20, 'x');
  unsigned int done = 1;
  EXPECT_FALSE(big.WriteExact(block.data(), static_cast<unsigned int>(block.size()), done));
  EXPECT_EQ(File::GetLastError(), lu::FileErrorDiskFull);

  File flushed, closed;
  for (File* f : {&flushed, &closed}) {
    ASSERT_EQ(f->Open(lu::Path(L"/dev/full"), NyOpenModeWrite, 0), 1);
    EXPECT_TRUE(f->WriteExact("x", 1)) << "one byte stays in the buffer";
  }
  lu::platform::SetLastError(0);
  EXPECT_FALSE(flushed.Flush());
  EXPECT_EQ(File::GetLastError(), lu::FileErrorDiskFull);
  lu::platform::SetLastError(0);
  EXPECT_EQ(closed.Close(), 2);
  EXPECT_EQ(File::GetLastError(), lu::FileErrorDiskFull);
  EXPECT_TRUE(closed.IsOpen()) << "a stream whose data could not be written is kept";
}

TEST(FileError, WindowsNumbersMapToFileErrors) {
  const std::pair<uint32_t, lu::FileError> cases[] = {
      {0, lu::FileErrorNone},        {112, lu::FileErrorDiskFull}, {1450, lu::FileErrorNoSystemResources},
      {5, lu::FileErrorAccessDenied}, {32, lu::FileErrorSharingViolation}, {2, lu::FileErrorNotFound},
      {3, lu::FileErrorNotFound},    {80, lu::FileErrorOther}};
  for (const auto& [win, expected] : cases) {
    lu::platform::SetLastError(win);
    EXPECT_EQ(File::GetLastError(), expected) << win;
  }
}

TEST(FileTimes, InfoOfAnOpenFileAndOfAPath) {
  TempDir dir;
  WriteFileBytes(dir.Native("t.wav"), Bytes("12345"));
  SetMTime(dir.Native("t.wav"), 1700000000, 999999999);
  WriteFileBytes(dir.Native("s.wav"), Bytes("1"));
  SetMTime(dir.Native("s.wav"), -2, 500000000);  // 1.5 s before 1970

  File f;
  EXPECT_EQ(f.GetFileInfo().lastWriteTime, 0);
  EXPECT_EQ(f.GetFileInfo().size, 0u);
  ASSERT_EQ(f.Open(P(dir, "t.wav"), NyOpenModeRead, 0), 1);
  EXPECT_EQ(f.GetFileInfo().lastWriteTime, 1700000000);
  EXPECT_EQ(f.GetFileInfo().size, 5u);

  struct Case {
    std::wstring path;
    int64_t time;
    uint64_t size;
  } const cases[] = {
      {dir.Wide("t.wav"), 1700000000, 5},
      {dir.Wide("s.wav"), -1, 1},  // truncated towards zero
      {dir.Wide("*.WAV"), -1, 1},  // first match by name, case folded
      {dir.Wide("none.wav"), 0, 0}, {L"", 0, 0},
  };
  for (const Case& c : cases) {
    const lu::FileInfo info = lu::GetFileInfo(c.path);
    EXPECT_EQ(info.lastWriteTime, c.time) << c.path.size();
    EXPECT_EQ(info.size, c.size) << c.path.size();
  }
}

TEST(FileTimes, SetLastWriteTimeCopiesTheSourceTimeAndKeepsIt) {
  TempDir dir;
  WriteFileBytes(dir.Native("src"), Bytes("s"));
  SetMTime(dir.Native("src"), 1234567890, 0);
  File f;
  EXPECT_FALSE(f.SetLastWriteTime(P(dir, "src")));
  ASSERT_EQ(f.Open(P(dir, "dst"), NyOpenModeWriteOverwrite, 0), 1);
  EXPECT_FALSE(f.SetLastWriteTime(P(dir, "nothing")));
  ASSERT_TRUE(f.WriteExact("before", 6));
  ASSERT_TRUE(f.SetLastWriteTime(P(dir, "src")));
  ASSERT_TRUE(f.WriteExact("after", 5));  // still in the buffer: written at close
  EXPECT_EQ(f.Close(), 1);
  EXPECT_EQ(lu::GetFileInfo(dir.Wide("dst")).lastWriteTime, 1234567890);
  EXPECT_EQ(lu::GetFileInfo(P(dir, "dst")).size, 11u);
}
