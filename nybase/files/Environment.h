// The process environment, the user's name and the well-known folders.
//
// On this system: the home folder is "USERPROFILE", then HOME; the application-data folder is
// "APPDATA", then XDG_DATA_HOME, then $HOME/.local/share; the temporary folder is TMPDIR (when
// absolute) or /tmp; the executable is /proc/self/exe. Every path comes back in Windows grammar
// ("Z:\home\u\..."), and folder paths as the system gives them.
#pragma once

#include <functional>
#include <map>

#include <nybase/files/Path.h>
#include <nybase/text/CStdStr.h>

namespace lu {

using EnvironmentMap = std::map<CStdStr<wchar_t>, CStdStr<wchar_t>, std::less<void>>;

// The variable's value in `value` (emptied when it is not set). True when the value is not empty,
// so a variable set to the empty string reads as absent.
bool GetEnv(const CStdStr<wchar_t>& name, CStdStr<wchar_t>& value);
// Sets the variable; with `overwrite` 0 an existing variable is left as it is. 0 on success
// (also when an existing variable was kept), otherwise an errno value (EINVAL for an empty name
// or one that holds '=').
int SetEnv(const CStdStr<wchar_t>& name, const CStdStr<wchar_t>& value, int overwrite);
// Clears `map` and fills it with the environment: each entry split at its first '=', entries
// with no '=' or an empty name left out, a later duplicate replacing an earlier one.
void GetProcessEnvironmentMap(EnvironmentMap& map);
// The name of the user the process runs as; empty when it cannot be found.
CStdStr<wchar_t> GetUserNameW();

// The application-data folder (see above), remembered once found; empty when no source gives one
// (the next call tries again).
lu::Path GetAppDataDirectoryPath();
// The user's home folder; empty when neither variable is set.
lu::Path GetHomePath();
// The temporary folder, with a trailing separator ("Z:\tmp\").
lu::Path GetTempDirectoryPath();
// The running executable; empty on failure.
lu::Path GetExecutablePath();

}  // namespace lu
