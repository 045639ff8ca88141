// The path algebra: grammar, building, normal forms, predicates and legality, input => expected.
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <regex>
#include <string>

#include <nybase/NYBase.h>
#include <nybase/files/internal/PathGrammar.h>

#include "../support/TestSupport.h"

using lu::Path;
using W = std::wstring;

namespace {

W Str(const Path& p) { return static_cast<const std::wstring&>(p); }

// Runs the test body with the process in a fresh directory, and restores the previous one.
class InTempDirectory {
 public:
  InTempDirectory() : m_previous(std::filesystem::current_path()) {
    std::filesystem::current_path(m_dir.Native());
  }
  ~InTempDirectory() { std::filesystem::current_path(m_previous); }
  // The directory as the library sees it.
  W Wide() const { return lu::platform::FromNativePath(std::filesystem::current_path().string()); }
  const nytest::TempDir& Dir() const { return m_dir; }

 private:
  nytest::TempDir m_dir;
  std::filesystem::path m_previous;
};

}  // namespace

TEST(PathGrammar, Decomposition) {
  struct Case {
    const wchar_t *path, *root, *name, *stem, *ext, *parent;
  };
  const Case cases[] = {
      {L"C:\\foo\\bar.txt", L"C:", L"bar.txt", L"bar", L".txt", L"C:\\foo"},
      {L"C:foo", L"C:", L"foo", L"foo", L"", L"C:"}, {L"C:\\", L"C:", L"", L"", L"", L"C:\\"},
      {L"\\foo", L"", L"foo", L"foo", L"", L"\\"}, {L"a\\b\\\\", L"", L"", L"", L"", L"a\\b"},
      {L"a\\b/c.d", L"", L"c.d", L"c", L".d", L"a\\b"},
      {L"\\\\server\\share\\x.wav", L"\\\\server", L"x.wav", L"x", L".wav", L"\\\\server\\share"},
      {L"//server/share", L"//server", L"share", L"share", L"", L"//server/"},
      {L"\\\\?\\C:\\x.y", L"\\\\?", L"x.y", L"x", L".y", L"\\\\?\\C:"},
      // Alternate data streams belong to neither stem nor extension.
      {L"file.txt:stream", L"", L"file.txt:stream", L"file", L".txt", L""},
      {L"a.b.c", L"", L"a.b.c", L"a.b", L".c", L""},
      // A leading dot starts no extension, but a text that begins with "." answers its file name.
      {L"..", L"", L"..", L"..", L"..", L""}, {L".wav", L"", L".wav", L".wav", L".wav", L""},
      {L".\\foo", L"", L"foo", L"foo", L"foo", L"."}, {L"dir\\.wav", L"", L".wav", L".wav", L"", L"dir"},
  };
  for (const Case& c : cases) {
    const Path p(c.path);
    SCOPED_TRACE(c.path);
    EXPECT_EQ(p.GetRootName(), W(c.root));
    EXPECT_EQ(p.GetDrive(), W(c.root));
    EXPECT_EQ(p.GetFileName(), W(c.name));
    EXPECT_EQ(p.GetName(), W(c.name));
    EXPECT_EQ(p.GetStem(), W(c.stem));
    EXPECT_EQ(p.GetFileNameOnly(), W(c.stem));
    EXPECT_EQ(p.GetFileExtension(), W(c.ext));
    EXPECT_EQ(p.GetParent(), W(c.parent));
  }
}

TEST(PathGrammar, FsPathSplitsRootDirectoryAndRelativePart) {
  struct Case {
    const wchar_t *path, *rootName, *rootDir, *relative, *extension;
  };
  const Case cases[] = {
      {L"C:\\\\a\\b", L"C:", L"\\\\", L"a\\b", L""},
      {L"\\\\srv\\\\share", L"\\\\srv", L"\\\\", L"share", L""},
      {L"//?/x.y", L"//?", L"/", L"x.y", L".y"},
      {L".wav", L"", L"", L".wav", L""},
  };
  for (const Case& c : cases) {
    const lu::FsPath p{CStdStr<wchar_t>(c.path)};
    SCOPED_TRACE(c.path);
    EXPECT_EQ(p.root_name().native(), W(c.rootName));
    EXPECT_EQ(p.root_directory().native(), W(c.rootDir));
    EXPECT_EQ(p.relative_path().native(), c.relative);
    EXPECT_EQ(p.root_path().native(), W(c.rootName) + c.rootDir);
    EXPECT_EQ(p.extension().native(), W(c.extension));
  }
  EXPECT_EQ(lu::FsPath(CStdStr<wchar_t>(L"a/./b/../c/")).lexically_normal().native(), L"a\\c\\");
}

