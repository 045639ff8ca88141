// CrashDump: the order of the filter's steps and its texts, on the platform's signal-safe services.
#include <nybase/files/CrashDump.h>

#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include <nybase/Version.h>
#include <nybase/files/Environment.h>
#include <nybase/files/FileOperation.h>
#include <nybase/files/Path.h>
#include <nybase/files/Process.h>
#include <nybase/platform/MinidumpWriter.h>

namespace pf = lu::platform;

bool CrashDump::m_bIsCommandLine = false;
wchar_t CrashDump::s_szAppName[256] = {};
wchar_t CrashDump::s_dumpDirectory[1024] = {};
unsigned char* CrashDump::s_dumpBuffer = nullptr;
wchar_t CrashDump::s_analyticsAnonymousDirectory[1024] = {};
wchar_t CrashDump::s_analyticsLogsDirectory[1024] = {};
NyGuid CrashDump::m_guidSession = {};
std::set<FILE*> CrashDump::s_filesToFlush;

namespace {

constexpr size_t k_lineChars = 1024;
constexpr size_t k_pathChars = 1024;

// Copies at most `limit - 1` units and a NUL (a null source gives the empty string).
void CopyLimited(wchar_t* out, const wchar_t* in, size_t limit) {
  size_t i = 0;
  for (; in != nullptr && in[i] != 0 && i + 1 < limit; ++i) out[i] = in[i];
  out[i] = 0;
}

size_t Length(const wchar_t* s) {
  size_t n = 0;
  while (s[n] != 0) ++n;
  return n;
}

// A printf subset on UTF-16 units, free of allocation and locale: %s and %ls (wide text),
// %.*s, %d, %u, %lu, %x, %#x, %lx, %p and %%. Writes at most `cap - 1` units and a NUL; returns
// the count written.
size_t FormatV(wchar_t* out, size_t cap, const wchar_t* fmt, va_list ap) {
  size_t pos = 0;
  auto put = [&](wchar_t c) {
    if (pos + 1 < cap) out[pos++] = c;
  };
  auto putNumber = [&](unsigned long long v, unsigned base, bool prefix) {
    if (prefix && v != 0) {  // like printf, "%#x" of 0 is "0"
      put(L'0');
      put(L'x');
    }
    wchar_t tmp[24];
    size_t n = 0;
    do {
      const unsigned d = static_cast<unsigned>(v % base);
      tmp[n++] = static_cast<wchar_t>(d < 10 ? L'0' + d : L'a' + d - 10);
      v /= base;
    } while (v != 0);
    while (n > 0) put(tmp[--n]);
  };
  for (const wchar_t* f = fmt; *f != 0; ++f) {
    if (*f != L'%') {
      put(*f);
      continue;
    }
    ++f;
    bool alternate = false;
    int precision = -1;
    bool isLong = false;
    if (*f == L'#') alternate = true, ++f;
    if (f[0] == L'.' && f[1] == L'*') precision = va_arg(ap, int), f += 2;
    if (*f == L'l') isLong = true, ++f;
    switch (*f) {
      case L's': {
        const wchar_t* s = va_arg(ap, const wchar_t*);
        if (s == nullptr) s = L"(null)";
        for (int i = 0; s[i] != 0 && (precision < 0 || i < precision); ++i) put(s[i]);
        break;
      }
      case L'd': {
        const long long v = isLong ? va_arg(ap, long) : va_arg(ap, int);
        if (v < 0) put(L'-');
        putNumber(v < 0 ? 0ull - static_cast<unsigned long long>(v) : static_cast<unsigned long long>(v), 10, false);
        break;
      }
      case L'u':
        putNumber(isLong ? va_arg(ap, unsigned long) : va_arg(ap, unsigned), 10, false);
        break;
      case L'x':
        putNumber(isLong ? va_arg(ap, unsigned long) : va_arg(ap, unsigned), 16, alternate);
        break;
      case L'p':
        putNumber(reinterpret_cast<uintptr_t>(va_arg(ap, void*)), 16, true);
        break;
      case L'%':
        put(L'%');
        break;
      case 0:
        --f;
        break;
      default:
        put(L'%');
        put(*f);
        break;
    }
  }
  out[pos] = 0;
  return pos;
}

size_t Format(wchar_t* out, size_t cap, const wchar_t* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  const size_t n = FormatV(out, cap, fmt, ap);
  va_end(ap);
  return n;
}

// A formatted text to standard error, as UTF-8.
void Err(const wchar_t* fmt, ...) {
  wchar_t text[4096];
  va_list ap;
  va_start(ap, fmt);
  const size_t n = FormatV(text, sizeof text / sizeof text[0], fmt, ap);
  va_end(ap);
  char utf8[3 * 4096];
  pf::CrashWriteStderr(utf8, pf::CrashUtf16ToUtf8(text, n, utf8, sizeof utf8));
}

// One formatted line into the file as UTF-16LE through one write, then mirrored to standard
// error with the write's outcome.
bool WriteLine(int fd, const wchar_t* fmt, ...) {
  wchar_t line[k_lineChars] = {};
  va_list ap;
  va_start(ap, fmt);
  const size_t n = FormatV(line, k_lineChars, fmt, ap);
  va_end(ap);
  uint16_t units[k_lineChars];
  for (size_t i = 0; i < n; ++i) units[i] = static_cast<uint16_t>(line[i]);
  uint32_t error = 0;
  const bool ok = pf::CrashWriteFile(fd, units, 2 * n, error);
  Err(L"dwRet=%d, bSuccess=%d, GetLastError()=%d\n", static_cast<int>(n), ok ? 1 : 0, static_cast<int>(error));
  Err(L"%s", line);
  return ok;
}

// "a\b" into `out` (a "\" added only when `a` lacks one); false when it does not fit.
bool CombinePath(wchar_t* out, const wchar_t* a, const wchar_t* b) {
  const size_t la = Length(a);
  const size_t lb = Length(b);
  const bool sep = la > 0 && a[la - 1] != L'\\' && a[la - 1] != L'/';
  if (la + (sep ? 1 : 0) + lb + 1 > k_pathChars) {
    Err(L"Failed to concatenate paths '%s' and '%s'.\n\n", a, b);
    out[0] = 0;
    return false;
  }
  std::memcpy(out, a, la * sizeof(wchar_t));
  size_t pos = la;
  if (sep) out[pos++] = L'\\';
  std::memcpy(out + pos, b, lb * sizeof(wchar_t));
  out[pos + lb] = 0;
  return true;
}

// The braced upper-case form; false when it does not fit `cap` units.
bool GuidToString(const NyGuid& g, wchar_t* out, size_t cap) {
  if (cap < 39) return false;
  const wchar_t* hex = L"0123456789ABCDEF";
  size_t pos = 0;
  auto bytes = [&](uint64_t v, int count) {
    for (int i = count - 1; i >= 0; --i) {
      out[pos++] = hex[(v >> (8 * i + 4)) & 0xF];
      out[pos++] = hex[(v >> (8 * i)) & 0xF];
    }
  };
  out[pos++] = L'{';
  bytes(g.Data1, 4);
  out[pos++] = L'-';
  bytes(g.Data2, 2);
  out[pos++] = L'-';
  bytes(g.Data3, 2);
  out[pos++] = L'-';
  bytes(g.Data4[0], 1);
  bytes(g.Data4[1], 1);
  out[pos++] = L'-';
  for (int i = 2; i < 8; ++i) bytes(g.Data4[i], 1);
  out[pos++] = L'}';
  out[pos] = 0;
  return true;
}

int CreateNew(const wchar_t* path, uint32_t& error) {
  char native[3 * k_pathChars];
  if (!pf::CrashToNativePath(path, native, sizeof native)) {
    error = 206;  // the name is too long
    return -1;
  }
  return pf::CrashCreateNewFile(native, error);
}

void CreateDirectoryW(const wchar_t* path) {
  char native[3 * k_pathChars];
  if (pf::CrashToNativePath(path, native, sizeof native)) pf::CrashCreateDirectory(native);
}

void DeleteFileW(const wchar_t* path) {
  char native[3 * k_pathChars];
  if (pf::CrashToNativePath(path, native, sizeof native)) pf::CrashDeleteFile(native);
}

struct ListingState {
  int fd;
};

void ListOne(void* user, int handle, const char* kind, const char* target, size_t targetLength) {
  const int fd = static_cast<ListingState*>(user)->fd;
  wchar_t type[32];
  const size_t typeLength = pf::CrashUtf8ToUtf16(kind, std::strlen(kind), type, 32);
  if (target == nullptr) {
    WriteLine(fd, L"[%#x] %.*s: (could not get name)\n", static_cast<unsigned>(handle), static_cast<int>(typeLength), type);
    return;
  }
  if (targetLength == 0) return;  // nameless handles are left out
  wchar_t name[k_lineChars];
  const size_t nameLength = pf::CrashUtf8ToUtf16(target, targetLength, name, k_lineChars);
  WriteLine(fd, L"[%#x] %.*s: %.*s\n", static_cast<unsigned>(handle), static_cast<int>(typeLength), type,
            static_cast<int>(nameLength), name);
}

// The open descriptors, one line each, listed through the block.
bool WriteHandles(int fd, unsigned char* block) {
  ListingState state{fd};
  const int r = block == nullptr ? 2 : pf::CrashListDescriptors(block, CrashDump::DUMP_BUFFER_SIZE, ListOne, &state);
  if (r == 1) {
    WriteLine(fd, L"Could not open PID %d! (Don't try to open a system process.)\n", pf::CrashProcessId());
    return false;
  }
  if (r != 0) {
    WriteLine(fd, L"NtQuerySystemInformation failed!");
    WriteLine(fd, r == 2 ? L"(size larger than 20 MB)\n" : L"(reason unknown)\n");
    return false;
  }
  return true;
}

}  // namespace

