// The disk members of lu::Path, lu::PathFind and the tree functions, on trees in a temporary folder.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include <nybase/files/DirectoryRecursive.h>
#include <nybase/files/PathFind.h>
#include <nybase/platform/DirectoryApi.h>
#include <nybase/platform/NativePath.h>

#include "../support/TestSupport.h"

using nytest::TempDir;
using Strings = std::vector<std::wstring>;

namespace {

struct Tree {
  TempDir dir;
  lu::Path P(const std::string& name = {}) const { return lu::Path(CStdStr<wchar_t>(dir.Wide(name))); }
  std::wstring W(const std::string& name = {}) const { return dir.Wide(name); }
  std::string N(const std::string& name = {}) const { return name.empty() ? dir.Native() : dir.Native(name); }
  void File(const std::string& name, size_t size = 3) const {
    std::filesystem::create_directories(std::filesystem::path(N(name)).parent_path());
    nytest::WriteFileBytes(N(name), std::vector<uint8_t>(size, 'x'));
  }
  void Dir(const std::string& name) const { std::filesystem::create_directories(N(name)); }
};

// Lines of a shell command's output, sorted, each mapped to the library's path form.
std::set<std::wstring> Lines(const std::string& command) {
  std::set<std::wstring> out;
  FILE* p = ::popen(command.c_str(), "r");
  char line[8192];
  while (p && std::fgets(line, sizeof line, p)) {
    std::string s(line);
    if (!s.empty() && s.back() == '\n') s.pop_back();
    out.insert(lu::platform::FromNativePath(s));
  }
  if (p) ::pclose(p);
  return out;
}

struct Recorder : IProgress {
  std::vector<int64_t> calls;  // range maximum first (as -max), then positions
  void SetRange(int64_t, int64_t max) override { calls.push_back(-max); }
  void SetPosition(int64_t v) override { calls.push_back(v); }
  bool IsCancelled() override { return false; }
};

// A tree with the awkward cases: dot and .svn folders, a hidden-by-attribute file, nested empty
// folders, a read-only file, a link loop and a path beyond 260 characters.
void BuildAwkward(const Tree& t) {
  t.File("a.wav");
  t.File("B.WAV");
  t.File("notes.txt");
  t.File("sub/c.wav");
  t.File("sub/deeper/d.wav", 5000);
  t.File(".svn/x.wav");
  t.File(".dot/e.wav");
  t.File("hidden.wav");
  ::setxattr(t.N("hidden.wav").c_str(), "user.nybase.hidden", "1", 1, 0);
  t.Dir("empty/nested/more");
  t.File("ro.wav");
  ::chmod(t.N("ro.wav").c_str(), 0444);
  ::symlink("..", t.N("sub/loop").c_str());
  t.File(std::string(120, 'l') + "/" + std::string(120, 'm') + "/" + std::string(70, 'n') + ".wav");
}

}  // namespace

TEST(PathDisk, StatusTable) {
  Tree t;
  BuildAwkward(t);
  t.File(".cfg");
  struct Row {
    const char* name;
    bool exists, file, dir, hidden, readOnly;
    uint64_t size;
  } rows[] = {
      {"a.wav", true, true, false, false, false, 3},   {"sub", true, false, true, false, false, 0},
      {"ro.wav", true, true, false, false, true, 3},   {"hidden.wav", true, true, false, true, false, 3},
      {".cfg", true, true, false, true, false, 3},     {"missing", false, false, false, true, false, 0},
      {"sub/loop", true, false, true, false, false, 0}, {"sub/deeper/d.wav", true, true, false, false, false, 5000},
  };
  for (const Row& r : rows) {
    const lu::Path p = t.P(r.name);
    EXPECT_EQ(p.Exists(), r.exists) << r.name;
    EXPECT_EQ(p.IsFile(), r.file) << r.name;
    EXPECT_EQ(lu::FileExists(p.GetFullPath()), r.file) << r.name;
    EXPECT_EQ(p.IsDirectory(), r.dir) << r.name;
    EXPECT_EQ(p.IsHidden(), r.hidden) << r.name;
    EXPECT_EQ(p.IsReadOnly(), r.readOnly) << r.name;
    EXPECT_EQ(p.GetFileSize(), r.size) << r.name;
  }
  EXPECT_FALSE(lu::Path().IsHidden());
  EXPECT_EQ(t.P("missing").GetLastWriteTime(), -1);
  struct stat st;
  ::stat(t.N("sub").c_str(), &st);
  EXPECT_EQ(t.P("sub").GetLastWriteTime(), st.st_mtim.tv_sec);
  EXPECT_TRUE(t.P("ro.wav").RemoveReadOnlyStatus());
  EXPECT_FALSE(t.P("ro.wav").IsReadOnly());
}

