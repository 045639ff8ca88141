// Child processes, pipes, the environment, folders, libraries, the Wine bridge's texts and
// macro expansion, with real children.
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <cstring>
#include <thread>

#include "../support/TestSupport.h"

#include <nybase/files/Environment.h>
#include <nybase/files/Library.h>
#include <nybase/files/MacroExpansion.h>
#include <nybase/files/Process.h>
#include <nybase/files/WineProxy.h>

namespace {

// Runs `commandLine` with its standard input and output on pipes: writes `input`, closes it, and
// returns everything the child wrote; the exit code in `exitCode`.
std::string RunWithPipes(const wchar_t* commandLine, const std::string& input, unsigned& exitCode) {
  void *childIn = nullptr, *ourIn = nullptr, *ourOut = nullptr, *childOut = nullptr;
  lu::CreateProcessIORedirectPipe(childIn, ourIn);
  lu::CreateProcessIORedirectPipe(ourOut, childOut);
  void *privateIn = nullptr, *privateOut = nullptr;
  lu::DuplicateProcessIORedirectHandle(ourIn, privateIn);
  lu::DuplicateProcessIORedirectHandle(ourOut, privateOut);
  EXPECT_EQ(ourIn, nullptr);  // the inheritable originals are closed
  lu::Process process;
  lu::ProcessIORedirect redirect{nullptr, childOut, childIn};
  EXPECT_TRUE(lu::CreateProcessW(commandLine, process, redirect, false));
  lu::CloseProcessIORedirectHandle(childIn);
  lu::CloseProcessIORedirectHandle(childOut);
  // The writer runs beside the reader, so that neither pipe's buffer can block the other.
  std::thread writer([&] {
    size_t at = 0;
    while (at < input.size()) {
      unsigned done = 0;
      if (!lu::WriteToProcessIORedirectHandle(privateIn, input.data() + at, unsigned(input.size() - at), done)) break;
      at += done;
    }
    lu::CloseProcessIORedirectHandle(privateIn);
  });
  std::string output;
  char buffer[65536];
  unsigned long done = 0;
  while (lu::ReadFromIORedirectHandle(privateOut, buffer, sizeof buffer, done) && done != 0) output.append(buffer, done);
  writer.join();
  lu::CloseProcessIORedirectHandle(privateOut);
  lu::WaitForProcess(process, exitCode);
  lu::CloseProcess(process);
  return output;
}

}  // namespace

TEST(Process, ExitCodesWaitsAndStartFailures) {
  lu::Process p;
  ASSERT_TRUE(lu::CreateProcessW(L"sh -c \"exit 3\"", p, false));
  unsigned code = 99;
  EXPECT_EQ(lu::WaitForProcess(p, 0xFFFFFFFFu, code), 0u);
  EXPECT_EQ(code, 3u);
  lu::WaitForProcess(p, code);  // asked again: the same answer until closed
  EXPECT_EQ(code, 3u);
  lu::CloseProcess(p);

  ASSERT_TRUE(lu::CreateProcessW(L"sleep 5", p, false));
  code = 77;
  EXPECT_EQ(lu::WaitForProcess(p, 0, code), 258u);
  EXPECT_EQ(lu::WaitForProcess(p, 50, code), 258u);
  EXPECT_EQ(code, 77u);
  ::kill(int(reinterpret_cast<intptr_t>(p.m_hThread) - 1), SIGTERM);
  EXPECT_EQ(lu::WaitForProcess(p, 10000, code), 0u);
  EXPECT_EQ(code, 128u + SIGTERM);
  lu::CloseProcess(p);

  EXPECT_FALSE(lu::CreateProcessW(L"no-such-program-nybase", p, false));
  EXPECT_EQ(lu::GetLastProcessError(), lu::ProcessErrorNotFound);
  EXPECT_EQ(p.m_hProcess, nullptr);
  EXPECT_FALSE(lu::CreateProcessW(L"Z:\\tmp", p, false));  // a directory, by its Windows path
  EXPECT_EQ(lu::GetLastProcessError(), lu::ProcessErrorAccessDenied);
  EXPECT_FALSE(lu::CreateProcessW(L"D:\\x.exe", p, false));  // no such drive here
  EXPECT_EQ(lu::GetLastProcessError(), lu::ProcessErrorNotFound);
}

