// lu::WineProxy for a native Linux build: no Wine layer, the text rules of the bridge kept.
#include <nybase/files/WineProxy.h>

#include <mutex>
#include <string>

#include <fmt/format.h>
#include <fmt/printf.h>
#include <fmt/xchar.h>

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