TEST(PathDisk, HiddenAttributeSetAndCleared) {
  Tree t;
  t.File("f");
  t.File(".dot");
  const lu::Path f = t.P("f");
  EXPECT_TRUE(f.SetHiddenStatus(true));
  EXPECT_GE(::getxattr(t.N("f").c_str(), "user.nybase.hidden", nullptr, 0), 0);
  EXPECT_TRUE(f.IsHidden());
  EXPECT_TRUE(f.SetHiddenStatus(false));
  EXPECT_LT(::getxattr(t.N("f").c_str(), "user.nybase.hidden", nullptr, 0), 0);
  EXPECT_FALSE(t.P(".dot").SetHiddenStatus(false));  // the name says hidden
  EXPECT_FALSE(t.P("missing").SetHiddenStatus(true));
}

TEST(PathDisk, CopyCodesAndProgress) {
  Tree t;
  t.File("src", 3000);
  t.File("afile");
  std::error_condition c;
  EXPECT_FALSE(t.P("missing").Copy(t.P("x"), nullptr, &c));
  EXPECT_EQ(c, std::error_condition(2, std::generic_category()));
  EXPECT_FALSE(t.P("src").Copy(lu::Path(L"bare.wav"), nullptr, &c));
  EXPECT_EQ(c.value(), 22);
  EXPECT_FALSE(lu::Path().Copy(t.P("x"), nullptr, &c));
  EXPECT_EQ(c.value(), 2);
  EXPECT_FALSE(t.P("src").Copy(t.P("bad|dir/x"), nullptr, &c));
  EXPECT_EQ(c.value(), 22);
  EXPECT_FALSE(t.P("src").Copy(t.P("afile/x"), nullptr, &c));  // the parent is a file
  EXPECT_FALSE(std::filesystem::exists(t.N("afile/x")));
  Recorder progress;
  ASSERT_TRUE(t.P("src").Copy(t.P("new/chain/dst"), &progress, &c));
  EXPECT_EQ(c.value(), 0);
  EXPECT_EQ(progress.calls, (std::vector<int64_t>{-3, 0, 2}));
  EXPECT_EQ(nytest::ReadFileBytes(t.N("new/chain/dst")).size(), 3000u);
  t.File("small", 1);
  ASSERT_TRUE(t.P("small").Copy(t.P("new/chain/dst")));  // overwrites
  EXPECT_EQ(nytest::ReadFileBytes(t.N("new/chain/dst")).size(), 1u);
  t.File("rotarget", 7);
  ::chmod(t.N("rotarget").c_str(), 0444);
  EXPECT_FALSE(t.P("src").Copy(t.P("rotarget"), nullptr, &c));  // refused, left as it was
  EXPECT_EQ(c, std::errc::permission_denied);
  EXPECT_FALSE(t.P("src").Copy(t.P("./src")));  // onto itself: refused, not truncated
  EXPECT_EQ(std::filesystem::file_size(t.N("rotarget")) + std::filesystem::file_size(t.N("src")), 3007u);
  t.File("tree/inner/f");
  ASSERT_TRUE(t.P("tree").Copy(t.P("treecopy")));  // a directory: only itself
  EXPECT_TRUE(std::filesystem::is_empty(t.N("treecopy")));
  EXPECT_TRUE(t.P("small").IsEquivalent(t.P("./small")));
  EXPECT_FALSE(t.P("small").IsEquivalent(t.P("src")));
  EXPECT_FALSE(t.P("missing").IsEquivalent(t.P("missing")));
  EXPECT_TRUE(t.P("small").Move(t.P("tree/moved")));
  EXPECT_TRUE(t.P("tree/moved").IsFile());
  EXPECT_FALSE(t.P("small").Exists());
}

