// UTF-8 text streams, FileHelp wrappers, TemporaryFile and the extension table.
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <nybase/files/FileHelp.h>
#include <nybase/files/FileInputStream.h>
#include <nybase/files/FileOutputStream.h>
#include <nybase/files/NYFileExtensions.h>
#include <nybase/files/TemporaryFile.h>
#include <nybase/platform/Utf.h>

#include "../support/TestSupport.h"

using nytest::ReadFileBytes;
using nytest::TempDir;
using nytest::W16;
using nytest::WriteFileBytes;
using Bytes = std::vector<uint8_t>;

namespace {

Bytes B(const std::string& s) { return Bytes(s.begin(), s.end()); }

// Every line the stream gives, read with the flag as given.
std::vector<std::wstring> ReadLines(const std::wstring& path, bool skipMark) {
  lu::FileInputStream in;
  EXPECT_TRUE(in.Open(path));
  std::vector<std::wstring> lines;
  CStdStr<wchar_t> line;
  while (in.ReadString(line, skipMark)) lines.push_back(line);
  return lines;
}

// The same lines cut from the codec's decoding of the whole file.
std::vector<std::wstring> CodecLines(const Bytes& bytes) {
  const std::wstring all = lu::platform::Utf8ToUtf16(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  std::vector<std::wstring> lines;
  size_t start = 0;
  while (start < all.size()) {
    const size_t lf = all.find(L'\n', start);
    lines.push_back(all.substr(start, lf == std::wstring::npos ? std::wstring::npos : lf - start));
    if (lf == std::wstring::npos) break;
    start = lf + 1;
  }
  return lines;
}

}  // namespace

TEST(FileInputStream, ReadsWhatPythonWritesWithAndWithoutMark) {
  if (!nytest::HaveProgram("python3")) GTEST_SKIP() << "python3 missing";
  TempDir dir;
  const std::string script =
      "import sys\n"
      "t = 'caf\\u00e9\\n\\u20ac \\U0001F3B5\\r\\nlast'\n"
      "open(sys.argv[1], 'w', encoding='utf-8', newline='').write(t)\n"
      "open(sys.argv[2], 'w', encoding='utf-8-sig', newline='').write(t)\n";
  WriteFileBytes(dir.Native("w.py"), B(script));
  ASSERT_EQ(nytest::Run("python3 " + dir.Native("w.py") + " " + dir.Native("plain.txt") + " " + dir.Native("bom.txt")), 0);
  const std::vector<std::wstring> expected = {L"caf\u00e9", W16(u"\u20ac \U0001F3B5\r"), L"last"};
  EXPECT_EQ(ReadLines(dir.Wide("plain.txt"), false), expected);
  EXPECT_EQ(ReadLines(dir.Wide("bom.txt"), true), expected);
  std::vector<std::wstring> marked = expected;
  marked[0].insert(0, 1, 0xFEFF);
  EXPECT_EQ(ReadLines(dir.Wide("bom.txt"), false), marked);
}

TEST(FileInputStream, IllFormedBytesBecomeReplacementCharactersAsTheCodecMakesThem) {
  TempDir dir;
  // Across the 64 KiB reads: sequences split by a read, random bytes, and a truncated sequence
  // at the very end of the file.
  std::mt19937 rng(7);
  Bytes bytes;
  const std::string pieces[] = {"a", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x8E\xB5", "\xED\xA0\x80",
                                "\xC0\xAF", "\x80", "\xF4\x90\x80\x80", "\xE2\x82", "\n", "\r\n"};
  while (bytes.size() < 200000) {
    if (rng() % 4 == 0) {
      bytes.push_back(static_cast<uint8_t>(rng()));
    } else {
      const std::string& p = pieces[rng() % std::size(pieces)];
      bytes.insert(bytes.end(), p.begin(), p.end());
    }
  }
  bytes.insert(bytes.end(), {'\n', 0xF0, 0x9F, 0x8E});
  WriteFileBytes(dir.Native("bad.txt"), bytes);
  EXPECT_EQ(ReadLines(dir.Wide("bad.txt"), false), CodecLines(bytes));
}

TEST(FileInputStream, PositionsAreByteOffsets) {
  TempDir dir;
  WriteFileBytes(dir.Native("e.txt"), {});
  WriteFileBytes(dir.Native("t.txt"), B("\xE2\x82\xAC\xF0\x9F\x8E\xB5\xFF\nz"));
  lu::FileInputStream empty;
  EXPECT_TRUE(empty.IsEmpty());  // never opened: a failed stream
  ASSERT_TRUE(empty.Open(dir.Wide("e.txt")));
  EXPECT_TRUE(empty.IsEmpty());
  EXPECT_FALSE(empty.Open(dir.Wide("e.txt")));  // already open

  lu::FileInputStream in;
  ASSERT_TRUE(in.Open(dir.Wide("t.txt")));
  EXPECT_FALSE(in.IsEmpty());
  EXPECT_EQ(in.Tell(), 0);
  EXPECT_EQ(in.get(), L'\u20AC');
  EXPECT_EQ(in.Tell(), 3);
  in.get();  // the high surrogate: the position stays at its character
  EXPECT_EQ(in.Tell(), 3);
  in.get();
  EXPECT_EQ(in.Tell(), 7);
  EXPECT_EQ(in.get(), 0xFFFD);
  EXPECT_EQ(in.Tell(), 8);
  EXPECT_FALSE(in.IsEmpty());
  CStdStr<wchar_t> line;
  EXPECT_TRUE(in.ReadString(line, true));
  EXPECT_TRUE(in.ReadString(line, true));
  EXPECT_EQ(line, L"z");
  EXPECT_FALSE(in.ReadString(line, true));
  EXPECT_TRUE(in.Seek(lu::FilePointerCurrent));
  EXPECT_TRUE(in.Seek(lu::FilePointerEnd));
  EXPECT_EQ(in.Tell(), 10);
  EXPECT_TRUE(in.Seek(lu::FilePointerBegin));
  EXPECT_TRUE(in.ReadString(line, false));
  EXPECT_EQ(line, W16(u"\u20AC\U0001F3B5\uFFFD"));
}

TEST(FileOutputStreams, LineEndsAndEncoding) {
  TempDir dir;
  const std::wstring pair = W16(u"\U0001F3B5");
  const struct {
    int kind;  // 0 text, 1 binary with LF, 2 binary with CR LF
    std::string expected;
  } rows[] = {
      {0, "\xC3\xA9\n\n\xF0\x9F\x8E\xB5x\xEF\xBF\xBD"},
      {1, "\xC3\xA9\n\n\xF0\x9F\x8E\xB5x\xEF\xBF\xBD"},
      {2, "\xC3\xA9\r\n\r\n\xF0\x9F\x8E\xB5x\xEF\xBF\xBD"},
  };
  for (const auto& row : rows) {
    const std::wstring path = dir.Wide("o.txt");
    WriteFileBytes(dir.Native("o.txt"), B("old content to truncate"));
    auto write = [&](auto& out) {
      ASSERT_TRUE(out.Open(path));
      EXPECT_TRUE(out.WriteLine(L"\u00e9"));
      EXPECT_TRUE(out.WriteLine(nullptr));
      EXPECT_TRUE(out.WriteString(pair.substr(0, 1).c_str()));
      out.flush();  // the pair is split across the flush and still comes out whole
      EXPECT_TRUE(out.WriteString((pair.substr(1) + L"x").c_str()));
      const wchar_t lone[] = {0xDC00, 0};
      EXPECT_TRUE(out.WriteString(lone));
      out.Close();
      EXPECT_TRUE(out.good());
      EXPECT_FALSE(out.IsOpen());
    };
    if (row.kind == 0) {
      lu::FileOutputStream out;
      write(out);
    } else {
      lu::FileBinaryOutputStream out(row.kind == 2 ? VPropertyEnums::LineEndingCRLF
                                                   : static_cast<VPropertyEnums::LineEnding>(7));
      write(out);
    }
    EXPECT_EQ(ReadFileBytes(dir.Native("o.txt")), B(row.expected)) << row.kind;
  }
  lu::FileOutputStream nowhere;
  EXPECT_FALSE(nowhere.Open(dir.Wide("missing\\o.txt")));
  EXPECT_TRUE(nowhere.fail());
}

TEST(FileOutputStreams, MovesCarryTheOpenFile) {
  TempDir dir;
  lu::FileBinaryOutputStream a(VPropertyEnums::LineEndingCRLF);
  ASSERT_TRUE(a.Open(dir.Wide("m.txt")));
  a.WriteString(L"1");
  lu::FileBinaryOutputStream b(std::move(a));
  EXPECT_FALSE(a.IsOpen());
  EXPECT_TRUE(b.WriteLine(L"2"));
  lu::FileBinaryOutputStream c;
  c = std::move(b);
  EXPECT_TRUE(c.WriteLine(L"3"));
  c.Close();
  EXPECT_EQ(ReadFileBytes(dir.Native("m.txt")), B("12\r\n3\r\n"));
}

TEST(FileHelp, ExtensionsAndSeparators) {
  using FileHelp::GetFileExtension;
  EXPECT_EQ(GetFileExtension(lu::BasicStringView<wchar_t>(L"a.b\\c")).str(), L".b\\c");
  EXPECT_EQ(GetFileExtension(CStdStr<wchar_t>(L"a.b\\c")), L"");
  EXPECT_EQ(GetFileExtension(lu::BasicStringView<wchar_t>(L".wav")).str(), L".wav");
  EXPECT_TRUE(GetFileExtension(lu::BasicStringView<wchar_t>(L"abc")).empty());
  EXPECT_TRUE(FileHelp::GetFileExtensionNoDot(L"a.").empty());
  EXPECT_EQ(FileHelp::GetFileExtensionNoDot(L"x.tar.gz").str(), L"gz");

  CStdStr<wchar_t> folder(L"C:\\x\\");
  EXPECT_FALSE(FileHelp::FolderAddBackslash(folder));
  folder = L"C:\\x";
  EXPECT_TRUE(FileHelp::FolderAddBackslash(folder));
  EXPECT_EQ(folder, L"C:\\x\\");
  const struct {
    const wchar_t* in;
    const wchar_t* backslashW;  // PathAddBackslashW
    const wchar_t* trailing;    // PathAddTrailingSeparator
  } rows[] = {{L"", L"", L"\\"}, {L"a", L"a\\", L"a\\"}, {L"a\\", L"a\\", L"a\\"}, {L"a/", L"a/\\", L"a\\"}};
  for (const auto& row : rows) {
    CStdStr<wchar_t> s(row.in);
    EXPECT_EQ(FileHelp::PathAddBackslashW(s), row.backslashW);
    EXPECT_EQ(s, row.backslashW);
    EXPECT_EQ(FileHelp::PathAddTrailingSeparator(row.in), row.trailing);
  }
  EXPECT_EQ(FileHelp::PathCombineW(L"C:\\a", L"b.wav"), L"C:\\a\\b.wav");
  EXPECT_EQ(FileHelp::PathReplaceExtension(L"d\\x.wav", L"vlu"), L"d\\x.vlu");

  EXPECT_EQ(NYFileExtensions::DottedExt(NYFileExtensions::k_csWorkUnit), L".vlu");
  EXPECT_EQ(NYFileExtensions::DottedExt(L".vlu"), L"..vlu");
  EXPECT_EQ(NYFileExtensions::k_csValidationCache, L"validationcache");
  EXPECT_EQ(NYFileExtensions::k_csProfilerSessionFile, L"prof");
}

TEST(TemporaryFile, UniqueNamesLeftOnTheDiskAfterTheScope) {
  TempDir dir;
  std::wstring first;
  try {
    FileHelp::TemporaryFile tmp(lu::Path(CStdStr<wchar_t>(dir.Wide())), L"wav");
    ASSERT_TRUE(tmp.GetFile().IsOpen());
    EXPECT_NE(static_cast<void*>(tmp), nullptr);
    first = tmp.GetPath().GetFullPath();
    EXPECT_TRUE(tmp.GetFile().WriteExact("abc", 3));
    throw std::runtime_error("unwind");
  } catch (const std::runtime_error&) {
  }
  ASSERT_EQ(first.size(), dir.Wide().size() + 1 + 38 + 4);
  EXPECT_EQ(first.substr(first.size() - 4), L".wav");
  // Closed (the buffered bytes are on the disk) and not removed.
  EXPECT_EQ(ReadFileBytes(dir.Native(lu::platform::Utf16ToUtf8(first.data() + dir.Wide().size() + 1, 42))),
            B("abc"));
  FileHelp::TemporaryFile second{lu::Path(CStdStr<wchar_t>(dir.Wide()))};
  EXPECT_EQ(second.GetPath().GetFileExtension(), L".tmp");
  EXPECT_NE(second.GetPath().GetFullPath(), first);
  FileHelp::TemporaryFile nowhere{lu::Path(CStdStr<wchar_t>(dir.Wide("missing")))};
  EXPECT_FALSE(nowhere.GetFile().IsOpen());
  EXPECT_TRUE(nowhere.GetPath().IsEmpty());
  EXPECT_FALSE(nowhere.DeleteFileW());
  EXPECT_TRUE(second.DeleteFileW());
  EXPECT_FALSE(second.GetFile().IsOpen() || second.GetPath().Exists());
}

// The wrappers over the disk members: each only builds a path and passes the answer on.
TEST(FileHelp, DiskWrappers) {
  TempDir dir;
  const CStdStr<wchar_t> root(dir.Wide());
  EXPECT_TRUE(FileHelp::EnsureDirectoryExists((root + L"\\a\\b").c_str()));
  EXPECT_FALSE(FileHelp::EnsureDirectoryExists(nullptr));
  WriteFileBytes(dir.Native("a/b/x.wav"), B("12345"));
  WriteFileBytes(dir.Native("a/.hidden"), B("1"));
  const CStdStr<wchar_t> file = root + L"\\a\\b\\x.wav";
  EXPECT_EQ(FileHelp::GetFileSize(file), 5);
  EXPECT_TRUE(FileHelp::IsHidden(root + L"\\a\\.hidden"));
  EXPECT_FALSE(FileHelp::IsHidden(file));
  EXPECT_EQ(FileHelp::PathGetDirectory(root + L"\\a\\b"), root + L"\\a");  // above a directory
  EXPECT_EQ(FileHelp::PathGetDirectory(file), root + L"\\a\\b");           // of a file
  CStdStr<wchar_t> relative = file;
  FileHelp::MakePathRelative(relative, root + L"\\a");
  EXPECT_EQ(relative, L"b\\x.wav");
  ::chmod(dir.Native("a/b/x.wav").c_str(), 0444);
  EXPECT_TRUE(FileHelp::IsReadOnly(file));  // the read-only attribute refuses a writer, root too
  FileHelp::RemoveReadOnlyFlagRecursive(root + L"\\a");
  EXPECT_FALSE(lu::Path(file).IsReadOnly());
  EXPECT_FALSE(FileHelp::IsReadOnly(root + L"\\missing"));
  EXPECT_TRUE(FileHelp::CopyFilesRecursively(root + L"\\a", root + L"\\copy", nullptr, false));
  EXPECT_TRUE(lu::Path(root + L"\\copy\\b\\x.wav").IsFile());
  EXPECT_FALSE(lu::Path(root + L"\\copy\\.hidden").Exists());
  EXPECT_TRUE(FileHelp::RemoveDirectoryRecursive((root + L"\\copy").c_str()));
  EXPECT_FALSE(lu::Path(root + L"\\copy").Exists());
}