CrashDump::CrashDump(const wchar_t* appName, const wchar_t* analyticsAnonymousDirectory,
                     const wchar_t* analyticsLogsDirectory, const NyGuid& sessionGuid) {
  uint64_t halves[2];
  std::memcpy(halves, &sessionGuid, sizeof halves);
  m_guidSession = (halves[0] == 0 && halves[1] == 0) ? lu::CreateGuid() : sessionGuid;
  CopyLimited(s_szAppName, appName, 256);
  if (analyticsAnonymousDirectory != nullptr) CopyLimited(s_analyticsAnonymousDirectory, analyticsAnonymousDirectory, 1024);
  if (analyticsLogsDirectory != nullptr) CopyLimited(s_analyticsLogsDirectory, analyticsLogsDirectory, 1024);
  const lu::Path appData = lu::GetAppDataDirectoryPath();
  const lu::Path root = lu::Path::Combine({appData.c_str(), L"Marvolt"});
  CopyLimited(s_dumpDirectory, root.c_str(), 1024);
  std::free(s_dumpBuffer);  // a second object replaces the first one's block
  s_dumpBuffer = static_cast<unsigned char*>(std::malloc(DUMP_BUFFER_SIZE));
  pf::InstallCrashHandler(&CrashDump::OnSignal);
}