TEST(PathDisk, CreateAndRemove) {
  Tree t;
  t.File("file");
  std::error_condition c;
  EXPECT_FALSE(t.P("a/b").CreateDirectoryW(&c));
  EXPECT_EQ(c.value(), 22);
  EXPECT_FALSE(t.P("a<b").CreateDirectoryW(&c));
  EXPECT_EQ(c.value(), 22);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(t.N()), {}), 1);  // only "file"
  EXPECT_TRUE(t.P("a/b/c").CreateDirectories(&c));
  EXPECT_EQ(c.value(), 0);
  EXPECT_TRUE(t.P("a/b/c").IsDirectory());
  EXPECT_TRUE(t.P("file").CreateDirectories(&c));  // something stands there
  EXPECT_FALSE(t.P("file/sub").CreateDirectories(&c));
  EXPECT_EQ(c, std::errc::file_exists);
  EXPECT_FALSE(lu::Path().CreateDirectories(&c));
  EXPECT_EQ(c.value(), 22);
  EXPECT_FALSE(lu::EnsureDirectoryExists(t.W("x?y")));
  EXPECT_FALSE(lu::EnsureDirectoryExists(L""));
  EXPECT_TRUE(lu::EnsureDirectoryExists(L"\\"));  // the root stays after the trim, and exists
  EXPECT_TRUE(lu::EnsureDirectoryExists(t.W("e/f\\")));
  EXPECT_TRUE(t.P("e/f").IsDirectory());
  EXPECT_FALSE(std::filesystem::exists(t.N("x?y")));
  t.File("a/b/c/d/f");
  EXPECT_FALSE(t.P("a").Remove(false));
  EXPECT_FALSE(t.P("missing").Remove(true));
  EXPECT_FALSE(lu::Path().Remove(true));
  EXPECT_TRUE(t.P("a").Remove(true));
  EXPECT_FALSE(std::filesystem::exists(t.N("a")));
  EXPECT_TRUE(t.P("file").Remove(false));
}

TEST(PathDisk, RelativeAndDirectory) {
  Tree t;
  t.File("x/y/f.wav");
  const struct {
    const char* path;
    const char* base;
    const wchar_t* expected;
  } rows[] = {{"x/y/f.wav", "x", L"y\\f.wav"}, {"x", "x/y", L".."}, {"x/y", "x/y", L"."},
              {"x/new/g", "x/y", L"..\\new\\g"}, {"x/./y/../y/f.wav", "", nullptr}};
  for (const auto& r : rows) {
    const lu::Path base = *r.base ? t.P(r.base) : lu::Path();
    const std::wstring expected = r.expected ? r.expected : t.W(r.path);
    EXPECT_EQ(std::wstring(t.P(r.path).GetPathRelative(base)), expected) << r.path;
  }
  EXPECT_EQ(std::wstring(lu::Path(L"C:\\a").GetPathRelative(t.P("x"))), L"");
  lu::Path p = t.P("x/y/f.wav");
  p.MakePathRelative(t.P("x"));
  EXPECT_EQ(std::wstring(p.GetFullPath()), L"y\\f.wav");
  EXPECT_EQ(std::wstring(t.P("x/y").GetFileDirectory(true)), t.W("x/y") + L"\\");
  EXPECT_EQ(std::wstring(t.P("x/y/f.wav").GetFileDirectory(false)), t.W("x/y"));
  EXPECT_EQ(std::wstring(t.P("x/gone\\").GetFileDirectory(false)), t.W("x/gone"));
  const lu::Path before = lu::Path::GetCurrent();
  ASSERT_TRUE(lu::Path::SetCurrent(t.P("x")));
  EXPECT_EQ(std::wstring(lu::Path::GetCurrent().GetFullPath()), t.W("x"));
  EXPECT_TRUE(lu::Path::SetCurrent(before));
}

TEST(PathFind, WildcardsOrderAndDots) {
  Tree t;
  for (const char* n : {"a.wav", "B.WAV", "c.wavx", "noext", "d.txt"}) t.File(n);
  t.Dir("dir.wav");
  const struct {
    const char* pattern;
    Strings names;
  } rows[] = {{"*", {L"a.wav", L"B.WAV", L"c.wavx", L"d.txt", L"dir.wav", L"noext"}},
              {"*.*", {L"a.wav", L"B.WAV", L"c.wavx", L"d.txt", L"dir.wav", L"noext"}},
              {"*.wav", {L"a.wav", L"B.WAV", L"dir.wav"}},
              {"?.WAV", {L"a.wav", L"B.WAV"}},
              {"no*", {L"noext"}},
              {"zz*", {}}};
  for (const auto& r : rows) {
    Strings got;
    for (lu::PathFind f(t.W(r.pattern)); f.HasNext();) got.push_back(std::wstring(lu::Path(f.Next()).GetFileName()));
    EXPECT_EQ(got, r.names) << r.pattern;
  }
  lu::PathFind f(t.W("dir*"));
  ASSERT_TRUE(f.HasNext());
  EXPECT_TRUE(f.IsNextDirectory());
  EXPECT_GT(f.NextLastFileWriteTime(), 0);
  EXPECT_EQ(std::wstring(f.PeekNext().GetFullPath()), t.W("dir.wav"));
  lu::PathFind copy(f);
  EXPECT_EQ(copy.PeekNext(), f.PeekNext());
  f.CacheNext();
  EXPECT_FALSE(f.HasNext());
  EXPECT_TRUE(f.Next().IsEmpty());
  t.Dir("only");
  EXPECT_FALSE(lu::PathFind(t.W("only/*")).HasNext());
  EXPECT_FALSE(lu::PathFind(t.W("missing/*")).HasNext());
}