TEST(Process, PipesCarryLargePayloadsBothWaysAndPrivateEndsStayHome) {
  std::string payload(4 << 20, '\0');
  for (size_t i = 0; i < payload.size(); ++i) payload[i] = char('a' + i % 23);
  unsigned code = 1;
  EXPECT_EQ(RunWithPipes(L"cat", payload, code), payload);
  EXPECT_EQ(code, 0u);
}

// Inheritable pipe ends reach a child; ends made private do not. Pipes are told apart by inode,
// as the child's descriptor numbers may be reused.
TEST(Process, PrivateEndsDoNotReachTheChild) {
  const auto inode = [](void* handle) {
    struct stat st {};
    EXPECT_EQ(::fstat(int(reinterpret_cast<intptr_t>(handle) - 1), &st), 0);
    return "pipe:[" + std::to_string(st.st_ino) + "]";
  };
  void *inheritR = nullptr, *inheritW = nullptr, *r = nullptr, *w = nullptr, *privateR = nullptr, *privateW = nullptr;
  lu::CreateProcessIORedirectPipe(inheritR, inheritW);
  lu::CreateProcessIORedirectPipe(r, w);
  lu::DuplicateProcessIORedirectHandle(r, privateR);
  lu::DuplicateProcessIORedirectHandle(w, privateW);
  const std::string inherited = inode(inheritR), hidden = inode(privateR);
  unsigned code = 1;
  const std::string links = RunWithPipes(L"sh -c \"readlink /proc/$$/fd/*\"", "", code);
  EXPECT_NE(links.find(inherited), std::string::npos) << links;
  EXPECT_EQ(links.find(hidden), std::string::npos) << links;
  for (void* h : {inheritR, inheritW, privateR, privateW}) lu::CloseProcessIORedirectHandle(h);
}

TEST(Process, WritingToAPipeWithNoReaderFailsWithoutKillingUs) {
  void *r = nullptr, *w = nullptr;
  lu::CreateProcessIORedirectPipe(r, w);
  lu::CloseProcessIORedirectHandle(r);
  unsigned long done = 5;
  EXPECT_FALSE(lu::WriteToIORedirectHandle(w, "x", 1, done));
  EXPECT_EQ(done, 0u);
  lu::CloseProcessIORedirectHandle(w);
  unsigned long available = 1;
  EXPECT_FALSE(lu::GetAvailableBytesInPipe(nullptr, available));
}

TEST(Environment, VariablesMapAndFolders) {
  CStdStr<wchar_t> value = L"old";
  ASSERT_EQ(lu::SetEnv(L"NYBASE_T_EMPTY", L"", 1), 0);
  EXPECT_FALSE(lu::GetEnv(L"NYBASE_T_EMPTY", value));  // empty reads as absent
  EXPECT_EQ(value, L"");
  ASSERT_EQ(lu::SetEnv(L"NYBASE_T", L"caf\u00E9", 1), 0);
  EXPECT_EQ(lu::SetEnv(L"NYBASE_T", L"other", 0), 0);  // kept
  EXPECT_TRUE(lu::GetEnv(L"NYBASE_T", value));
  EXPECT_EQ(value, L"caf\u00E9");
  EXPECT_NE(lu::SetEnv(L"A=B", L"x", 1), 0);
  lu::EnvironmentMap map{{L"stale", L"x"}};
  lu::GetProcessEnvironmentMap(map);
  EXPECT_EQ(map.count(L"stale"), 0u);
  EXPECT_EQ(map.count(L""), 0u);
  EXPECT_EQ(map[L"NYBASE_T"], L"caf\u00E9");
  EXPECT_EQ(map[L"NYBASE_T_EMPTY"], L"");

  EXPECT_EQ(lu::GetTempDirectoryPath().GetFsPath().native().back(), L'\\');
  EXPECT_EQ(lu::GetExecutablePath().GetFsPath().native().rfind(L"Z:\\", 0), 0u);
  EXPECT_NE(lu::GetExecutablePath().GetFsPath().native().find(L"nybase_files_tests"), std::wstring::npos);
  EXPECT_FALSE(lu::GetUserNameW().empty());
  EXPECT_EQ(lu::GetCurrentProcessCoreCount(lu::CpuCoreTypeEfficiency), 0u);
  EXPECT_GE(lu::GetCurrentProcessCoreCount(lu::CpuCoreTypeAll), 1u);
  EXPECT_EQ(lu::GetCurrentProcessId(), unsigned(::getpid()));
}

