// The environment, the user and the well-known folders, on the platform's process services.
#include <nybase/files/Environment.h>

#include <string>

#include <nybase/platform/NativePath.h>
#include <nybase/platform/Process.h>
#include <nybase/platform/Utf.h>

namespace lu {

namespace pf = lu::platform;

namespace {

std::string Narrow(const CStdStr<wchar_t>& text) { return pf::Utf16ToUtf8(text.c_str(), text.size()); }

// A native path from the environment as a Windows-grammar path; empty stays empty.
lu::Path FromNative(const std::string& native) {
  return native.empty() ? lu::Path() : lu::Path(CStdStr<wchar_t>(pf::FromNativePath(native)));
}

std::string Variable(const char* name) {
  std::string value;
  return pf::GetEnvironmentVariable(name, value) ? value : std::string();
}

// A variable that holds a Windows-grammar path ("APPDATA", "USERPROFILE") is taken as it is; a
// native absolute path is mapped.
lu::Path PathVariable(const char* name) {
  const std::string value = Variable(name);
  if (value.empty()) return {};
  if (value[0] == '/') return FromNative(value);
  return lu::Path(CStdStr<wchar_t>(value));
}

}  // namespace

bool GetEnv(const CStdStr<wchar_t>& name, CStdStr<wchar_t>& value) {
  std::string narrow;
  value.clear();
  if (pf::GetEnvironmentVariable(Narrow(name), narrow)) value = CStdStr<wchar_t>(pf::Utf8ToUtf16(narrow.data(), narrow.size()));
  return !value.empty();
}

int SetEnv(const CStdStr<wchar_t>& name, const CStdStr<wchar_t>& value, int overwrite) {
  return pf::SetEnvironmentVariable(Narrow(name), Narrow(value), overwrite != 0);
}

void GetProcessEnvironmentMap(EnvironmentMap& map) {
  map.clear();
  for (const std::string& entry : pf::GetEnvironmentEntries()) {
    const size_t eq = entry.find('=');
    if (eq == std::string::npos || eq == 0) continue;
    map[CStdStr<wchar_t>(pf::Utf8ToUtf16(entry.data(), eq))] =
        CStdStr<wchar_t>(pf::Utf8ToUtf16(entry.data() + eq + 1, entry.size() - eq - 1));
  }
}

CStdStr<wchar_t> GetUserNameW() {
  const std::string name = pf::GetUserName();
  return CStdStr<wchar_t>(pf::Utf8ToUtf16(name.data(), name.size()));
}

lu::Path GetAppDataDirectoryPath() {
  // The Wine host's branch (a folder under "Y:") is never taken: this build has no Wine layer.
  static lu::Path cache;
  if (!cache.IsEmpty()) return cache;
  cache = PathVariable("APPDATA");
  if (cache.IsEmpty()) cache = PathVariable("XDG_DATA_HOME");
  if (cache.IsEmpty()) {
    const std::string home = Variable("HOME");
    if (!home.empty() && home[0] == '/') cache = FromNative(home + "/.local/share");
  }
  return cache;
}

lu::Path GetHomePath() {
  lu::Path home = PathVariable("USERPROFILE");
  return home.IsEmpty() ? PathVariable("HOME") : home;
}

lu::Path GetTempDirectoryPath() {
  const std::wstring dir = pf::FromNativePath(pf::GetTempDirectory());
  return lu::Path(CStdStr<wchar_t>(dir.back() == L'\\' ? dir : dir + L'\\'));
}

lu::Path GetExecutablePath() { return FromNative(pf::GetExecutableFile()); }

}  // namespace lu