TEST(Directory, FilesInfoSkipsDotFoldersAndCancels) {
  Tree t;
  BuildAwkward(t);
  volatile bool cancel = true;
  int calls = 0;
  auto all = [](const lu::BasicStringView<wchar_t>&) { return true; };
  lu::GetFilesInfo(cancel, t.W(), [&](const CStdStr<wchar_t>&, const lu::FileInfo&) { ++calls; }, all);
  EXPECT_EQ(calls, 0);
  cancel = false;
  std::set<std::wstring> seen;
  uint64_t deepSize = 0;
  lu::GetFilesInfo(cancel, t.W(), [&](const CStdStr<wchar_t>& p, const lu::FileInfo& info) {
    seen.insert(p);
    if (p == t.W("sub/deeper/d.wav")) deepSize = info.size;
  }, [](const lu::BasicStringView<wchar_t>& name) { return name.size() > 4 && name[name.size() - 1] == L'v'; });
  EXPECT_EQ(deepSize, 5000u);
  EXPECT_EQ(seen.count(t.W(".svn/x.wav")) + seen.count(t.W(".dot/e.wav")) + seen.count(t.W("notes.txt")), 0u);
  EXPECT_EQ(seen.count(t.W("hidden.wav")), 1u);
  EXPECT_EQ(seen.count(t.W("B.WAV")), 0u);  // the filter sees the name as it is
  EXPECT_EQ(seen.size(), 6u);                // a, c, d, hidden, ro, long
}

TEST(Directory, RecursiveListingsMatchFind) {
  Tree t;
  BuildAwkward(t);
  ::symlink("a.wav", t.N("sub/filelink").c_str());
  ::symlink("nowhere", t.N("sub/dangling").c_str());
  // The walk leaves out dangling links (their status fails); the search lists them as entries.
  const std::set<std::wstring> found = Lines("find " + t.N() + " ! -xtype d ! -xtype l");
  std::vector<CStdStr<wchar_t>> listed;
  ASSERT_TRUE(lu::ListDirectoryRecursive(t.W(), listed));
  EXPECT_EQ(std::set<std::wstring>(listed.begin(), listed.end()), found);
  EXPECT_EQ(listed.size(), found.size());
  std::set<CStdStr<wchar_t>> files;
  ASSERT_TRUE(lu::GetFilesRecursive(t.W(), files, L"*", 0));
  EXPECT_EQ(std::set<std::wstring>(files.begin(), files.end()), Lines("find " + t.N() + " ! -xtype d"));
  std::set<CStdStr<wchar_t>, lu::NoCaseStringComp> wavs;
  ASSERT_TRUE(lu::GetFilesRecursive(t.W(), wavs, L"*.wav", 1));
  const std::set<std::wstring> wavFound = Lines("find " + t.N() + " -iname '*.wav' ! -xtype d ! -xtype l -o -xtype d");
  EXPECT_EQ(std::set<std::wstring>(wavs.begin(), wavs.end()), wavFound);
  std::set<CStdStr<wchar_t>> none;
  EXPECT_FALSE(lu::GetFilesRecursive(t.W("empty"), none, L"*", 0));
  EXPECT_FALSE(lu::GetFilesRecursive(t.W("missing"), none, L"*", 1));
  EXPECT_FALSE(lu::ListDirectoryRecursive(t.W("missing"), listed));
}