TEST(PathGrammar, TopFolder) {
  const std::pair<const wchar_t*, const wchar_t*> cases[] = {
      {L"\\a\\b", L""}, {L"a/b", L"a"}, {L"a", L"a"}, {L"C:\\x", L"C:"}, {L"\\\\srv\\x", L""},
  };
  for (const auto& [in, out] : cases) EXPECT_EQ(Path(in).GetTopFolderPath(), W(out)) << in;
}

TEST(PathBuilding, Join) {
  struct Case {
    std::initializer_list<lu::BasicStringView<wchar_t>> parts;
    const wchar_t* expected;
  };
  const Case cases[] = {
      {{}, L"\\"}, {{L"a", L"b"}, L"a\\b"}, {{L"a", L"", L"c"}, L"a\\c"}, {{L"a/b", L"c"}, L"a\\b\\c"},
      // Only a final "\" is remembered: a final "/" is not a trailing separator here.
      {{L"a", L"b/"}, L"a\\b"}, {{L"\\\\\\\\a"}, L"\\\\a"}, {{L"\\", L"a"}, L"\\\\a"},
  };
  for (const Case& c : cases) EXPECT_EQ(Str(Path::Join(c.parts)), W(c.expected)) << c.expected;
}

TEST(PathBuilding, Combine) {
  struct Case {
    std::initializer_list<lu::BasicStringView<wchar_t>> parts;
    const wchar_t* expected;
  };
  const Case cases[] = {
      {{}, L"\\"}, {{L"C:\\", L".."}, L"C:\\"}, {{L"a", L".."}, L"\\"}, {{L"a", L"b", L"..", L"c"}, L"a\\c"},
      {{L"a\\.\\b"}, L"a\\b"}, {{L"C:\\a", L"..", L"b."}, L"C:\\b"},
      {{L"//srv/share", L"..", L"x"}, L"\\\\srv\\x"},
  };
  for (const Case& c : cases) EXPECT_EQ(Str(Path::Combine(c.parts)), W(c.expected)) << c.expected;
}

TEST(PathBuilding, AppendAndPrepend) {
  struct Case {
    const wchar_t *path, *part, *appended, *prepended;
  };
  const Case cases[] = {
      {L"a", L"b", L"a\\b", L"b\\a"}, {L"", L"", L"\\", L"\\"}, {L"a", L"C:", L"a\\C:", L"C:\\a"},
      {L"dir\\", L"f/", L"dir\\f", L"f\\dir\\"},
  };
  for (const Case& c : cases) {
    Path a(c.path);
    Path p(c.path);
    EXPECT_EQ(Str(a.Append(c.part)), W(c.appended)) << c.path << " + " << c.part;
    EXPECT_EQ(Str(p.Prepend(c.part)), W(c.prepended)) << c.part << " + " << c.path;
  }
}

TEST(PathBuilding, TrailingSeparators) {
  struct Case {
    const wchar_t *path, *added, *removed;
  };
  const Case cases[] = {
      {L"", L"\\", L""}, {L"\\", L"\\\\", L"\\"}, {L"/", L"/\\", L"/"}, {L"a", L"a\\", L"a"},
      {L"a/", L"a\\", L"a"}, {L"a\\\\", L"a\\\\", L"a\\"}, {L"C:\\", L"C:\\", L"C:"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Str(Path(c.path).AddTrailingSeparator()), W(c.added)) << c.path;
    EXPECT_EQ(Str(Path(c.path).RemoveTrailingSeparator()), W(c.removed)) << c.path;
  }
}

TEST(PathBuilding, ReplaceExtension) {
  struct Case {
    const wchar_t *path, *ext, *expected;
  };
  const Case cases[] = {
      {L"a.txt", L"wav", L"a.wav"}, {L"a.txt", L".wav", L"a.wav"}, {L"a.txt", L"", L"a"},
      {L"dir.x\\a", L".b", L"dir.x\\a.b"}, {L"file.txt:stream", L".wav", L"file.wav"},
      {L".hidden", L"x", L".hidden.x"}, {L"..", L"x", L"...x"}, {L"a\\", L"txt", L"a\\.txt"},
  };
  for (const Case& c : cases) EXPECT_EQ(Str(Path(c.path).ReplaceExtension(c.ext)), W(c.expected)) << c.path;
}