TEST(Library, LoadsFindsAndReportsFailures) {
  EXPECT_EQ(lu::GetLibraryName(L"a"), L"a.so");
  EXPECT_EQ(lu::GetLibraryName(L"a.so"), L"a.so.so");
  EXPECT_EQ(lu::priv::GetProcAddress(nullptr, "x"), nullptr);
  EXPECT_FALSE(lu::FreeLibrary(nullptr));
  EXPECT_EQ(lu::LoadLibraryW(lu::Path(L"Z:\\no\\such\\lib.so")), nullptr);
  EXPECT_NE(lu::GetLastLibraryError().find(L"lib.so"), std::wstring::npos);
  std::string libm;
  for (const char* p : {"/lib/x86_64-linux-gnu/libm.so.6", "/usr/lib/x86_64-linux-gnu/libm.so.6", "/lib64/libm.so.6"}) {
    if (std::filesystem::exists(p)) libm = p;
  }
  if (libm.empty()) GTEST_SKIP() << "no libm.so.6 found";
  HINSTANCE lib = lu::LoadLibraryW(lu::Path(CStdStr<wchar_t>(libm)));
  ASSERT_NE(lib, nullptr);
  auto* cosine = reinterpret_cast<double (*)(double)>(lu::priv::GetProcAddress(lib, "cos"));
  ASSERT_NE(cosine, nullptr);
  EXPECT_EQ(cosine(0.0), 1.0);
  EXPECT_EQ(lu::priv::GetProcAddress(lib, "no_such_symbol_nybase"), nullptr);
  EXPECT_TRUE(lu::FreeLibrary(lib));
}

TEST(WineProxy, NoWineLayerButTheCommandTextsStand) {
  const lu::WineProxy& proxy = lu::WineProxy::Get();
  EXPECT_EQ(proxy.GetOSType(), lu::WineProxy::OSTypeWindows);
  CStdStr<wchar_t> out = L"kept";
  EXPECT_FALSE(proxy.ConvertPathWindowsToUnix(L"C:\\a", out));
  EXPECT_FALSE(proxy.ConvertPathUnixToWindows(L"/a/", out));
  EXPECT_EQ(out, L"kept");
  CStdStr<wchar_t> same = L"a\\b/c\\";
  proxy.ConvertRelativePathWindowsToUnix(same, same);
  EXPECT_EQ(same, L"a/b/c/");
  proxy.ConvertRelativePathUnixToWindows(same, same);
  EXPECT_EQ(same, L"a\\b\\c\\");
  EXPECT_EQ(proxy.GetFileDirOpener(), L"/usr/bin/open");

  std::vector<CStdStr<wchar_t>> ran;
  lu::WineProxy::SetCommandRunner([&](const CStdStr<wchar_t>& c) { ran.push_back(c); return ran.size() == 1 ? 0 : 1; });
  EXPECT_TRUE(proxy.RunMacOSCommand(L"\"My App\"", false));
  EXPECT_FALSE(proxy.RunMacOSCommand(L"X", true));
  EXPECT_FALSE(proxy.RunMacOSShell(L"ls", L""));
  EXPECT_FALSE(proxy.RunMacOSShell(L"ls -l", L"/a b(1)[2]"));
  lu::WineProxy::SetCommandRunner(nullptr);
  const std::wstring start = L"C:\\Windows\\system32\\start.exe /unix /bin/sh -c ";
  ASSERT_EQ(ran.size(), 4u);
  EXPECT_EQ(ran[0], start + L"\"open -a \"My App\"\"");
  EXPECT_EQ(ran[1], start + L"\"open -n -a X\"");
  EXPECT_EQ(ran[2], start + L"\"ls\"");
  EXPECT_EQ(ran[3], start + L"\"cd /a\\ b\\(1\\)\\[2\\] && ls -l\"");
}