TEST(Directory, ListingCleansEveryFormOfTheRootAndOddNames) {
  Tree t;
  t.File("a/b.wav");
  t.File("in\\side.wav");  // names on disk may hold the library's separator
  t.File("edge\\");
  t.File("\\lead");
  const std::wstring root = t.W();
  const std::set<std::wstring> expected = {root + L"\\a\\b.wav", root + L"\\in\\side.wav", root + L"\\edge",
                                           root + L"\\lead"};
  std::wstring slashed = root;
  std::replace(slashed.begin(), slashed.end(), L'\\', L'/');
  for (const std::wstring& form : {root, root + L"\\", root + L"\\\\", root + L"/", slashed, slashed + L"//"}) {
    std::vector<CStdStr<wchar_t>> listed;
    ASSERT_TRUE(lu::ListDirectoryRecursive(form, listed));
    EXPECT_EQ(std::set<std::wstring>(listed.begin(), listed.end()), expected) << std::string(form.begin(), form.end());
  }
}

TEST(Directory, UndecodableNamesAreSkippedAndCounted) {
  Tree t;
  t.File("bad\xff.wav");
  t.File("bad\xef\xbf\xbd.wav");  // what the bad name would decode to: must not be opened instead
  const uint64_t before = lu::platform::GetSkippedNameCount();
  std::vector<CStdStr<wchar_t>> listed;
  ASSERT_TRUE(lu::ListDirectoryRecursive(t.W(), listed));
  std::set<CStdStr<wchar_t>> files;
  lu::GetFilesRecursive(t.W(), files, L"*", 0);
  EXPECT_EQ(listed.size(), 1u);
  EXPECT_EQ(files.size(), 1u);
  EXPECT_EQ(lu::platform::GetSkippedNameCount() - before, 2u);
  // A wildcard filter still lists the folder once: the bad name counts once more, not twice.
  std::set<CStdStr<wchar_t>> wavs;
  lu::GetFilesRecursive(t.W(), wavs, L"*.WAV", 0);
  EXPECT_EQ(wavs.size(), 1u);
  EXPECT_EQ(lu::platform::GetSkippedNameCount() - before, 3u);
}

TEST(Directory, CopyFilesRecursiveMatchesDiff) {
  Tree t;
  BuildAwkward(t);
  ::unlink(t.N("sub/loop").c_str());  // diff -r would follow it
  ASSERT_TRUE(lu::CopyFilesRecursive(t.W(), t.W() + L"-copy", nullptr, true));
  const std::string copy = t.N() + "-copy";
  EXPECT_EQ(nytest::Run("diff -r -x empty " + t.N() + " " + copy + " >/dev/null"), 0);
  EXPECT_FALSE(std::filesystem::exists(copy + "/empty"));  // no file, no folder
  t.File("sub/c.wav", 10);
  ::chmod((copy + "/ro.wav").c_str(), 0644);  // a read-only target is refused, as a copy of one file
  ASSERT_TRUE(lu::CopyFilesRecursive(t.W(), t.W() + L"-copy", nullptr, true));  // overwrites
  EXPECT_EQ(std::filesystem::file_size(copy + "/sub/c.wav"), 10u);
  std::filesystem::remove_all(copy);
  auto wavOnly = [](const CStdStr<wchar_t>& p) { return p.size() > 4 && p.compare(p.size() - 4, 4, L".wav") == 0; };
  ASSERT_TRUE(lu::CopyFilesRecursive(t.W(), t.W() + L"-copy", wavOnly, false));
  EXPECT_FALSE(std::filesystem::exists(copy + "/hidden.wav"));
  EXPECT_TRUE(std::filesystem::exists(copy + "/.svn/x.wav"));  // a hidden folder is still entered
  EXPECT_FALSE(std::filesystem::exists(copy + "/notes.txt"));
  EXPECT_TRUE(std::filesystem::exists(copy + "/sub/deeper/d.wav"));
  std::filesystem::remove_all(copy);
  EXPECT_FALSE(lu::CopyFilesRecursive(t.W("missing"), t.W("out"), nullptr, true));
  EXPECT_FALSE(lu::CopyFilesRecursive(t.W("a.wav"), t.W("single.wav"), nullptr, true));  // copied, not walkable
  EXPECT_TRUE(std::filesystem::exists(t.N("single.wav")));
}