TEST(PathNormalForms, NormalizeFilePath) {
  const std::pair<const wchar_t*, const wchar_t*> cases[] = {
      {L"/", L"\\"},
      {L"a/b//c/", L"a\\b\\c"},
      {L"C:", L"C:\\"}, {L"\\C:", L"\\C:"}, {L"\\\\\\\\a", L"\\\\a"}, {L"a\\.\\..\\b", L"a\\.\\..\\b"},
  };
  for (const auto& [in, out] : cases) EXPECT_EQ(Str(Path(in).NormalizeFilePath()), W(out)) << in;
}

TEST(PathNormalForms, Canonicalize) {
  const std::pair<const wchar_t*, const wchar_t*> cases[] = {
      // The current directory deliberately comes out as the root.
      {L".", L"\\"}, {L"a\\..", L"\\"}, {L"C:\\", L"C:"}, {L"C:\\a\\", L"C:\\a"}, {L"foo.", L"foo"},
      {L"a.", L"a."}, {L"a\\.", L"a"}, {L"a/./b/../c", L"a\\c"}, {L"..\\..\\a", L"..\\..\\a"},
      {L"a\\..\\..", L".."}, {L"\\..\\a", L"\\a"}, {L"C:\\..\\..\\x", L"C:\\x"},
      {L"//server/share/../x", L"\\\\server\\x"},
      {L"\\\\?\\C:\\a\\..", L"\\\\?\\C:"},
  };
  for (const auto& [in, out] : cases) EXPECT_EQ(Str(Path(in).Canonicalize()), W(out)) << in;
}

TEST(PathNormalForms, AbsoluteAgainstBase) {
  struct Case {
    const wchar_t *path, *base, *expected;
  };
  const Case cases[] = {
      {L"b\\..\\c", L"C:\\a", L"C:\\a\\c"}, {L"..\\..\\..", L"C:\\a", L"C:"},
      {L"x", L"\\\\srv\\share", L"\\\\srv\\share\\x"},
      // Copies: empty or relative base, or a path that is not relative.
      {L"x", L"", L"x"}, {L"\\x", L"C:\\a", L"\\x"}, {L"D:\\x", L"C:\\a", L"D:\\x"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Str(Path(c.path).GetPathAbsolute(Path(c.base))), W(c.expected)) << c.path << " on " << c.base;
    Path p(c.path);
    EXPECT_EQ(Str(p.MakePathAbsolute(Path(c.base))), W(c.expected));
  }
}

TEST(PathNormalForms, AbsoluteAgainstCurrentDirectory) {
  InTempDirectory cwd;
  const W dir = cwd.Wide();
  ASSERT_EQ(dir.substr(0, 3), L"Z:\\");
  const std::pair<const wchar_t*, W> cases[] = {
      {L"x.wav", dir + L"\\x.wav"}, {L"a\\..\\b\\", dir + L"\\b"}, {L"z:y", dir + L"\\y"},
      {L"\\tmp\\x.wav", L"Z:\\tmp\\x.wav"},
      {L"\\\\?\\c:\\a\\..", L"\\\\?\\c:"},
  };
  for (const auto& [in, out] : cases) {
    EXPECT_EQ(Str(Path(in).GetPathAbsolute()), W(out)) << in;
    Path p(in);
    EXPECT_EQ(Str(p.MakePathAbsolute()), W(out)) << in;
  }
}

TEST(PathNormalForms, AbsoluteFallsBackToACopyWhenTheSystemFails) {
  InTempDirectory cwd;
  std::filesystem::create_directory("gone");
  std::filesystem::current_path("gone");
  std::filesystem::remove(cwd.Dir().Native("gone"));
  EXPECT_EQ(Str(Path(L"a\\..\\x").GetPathAbsolute()), L"a\\..\\x");
  // Paths that need no current directory still resolve.
  EXPECT_EQ(Str(Path(L"\\a\\..\\x").GetPathAbsolute()), L"Z:\\x");
}