// The executable named by a bundle's property list, read line by line.
TEST(WineProxy, ExecutableFromTheBundlesPropertyList) {
  nytest::TempDir dir;
  const lu::WineProxy& proxy = lu::WineProxy::Get();
  const struct {
    const char* plist;
    bool found;
  } cases[] = {
      {"<dict>\n\t<key>CFBundleExecutable</key>\r\n\t\t<string>App</string>\r\n</dict>\n", true},
      {"<key>CFBundleExecutable</key>\n<true/>\n<string>App</string>\n", false},  // only the next line counts
      {"<key>CFBundleName</key>\n<string>App</string>\n<key>CFBundleExecutable</key>", false},  // key on the last line
      {"<key>CFBundleExecutable</key>\n<string>Other</string>\n", false},  // no such executable
  };
  std::filesystem::create_directories(dir.Native("Some.app/Contents/MacOS"));
  nytest::WriteFileBytes(dir.Native("Some.app/Contents/MacOS/App"), {'x'});
  for (const auto& c : cases) {
    nytest::WriteFileBytes(dir.Native("Some.app/Contents/Info.plist"), std::vector<uint8_t>(c.plist, c.plist + std::strlen(c.plist)));
    CStdStr<wchar_t> exec = L"untouched";
    EXPECT_EQ(proxy.GetExecPathFromApp(dir.Wide("Some.app"), exec), c.found) << c.plist;
    EXPECT_EQ(exec, c.found ? dir.Wide("Some.app") + L"\\Contents\\MacOS\\App" : L"untouched") << c.plist;
  }
  CStdStr<wchar_t> none;
  EXPECT_FALSE(proxy.GetExecPathFromApp(dir.Wide("Missing.app"), none));
  // Without Wine the absolute conversion fails and the path stays; a relative one is converted.
  CStdStr<wchar_t> path = dir.Wide("Some.app");
  proxy.ConvertWineApplicationPathToMacOS(path);
  EXPECT_EQ(path, dir.Wide("Some.app"));
  path = L"rel\\x.app";
  proxy.ConvertWineApplicationPathToMacOS(path);
  EXPECT_EQ(path, L"rel/x.app");
}

TEST(MacroExpansion, OnePassOverTableThenEnvironment) {
  ASSERT_EQ(lu::SetEnv(L"NYBASE_M", L"env", 1), 0);
  lu::EnvironmentMap table{{L"A", L"alpha"}, {L"E", L""}, {L" S ", L"spaced"}, {L"R", L"$(A)"}, {L"NYBASE_M", L"table"}};
  const struct {
    const wchar_t *input, *output;
    std::vector<CStdStr<wchar_t>> undefined;
  } cases[] = {
      {L"", L"", {}},
      {L"plain", L"plain", {}},
      {L"$(A)/x", L"alpha/x", {}},
      {L"$(Q)/$(A)/$(Q)", L"$(Q)/alpha/$(Q)", {L"Q", L"Q"}},
      {L"x)$(A", L"x)$(A", {}},
      {L"$(A$(A)", L"$(Aalpha", {}},
      {L"$(E)|$( S )|$(R)", L"|spaced|$(A)", {}},
      {L"$()", L"$()", {L""}},
      {L"$(NYBASE_M)", L"table", {}},
  };
  for (const auto& c : cases) {
    CStdStr<wchar_t> out = L"junk";
    std::vector<CStdStr<wchar_t>> undefined;
    const auto result = MacroExpansion::ReplaceMacros(c.input, out, table, undefined);
    EXPECT_EQ(out, c.output) << c.input;
    EXPECT_EQ(undefined, c.undefined) << c.input;
    EXPECT_EQ(result, c.undefined.empty() ? MacroExpansion::GetMacroValueResultSuccess
                                          : MacroExpansion::GetMacroValueResultUndefined);
  }
  EXPECT_EQ(table.size(), 5u);  // nothing added by the look-ups

  std::vector<CStdStr<wchar_t>> undefined{L"stale"};
  EXPECT_EQ(MacroExpansion::ReplaceMacrosWithEnv(L"$(NYBASE_M)\\x", undefined), L"env\\x");
  EXPECT_TRUE(undefined.empty());
  EXPECT_EQ(MacroExpansion::ReplaceMacrosWithEnv(L"$(NYBASE_NOPE)/$(NYBASE_M)", undefined), L"$(NYBASE_NOPE)/$(NYBASE_M)");
  EXPECT_EQ(undefined, std::vector<CStdStr<wchar_t>>{L"NYBASE_NOPE"});
}