TEST(Directory, RemoveTreesAndFiles) {
  Tree t;
  BuildAwkward(t);
  ::chmod(t.N("ro.wav").c_str(), 0644);
  EXPECT_FALSE(lu::RemoveDirectoryRecursive(t.W("missing"), nullptr));
  EXPECT_TRUE(lu::RemoveFiles(t.P(), L"*.zzz"));
  EXPECT_TRUE(lu::RemoveFiles(t.P(), L"*.WAV"));
  EXPECT_FALSE(std::filesystem::exists(t.N("a.wav")));
  EXPECT_TRUE(std::filesystem::exists(t.N("sub/c.wav")));
  EXPECT_FALSE(lu::RemoveFiles(t.P("missing"), L"*"));
  // Refusing every subfolder: the files go, the folders stay.
  const std::wstring root = t.W();
  auto filesOnly = [&](const CStdStr<wchar_t>& p) { return p == root || !lu::Path(p).IsDirectory(); };
  EXPECT_TRUE(lu::RemoveDirectoryRecursive(t.W(), filesOnly));
  EXPECT_EQ(Lines("find " + t.N() + " ! -xtype d").size(), 0u);
  EXPECT_TRUE(std::filesystem::exists(t.N("sub/deeper")));
  EXPECT_TRUE(lu::RemoveDirectoryRecursive(t.W(), nullptr));
  EXPECT_FALSE(std::filesystem::exists(t.N()));
  std::filesystem::create_directory(t.N());  // for the TempDir's own clean-up
}

TEST(Directory, VanishingEntryAndDeniedFolder) {
  Tree t;
  for (int i = 0; i < 10; ++i) t.File("a/d" + std::to_string(i) + "/f");
  // Once the walk has listed "a", its folders vanish: the walk passes over them without an error.
  lu::platform::DirectoryWalk walk;
  ASSERT_TRUE(walk.Open(t.W().data(), t.W().size()));
  lu::platform::WalkEntry e;
  ASSERT_EQ(walk.Next(e), lu::platform::DirectoryWalk::Step::Entry);  // "a", entered
  ASSERT_EQ(walk.Next(e), lu::platform::DirectoryWalk::Step::Entry);  // its first folder; the rest is read
  for (int i = 0; i < 10; ++i) std::filesystem::remove_all(t.N("a/d" + std::to_string(i)));
  lu::platform::DirectoryWalk::Step step;
  int entries = 0;
  while ((step = walk.Next(e)) == lu::platform::DirectoryWalk::Step::Entry) ++entries;
  EXPECT_EQ(step, lu::platform::DirectoryWalk::Step::End);
  EXPECT_EQ(walk.ErrorNumber(), 0);
  EXPECT_LE(entries, 1);  // at most the file of the folder entered before the removal
  t.File("locked/x");
  t.File("open/y");
  ::chmod(t.N("locked").c_str(), 0);
  ::chmod(t.N().c_str(), 0755);
  // Run as `nobody` in a child when we are root, so the permission bits bite.
  const pid_t pid = ::fork();
  if (pid == 0) {
    if (nytest::IsRoot() && ::setuid(65534) != 0) _exit(90);
    std::set<CStdStr<wchar_t>> files;
    lu::GetFilesRecursive(t.W(), files, L"*", 0);
    if (files.size() != 1 || *files.begin() != t.W("open/y")) _exit(1);
    std::vector<CStdStr<wchar_t>> listed;
    try {
      lu::ListDirectoryRecursive(t.W(), listed);
      _exit(2);
    } catch (const std::filesystem::filesystem_error& err) {
      if (std::string(err.what()).find("recursive_directory_iterator::operator++") == std::string::npos) _exit(3);
    }
    _exit(0);
  }
  int status = 0;
  ::waitpid(pid, &status, 0);
  ::chmod(t.N("locked").c_str(), 0755);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(Directory, FailedCopyLeavesSourceAndNoPartialFile) {
  Tree t;
  t.File("src/small", 100);
  t.File("src/big", 200000);
  // A file-size limit in a child stands for a full disk.
  const pid_t pid = ::fork();
  if (pid == 0) {
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{65536, 65536};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    _exit(lu::CopyFilesRecursive(t.W("src"), t.W("dst"), nullptr, true) ? 1 : 0);
  }
  int status = 0;
  ::waitpid(pid, &status, 0);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);  // reported failure
  EXPECT_EQ(nytest::ReadFileBytes(t.N("src/big")), std::vector<uint8_t>(200000, 'x'));
  EXPECT_FALSE(std::filesystem::exists(t.N("dst/big")));
  EXPECT_EQ(std::filesystem::file_size(t.N("dst/small")), 100u);
}