TEST(PathPredicates, AbsoluteRelativeRoot) {
  struct Case {
    const wchar_t* path;
    bool absolute, relative, root;
  };
  const Case cases[] = {
      {L"", false, true, false}, {L"C:", false, false, true}, {L"C:\\", true, false, true},
      {L"C:foo", false, true, false},
      // Neither absolute nor relative; "/foo" is relative.
      {L"\\foo", false, false, false}, {L"/foo", false, true, false}, {L"\\", false, false, true},
      {L"\\\\", false, false, true}, {L"\\\\server\\share", true, false, true},
      {L"\\\\server\\share\\", true, false, false}, {L"\\\\ab\\share", true, false, true},
      {L"//server/share", true, false, false},
      {L"\\\\?\\x", true, false, false},
  };
  for (const Case& c : cases) {
    const Path p(c.path);
    EXPECT_EQ(p.IsAbsolute(), c.absolute) << c.path;
    EXPECT_EQ(p.GetFsPath().is_absolute(), c.absolute) << c.path;
    EXPECT_EQ(p.IsRelative(), c.relative) << c.path;
    EXPECT_EQ(p.IsRoot(), c.root) << c.path;
  }
}

TEST(PathPredicates, ComparisonIsExactAndUnsigned) {
  const std::pair<const wchar_t*, const wchar_t*> unequal[] = {
      {L"a/b", L"a\\b"}, {L"a\\", L"a"}, {L"A", L"a"}, {L"a", L"a "}};
  for (const auto& [x, y] : unequal) EXPECT_FALSE(Path(x) == Path(y)) << x << " vs " << y;
  EXPECT_TRUE(Path(L"a\\b") == Path(CStdStr<wchar_t>(L"a\\b")));

  const std::pair<W, W> ordered[] = {
      {L"a", L"ab"}, {L"ab", L"b"}, {L"B", L"a"}, {L"", L"a"}, {L"z", L"\u00E9"}, {L"\u00E9", W(1, 0xFFFF)}};
  for (const auto& [lo, hi] : ordered) {
    EXPECT_TRUE(Path(lo) < Path(hi)) << lo << " < " << hi;
    EXPECT_FALSE(Path(hi) < Path(lo)) << hi << " < " << lo;
  }
  EXPECT_FALSE(Path(L"a") < Path(L"a"));
}

TEST(PathLegality, LegalPathsDirectoryNamesAndReservedNames) {
  struct Case {
    const wchar_t* path;
    bool legal, legalDirectory, reserved;
  };
  const Case cases[] = {
      {L"", true, true, false}, {L"C:\\x\\y", true, true, false}, {L".hidden", false, false, false},
      {L"a.b\\c", true, true, false}, {L"dir.", true, false, false}, {L".\\x", false, false, false},
      {L"..\\x", false, false, false}, {L"a<b", false, false, false}, {L"a\\CON.txt\\b", false, false, true},
      {L"COM1.tar.gz", false, false, true}, {L"..\\AUX.", false, false, true},
      {L" CON.txt", false, false, true}, {L".CON", false, false, false}, {L"x\\..AUX", true, true, false},
      {L"COM0", true, true, false},
  };
  for (const Case& c : cases) {
    const Path p(c.path);
    EXPECT_EQ(p.IsLegal(), c.legal) << c.path;
    EXPECT_EQ(p.IsLegalDirectoryName(), c.legalDirectory) << c.path;
    EXPECT_EQ(p.ContainsReservedName(), c.reserved) << c.path;
  }
}

TEST(PathLegality, ReservedNamesTrimAndFoldOnlyAscii) {
  const std::pair<const wchar_t*, bool> cases[] = {
      {L" con ", true},   {L"\tPRN\n", true},    {L"con.txt", false},
      {L"AUXX", false},   {L"c\u00D3n", false}, {L"C O N", false},
  };
  for (const auto& [name, reserved] : cases) EXPECT_EQ(lu::detail::IsReservedName(name), reserved) << name;
}

TEST(PathLegality, MakeLegalRepairsOnlyTheFileName) {
  const std::pair<const wchar_t*, const wchar_t*> cases[] = {
      {L"x<y?.", L"x_y_"}, {L"a:b.", L"a:\\b"}, {L"a\\", L"a\\"}, {L"a\\b..", L"a\\b."},
      {L"a/b|c", L"a\\b_c"}, {L"p<q\\r*s", L"p<q\\r_s"},
  };
  for (const auto& [in, out] : cases) EXPECT_EQ(Str(Path(in).MakeLegal()), W(out)) << in;
}

