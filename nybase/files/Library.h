// Loading shared libraries and finding their symbols.
//
// On this system: dlopen(RTLD_NOW), dlsym and dlclose, with the library name suffix ".so"; the
// error text is dlerror's, kept per thread until the next failure.
#pragma once

#include <nybase/files/Path.h>
#include <nybase/platform/ModuleHandle.h>
#include <nybase/text/CStdStr.h>

namespace lu {

// Loads the library at `path`; null on failure (GetLastLibraryError says why).
HINSTANCE LoadLibraryW(const lu::Path& path);
// The same function under the name plug-in hosts use.
HINSTANCE LoadPluginLibrary(const lu::Path& path);
// Unloads; false for null or on failure.
bool FreeLibrary(HINSTANCE library);
// `name` with this system's library suffix appended: "a" gives "a.so", "a.so" gives "a.so.so".
CStdStr<wchar_t> GetLibraryName(const CStdStr<wchar_t>& name);
// The text of the calling thread's last load or look-up failure; empty when there was none.
CStdStr<wchar_t> GetLastLibraryError();

namespace priv {
// The address of `name` in the library; null for a null library or a missing name.
void* GetProcAddress(HINSTANCE library, const char* name);
}  // namespace priv

}  // namespace lu
