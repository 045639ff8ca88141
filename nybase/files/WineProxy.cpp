// lu::WineProxy for a native Linux build: no Wine layer, the text rules of the bridge kept.
#include <nybase/files/WineProxy.h>

#include <mutex>
#include <string>

#include <fmt/format.h>
#include <fmt/printf.h>
#include <fmt/xchar.h>

#include <nybase/files/FileInputStream.h>
#include <nybase/files/Path.h>
#include <nybase/platform/Process.h>
#include <nybase/platform/Utf.h>

namespace lu {

namespace {

std::mutex g_runnerLock;
std::function<int(const CStdStr<wchar_t>&)> g_runner;

void ReplaceAll(CStdStr<wchar_t>& text, const wchar_t* from, const wchar_t* to) {
  const std::wstring_view f(from);
  const std::wstring_view t(to);
  for (size_t at = text.find(f); at != std::wstring::npos; at = text.find(f, at + t.size())) text.replace(at, f.size(), t);
}

}  // namespace

WineProxy WineProxy::m_Instance;

// No kernel32.dll to ask: the Wine exports are never there, so the host is plain Windows-like.
WineProxy::WineProxy() : m_osType(OSTypeWindows) {}

WineProxy& WineProxy::Get() { return m_Instance; }

bool WineProxy::ConvertPathWindowsToUnix(const CStdStr<wchar_t>& /*in*/, CStdStr<wchar_t>& /*out*/) const {
  return false;  // the Wine conversion exists only on a Wine host
}

bool WineProxy::ConvertPathUnixToWindows(const CStdStr<wchar_t>& /*in*/, CStdStr<wchar_t>& /*out*/) const {
  return false;  // the Wine conversion exists only on a Wine host
}

void WineProxy::ConvertRelativePathWindowsToUnix(const CStdStr<wchar_t>& in, CStdStr<wchar_t>& out) const {
  out = in;
  for (wchar_t& c : out) {
    if (c == L'\\') c = L'/';
  }
}

void WineProxy::ConvertRelativePathUnixToWindows(const CStdStr<wchar_t>& in, CStdStr<wchar_t>& out) const {
  out = in;
  for (wchar_t& c : out) {
    if (c == L'/') c = L'\\';
  }
}

bool WineProxy::GetExecPathFromApp(const CStdStr<wchar_t>& appPath, CStdStr<wchar_t>& execPath) const {
  lu::Path plist = lu::Path::Join({appPath, L"Contents", L"Info.plist"});
  lu::FileInputStream stream;
  if (!stream.Open(plist.GetFsPath().native())) {
    CStdStr<wchar_t> windows;
    if (ConvertPathUnixToWindows(appPath, windows)) {
      plist = lu::Path::Join({windows, L"Contents", L"Info.plist"});
      stream.Close();
      stream.Open(plist.GetFsPath().native());
    }
    if (!stream.IsOpen()) return false;
  }
  CStdStr<wchar_t> name;
  CStdStr<wchar_t> line;
  while (name.empty() && stream.ReadString(line, false)) {
    if (line.find(L"CFBundleExecutable") == std::wstring::npos) continue;
    if (!stream.ReadString(line, false)) break;
    const size_t open = line.find(L"<string>");
    const size_t close = line.find(L"</string>");
    if (open != std::wstring::npos && close != std::wstring::npos && close >= open + 8) {
      name = line.substr(open + 8, close - open - 8);
    }
  }
  if (name.empty()) return false;
  const lu::Path exec = lu::Path::Join({plist.GetParent(), L"MacOS", name});
  if (!exec.Exists()) return false;
  execPath = exec.GetFsPath().native();
  return true;
}

void WineProxy::ConvertWineApplicationPathToMacOS(CStdStr<wchar_t>& path) const {
  CStdStr<wchar_t> exec;
  if (GetExecPathFromApp(path, exec) && ConvertPathWindowsToUnix(exec, path)) return;
  if (!lu::Path(path).GetRootName().empty()) {
    ConvertPathWindowsToUnix(path, path);
  } else {
    ConvertRelativePathWindowsToUnix(path, path);
  }
}

const CStdStr<wchar_t>& WineProxy::GetFileDirOpener() const {
  static const CStdStr<wchar_t> k_opener(L"/usr/bin/open");
  return k_opener;
}

bool WineProxy::RunMacOSCommand(const CStdStr<wchar_t>& arguments, bool newInstance) const {
  static const CStdStr<wchar_t> k_launch(L"C:\\Windows\\system32\\start.exe /unix /bin/sh -c \"open %s-a %s\"");
  static const CStdStr<wchar_t> k_newInstance(L"-n ");
  const CStdStr<wchar_t> command(
      fmt::sprintf(std::wstring_view(k_launch), newInstance ? k_newInstance.c_str() : L"", arguments.c_str()));
  return RunCommand(command) == 0;
}

bool WineProxy::RunMacOSShell(const CStdStr<wchar_t>& command, const CStdStr<wchar_t>& workingDirectory) const {
  static const CStdStr<wchar_t> k_prefix(L"C:\\Windows\\system32\\start.exe /unix /bin/sh -c");
  if (workingDirectory.empty()) return RunCommand(CStdStr<wchar_t>(fmt::format(L"{0} \"{1}\"", k_prefix, command))) == 0;
  CStdStr<wchar_t> folder = workingDirectory;
  ReplaceAll(folder, L"[", L"\\[");
  ReplaceAll(folder, L"]", L"\\]");
  ReplaceAll(folder, L"(", L"\\(");
  ReplaceAll(folder, L")", L"\\)");
  ReplaceAll(folder, L" ", L"\\ ");
  return RunCommand(CStdStr<wchar_t>(fmt::format(L"{0} \"cd {1} && {2}\"", k_prefix, folder, command))) == 0;
}

void WineProxy::SetCommandRunner(std::function<int(const CStdStr<wchar_t>&)> runner) {
  const std::lock_guard<std::mutex> lock(g_runnerLock);
  g_runner = std::move(runner);
}

int WineProxy::RunCommand(const CStdStr<wchar_t>& commandLine) {
  std::function<int(const CStdStr<wchar_t>&)> runner;
  {
    const std::lock_guard<std::mutex> lock(g_runnerLock);
    runner = g_runner;
  }
  if (runner) return runner(commandLine);
  return lu::platform::RunShellCommand(lu::platform::Utf16ToUtf8(commandLine.c_str(), commandLine.size()));
}

}  // namespace lu