TEST(PathLegality, CharacterSets) {
  const std::tuple<const wchar_t*, bool, bool> cases[] = {
      {L"a.b c", false, false}, {L"a:b", true, false}, {L"a/b", true, false}, {L"a|b", true, true},
      {L"a?b", true, true},     {L"a\"b", true, true},  {L"<", true, true},     {L"a*", true, true},
  };
  for (const auto& [s, badName, badPath] : cases) {
    EXPECT_EQ(lu::FileNameHasInvalidCharacters(s), badName) << s;
    EXPECT_EQ(lu::FilePathHasInvalidCharacters(s), badPath) << s;
  }
}

TEST(PathFilters, RegexAndBasic) {
  EXPECT_TRUE(lu::RegexPathFilter(L"abc", L"a.c"));
  EXPECT_FALSE(lu::RegexPathFilter(L"abcd", L"a.c"));  // the whole path must match
  EXPECT_FALSE(lu::RegexPathFilter(L"", L""));
  EXPECT_THROW(lu::RegexPathFilter(L"x", L"("), std::regex_error);

  const std::pair<const wchar_t*, bool> cases[] = {
      {L".", false}, {L"..\\..", false}, {L"/..", false}, {L"C:\\", false}, {L"c:/", false}, {L"[:", false},
      {L"C:\\x", true}, {L".a", true}, {L"a.", true}, {L"C:\\\\", true}, {L"1:", true},
  };
  for (const auto& [path, kept] : cases) EXPECT_EQ(lu::PathFilter::Basic(path), kept) << path;
}

TEST(PathValue, KeepsTextAsGivenAndSharesItWithoutCopies) {
  const Path p(L" A/b\\\\ ");
  EXPECT_EQ(p.GenericString(), L" A/b// ");
  const lu::BasicStringView<wchar_t> view = p;
  EXPECT_EQ(view.data(), p.c_str());
  EXPECT_EQ(static_cast<const std::wstring&>(p).data(), p.c_str());

  Path moved(L"abc");
  Path target(std::move(moved));
  EXPECT_TRUE(moved.IsEmpty());  // NOLINT(bugprone-use-after-move): a moved-from path is empty
  EXPECT_EQ(Str(target), L"abc");

  EXPECT_EQ(StringHelp::Concat(L"[", Path(L"a\\b"), std::wstring(L"]"), L'!'), L"[a\\b]!");
}

TEST(InternalPath, ConstructionAndAppendKeepOnlyBackslashes) {
  EXPECT_EQ(lu::InternalPath(CStdStr<wchar_t>(L"a/b/c")).GetFullPath(), L"a\\b\\c");

  struct Case {
    const wchar_t *start, *part;
    bool separator;
    const wchar_t* expected;
  };
  const Case cases[] = {
      {L"", L"a", true, L"\\a"},     {L"", L"a", false, L"a"},     {L"x", L"a/b", true, L"x\\a\\b"},
      {L"x/", L"a", true, L"x\\a"}, {L"x", L"a", false, L"xa"}, {L"x", L"/a", false, L"x\\a"},
  };
  for (const Case& c : cases) {
    lu::InternalPath p{CStdStr<wchar_t>(c.start)};
    EXPECT_EQ(p.Append(c.part, c.separator).GetFullPath(), W(c.expected)) << c.start << " + " << c.part;
  }
  lu::InternalPath owner{CStdStr<wchar_t>(L"long enough to live on the heap")};
  const wchar_t* storage = owner.GetFullPath().data();
  const CStdStr<wchar_t> taken = std::move(owner).GetFullPath();
  EXPECT_EQ(taken.data(), storage);
}

TEST(InternalPath, ParentAndStem) {
  struct Case {
    const wchar_t *path, *parent, *stem;
  };
  const Case cases[] = {
      {L"b.c.d", L"", L"b.c"}, {L"x\\.a", L"x", L".a"}, {L"x.y\\a", L"x.y", L"a"}, {L"x\\..", L"x", L".."},
      {L"\\a", L"", L"a"},     {L"a\\b\\c", L"a\\b", L"c"}, {L"a\\", L"a", L""}, {L"x\\a.", L"x", L"a"},
  };
  for (const Case& c : cases) {
    const lu::InternalPath p{CStdStr<wchar_t>(c.path)};
    EXPECT_EQ(p.GetParent(), W(c.parent)) << c.path;
    EXPECT_EQ(p.GetStem(), W(c.stem)) << c.path;
  }
}
