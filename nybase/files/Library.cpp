// Shared libraries through the platform's dlopen services.
#include <nybase/files/Library.h>

#include <string>

#include <nybase/platform/NativePath.h>
#include <nybase/platform/Process.h>

namespace lu {

namespace pf = lu::platform;

HINSTANCE LoadLibraryW(const lu::Path& path) {
  std::string native;
  const CStdStr<wchar_t>& text = path.GetFsPath().native();
  if (!pf::ToNativePath(text.c_str(), text.size(), native)) return nullptr;
  return static_cast<HINSTANCE>(pf::OpenLibrary(native));
}

HINSTANCE LoadPluginLibrary(const lu::Path& path) { return LoadLibraryW(path); }

bool FreeLibrary(HINSTANCE library) { return pf::CloseLibrary(library); }

CStdStr<wchar_t> GetLibraryName(const CStdStr<wchar_t>& name) { return name + L".so"; }

CStdStr<wchar_t> GetLastLibraryError() { return CStdStr<wchar_t>(pf::GetLoadError()); }

namespace priv {
void* GetProcAddress(HINSTANCE library, const char* name) { return pf::FindSymbol(library, name); }
}  // namespace priv

}  // namespace lu
