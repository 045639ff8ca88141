// lu::WineProxy: whether the process runs under the Wine layer, and the path and command bridges
// between its Windows and Unix sides.
//
// This build runs natively on Linux and has no Wine layer: the type is OSTypeWindows (fixed at
// load, with no message), the two absolute path conversions answer false and leave `out` as it
// was, and the clients take their other branches. The text rules that do not need Wine (relative
// conversions, the opener, the command texts) work as on a Wine host.
#pragma once

#include <functional>

#include <nybase/platform/ModuleHandle.h>
#include <nybase/text/CStdStr.h>

namespace lu {

class WineProxy {
 public:
  enum OSType : int {
    OSTypeUnknown = 0,
    OSTypeWindows = 1,
    OSTypeMacOS = 2,
  };

  // The one instance, built while the library loads.
  static WineProxy& Get();

  OSType GetOSType() const { return m_osType; }
  // Wine's Unix name of a Windows path, with everything up to the first "z:" cut off. False,
  // with `out` untouched, when the host is not Wine (always, in this build).
  bool ConvertPathWindowsToUnix(const CStdStr<wchar_t>& in, CStdStr<wchar_t>& out) const;
  // Wine's Windows name of a Unix path, keeping a trailing separator. False, with `out`
  // untouched, when the host is not Wine (always, in this build).
  bool ConvertPathUnixToWindows(const CStdStr<wchar_t>& in, CStdStr<wchar_t>& out) const;
  // Copies with every '\' turned into '/' (`in` and `out` may be one string).
  void ConvertRelativePathWindowsToUnix(const CStdStr<wchar_t>& in, CStdStr<wchar_t>& out) const;
  // Copies with every '/' turned into '\' (`in` and `out` may be one string).
  void ConvertRelativePathUnixToWindows(const CStdStr<wchar_t>& in, CStdStr<wchar_t>& out) const;
  // The executable of a macOS application bundle: the CFBundleExecutable name from
  // `appPath`\Contents\Info.plist (read line by line: the line after the key, between "<string>"
  // and "</string>"), as `appPath`\Contents\MacOS\NAME when that exists. When the property list
  // does not open, `appPath` is first converted with ConvertPathUnixToWindows. False when no name
  // is found or the executable does not exist; `execPath` is untouched then.
  bool GetExecPathFromApp(const CStdStr<wchar_t>& appPath, CStdStr<wchar_t>& execPath) const;
  // Turns a Windows application path into the Unix path of its executable; failing that, converts
  // the path itself (absolute or relative rules). Silent on failure.
  void ConvertWineApplicationPathToMacOS(CStdStr<wchar_t>& path) const;
  // "/usr/bin/open".
  const CStdStr<wchar_t>& GetFileDirOpener() const;
  // Runs `open [-n ]-a ARGUMENTS` through Wine's start.exe; true when the command returned 0.
  // `arguments` are taken as they stand: quoting is the caller's.
  bool RunMacOSCommand(const CStdStr<wchar_t>& arguments, bool newInstance) const;
  // Runs `command` in the Unix shell through start.exe, after `cd` to `workingDirectory` (with
  // '[', ']', '(', ')' and blanks escaped) when that is not empty; true when it returned 0.
  bool RunMacOSShell(const CStdStr<wchar_t>& command, const CStdStr<wchar_t>& workingDirectory) const;

  // Replaces the runner of command lines (by default the system's shell, as _wsystem); an empty
  // function restores the default. For tests, which check the exact command texts.
  static void SetCommandRunner(std::function<int(const CStdStr<wchar_t>&)> runner);

  WineProxy(const WineProxy&) = delete;
  WineProxy& operator=(const WineProxy&) = delete;

 private:
  WineProxy();
  ~WineProxy() = default;

  static int RunCommand(const CStdStr<wchar_t>& commandLine);

  OSType m_osType = OSTypeUnknown;
  HINSTANCE m_kernel32 = nullptr;
  void* m_heapFree = nullptr;
  void* m_getProcessHeap = nullptr;
  void* m_wineGetUnixFileName = nullptr;
  void* m_wineGetDosFileName = nullptr;

  static WineProxy m_Instance;
};

}  // namespace lu