CrashDump::~CrashDump() {
  std::free(s_dumpBuffer);
  s_dumpBuffer = nullptr;
}

void CrashDump::AddFileToFlush(FILE* file) {
  if (file != nullptr) s_filesToFlush.insert(file);
}

void CrashDump::RemoveFileToFlush(FILE* file) { s_filesToFlush.erase(file); }

void CrashDump::SetIsCommandLine(bool isCommandLine) { m_bIsCommandLine = isCommandLine; }

long CrashDump::OnSignal(const lu::platform::CrashSignal& signal) {
  EXCEPTION_POINTERS ep = signal;
  const long vectored = VectoredTopLevelFilter(&ep);
  return vectored != 0 ? vectored : TopLevelFilter(&ep);
}

long CrashDump::VectoredTopLevelFilter(EXCEPTION_POINTERS* ep) {
  const uint32_t code = ep->exceptionCode;
  if (code == 0xC0000374u || code == 0xC0000409u) return TopLevelFilter(ep);
  return 0;
}

long CrashDump::TopLevelFilter(EXCEPTION_POINTERS* ep) {
  long result = 0;
  // 1.
  Err(L"[ENTER] CrashDump::TopLevelFilter\n");
  // 2.
  wchar_t guid[260] = {};
  if (!GuidToString(m_guidSession, guid, 260)) Err(L"Buffer too small to convert GUID to string.\n\n");
  // 3. The results are not checked on purpose: a folder that already exists is the usual case.
  wchar_t appDirectory[k_pathChars];
  CreateDirectoryW(s_dumpDirectory);
  if (CombinePath(appDirectory, s_dumpDirectory, s_szAppName)) CreateDirectoryW(appDirectory);
  // 4. The set is left as it is, on purpose: nothing may allocate or free here.
  for (FILE* file : s_filesToFlush) std::fclose(file);

  const wchar_t* version = L"" NYBASE_VERSION_STRING;
  wchar_t name[k_pathChars];
  // 5.
  wchar_t handlesPath[k_pathChars];
  Format(name, k_pathChars, L"%s-%s-%s.handles.txt", s_szAppName, version, guid);
  CombinePath(handlesPath, appDirectory, name);
  uint32_t error = 0;
  int fd = CreateNew(handlesPath, error);
  if (fd >= 0) {
    if (!WriteHandles(fd, s_dumpBuffer)) {
      Err(L"Failed in writing handles to file. See '%s' for more details.\n\n", handlesPath);
    }
    pf::CrashCloseFile(fd, error);
  } else {
    Err(L"Failed to create the handles file.\n\n");
  }
  // 6.
  wchar_t modulePath[2000] = {};
  wchar_t moduleFile[k_pathChars];
  Format(name, k_pathChars, L"%s-%s-%s.module.txt", s_szAppName, version, guid);
  CombinePath(moduleFile, appDirectory, name);
  fd = CreateNew(moduleFile, error);
  if (fd >= 0) {
    char native[3 * 2000];
    const bool found = ep->programCounter != 0 && s_dumpBuffer != nullptr &&
                       pf::CrashFindModule(ep->programCounter, s_dumpBuffer, DUMP_BUFFER_SIZE, native, sizeof native) &&
                       pf::CrashFromNativePath(native, modulePath, 2000);
    if (found) {
      WriteLine(fd, L"Crashed Module: %s\n", modulePath);
      pf::CrashCloseFile(fd, error);
    } else {
      modulePath[0] = 0;
      Err(L"Failed to write faulty module to file.\n\n");
      pf::CrashCloseFile(fd, error);
      DeleteFileW(moduleFile);
    }
  } else {
    Err(L"Failed to create the faulty module file.\n\n");
  }
  // 7.
  wchar_t dumpPath[k_pathChars];
  Format(name, k_pathChars, L"%s-%s-%s.dmp", s_szAppName, version, guid);
  CombinePath(dumpPath, appDirectory, name);
  wchar_t message[2048];
  bool saved = false;
  fd = CreateNew(dumpPath, error);
  if (fd < 0 && error == 80) {
    // The guard against re-entry: the session's dump is there, so this crash was handled.
    Err(L"The file '%s' already exists.\n\n", dumpPath);
    Err(L"[EXIT] CrashDump::TopLevelFilter\n");
    return 1;
  }
  if (fd < 0) {
    Format(message, 2048, L"Failed to create dump file '%s' (error %lu).\n", dumpPath, static_cast<unsigned long>(error));
  } else {
    // 8.
    if (pf::WriteMinidump(fd, *ep, s_dumpBuffer, s_dumpBuffer != nullptr ? DUMP_BUFFER_SIZE : 0, error)) {
      // The exception address is the faulting instruction; the data address is in the dump.
      Err(L"\nCurrent process ID: %lu\nCurrent thread ID: %lu\nException code: 0x%lx\nException address: %p\n\n",
          static_cast<unsigned long>(pf::CrashProcessId()), static_cast<unsigned long>(ep->threadId),
          static_cast<unsigned long>(ep->exceptionCode), reinterpret_cast<void*>(ep->programCounter));
      Format(message, 2048, L"Saved dump file to '%s'.\n", dumpPath);
      saved = true;
      result = 1;
    } else {
      Format(message, 2048, L"Failed to save dump file to '%s' (error %lu).\n", dumpPath, static_cast<unsigned long>(error));
    }
    if (!pf::CrashCloseFile(fd, error)) {
      Err(L"Failed to close the dump file handle (error %lu).\n\n", static_cast<unsigned long>(error));
    }
  }
  // 9.
  wchar_t finalText[2200];
  Format(finalText, 2200, L"Velmoor has crashed.\n\n%s", message);
  // 10.
  if (m_bIsCommandLine) {
    Err(L"%s", finalText);
    result = 1;
  } else if (saved) {
    wchar_t exe[1024] = {};
    char nativeExe[3 * 1024];
    if (pf::CrashExecutablePath(nativeExe, sizeof nativeExe)) pf::CrashFromNativePath(nativeExe, exe, 1024);
    wchar_t folder[1024];
    CopyLimited(folder, exe, 1024);
    for (size_t i = Length(folder); i > 0; --i) {  // the folder of the executable
      if (folder[i - 1] == L'\\') {
        folder[i - 1] = 0;
        break;
      }
    }
    wchar_t reporter[k_pathChars];
    CombinePath(reporter, folder, L"ErrorReporter.exe");
    wchar_t commandLine[8192];
    Format(commandLine, 8192, L"\"%ls\" \"%ls\" \"%ls\" \"%ls\" \"%ls\" \"%ls\"", reporter, dumpPath, exe, modulePath,
           s_analyticsAnonymousDirectory, s_analyticsLogsDirectory);
    // The one owned string of the filter: the launch needs it.
    lu::Process process;
    if (lu::CreateProcessW(CStdStr<wchar_t>(commandLine), process, true)) {
      lu::WaitForProcess(process);
      lu::CloseProcess(process);
    }
  } else {
    // The message box of a windowed application: its text goes to standard error here.
    Err(L"%s", finalText);
  }
  // 11.
  Err(L"[EXIT] CrashDump::TopLevelFilter\n");
  return result;
}
