// Child processes and their pipes, on the platform's spawn, pidfd and descriptor services.
#include <nybase/files/Process.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include <nybase/platform/LastError.h>
#include <nybase/platform/NativePath.h>
#include <nybase/platform/Process.h>
#include <nybase/platform/Utf.h>
#include <nybase/text/CommandLine.h>

namespace lu {

namespace pf = lu::platform;

namespace {

constexpr uint32_t k_infinite = 0xFFFFFFFFu;

// Descriptors and process ids travel as handles stored plus one, so that 0 is not null.
void* ToHandle(int value) { return value < 0 ? nullptr : reinterpret_cast<void*>(static_cast<intptr_t>(value) + 1); }
int FromHandle(const void* handle) {
  return handle == nullptr ? -1 : static_cast<int>(reinterpret_cast<intptr_t>(handle) - 1);
}

pf::ChildProcess ToChild(const Process& p) { return {FromHandle(p.m_hThread), FromHandle(p.m_hProcess)}; }

// The program: a Windows-grammar path (with a '\' or a drive) is mapped to the disk; a bare name
// stays for the PATH search.
bool ProgramToNative(const CStdStr<wchar_t>& program, std::string& native) {
  const bool windowsPath = program.find(L'\\') != std::wstring::npos ||
                           (program.size() >= 2 && program[1] == L':');
  if (windowsPath) return pf::ToNativePath(program.c_str(), program.size(), native);
  native = pf::Utf16ToUtf8(program.c_str(), program.size());
  return true;
}

bool Start(const CStdStr<wchar_t>& commandLine, Process& process, const ProcessIORedirect* redirect) {
  process = Process{};
  const std::vector<CStdStr<wchar_t>> words = SplitCommandLine(commandLine);
  std::vector<std::string> argv;
  argv.reserve(words.size());
  for (const CStdStr<wchar_t>& w : words) argv.push_back(pf::Utf16ToUtf8(w.c_str(), w.size()));
  if (words.empty() || !ProgramToNative(words[0], argv[0])) {
    pf::SetLastError(pf::k_errorFileNotFound);
    return false;
  }
  int stdio[3] = {-1, -1, -1};
  if (redirect != nullptr) {
    stdio[0] = FromHandle(redirect->m_hStdInput);
    stdio[1] = FromHandle(redirect->m_hStdOutput);
    stdio[2] = FromHandle(redirect->m_hStdError);
  }
  pf::ChildProcess child;
  if (!pf::SpawnProcess(argv, redirect != nullptr ? stdio : nullptr, child)) return false;
  process.m_hProcess = ToHandle(child.pidfd);
  process.m_hThread = ToHandle(child.pid);
  return true;
}

}  // namespace

bool CreateProcessW(const CStdStr<wchar_t>& commandLine, Process& process, bool /*showWindow*/) {
  return Start(commandLine, process, nullptr);
}

bool CreateProcessW(const CStdStr<wchar_t>& commandLine, Process& process, const ProcessIORedirect& redirect,
                    bool /*showWindow*/) {
  return Start(commandLine, process, &redirect);
}

void CloseProcess(Process& process) {
  pf::ChildProcess child = ToChild(process);
  pf::CloseChild(child);
  process = Process{};
}

unsigned int WaitForProcess(Process& process, unsigned int milliseconds, unsigned int& exitCode) {
  const pf::ChildProcess child = ToChild(process);
  const uint32_t result = pf::WaitChild(child, milliseconds);
  if (result != 0) return result;
  uint32_t code = 0;
  if (!pf::GetChildExitCode(child, code)) return pf::GetLastError();
  exitCode = code;
  return 0;
}

void WaitForProcess(Process& process) { pf::WaitChild(ToChild(process), k_infinite); }

void WaitForProcess(Process& process, unsigned int& exitCode) { WaitForProcess(process, k_infinite, exitCode); }

ProcessError GetLastProcessError() {
  switch (pf::GetLastError()) {
    case 0: return ProcessErrorNone;
    case pf::k_errorFileNotFound:
    case pf::k_errorPathNotFound: return ProcessErrorNotFound;
    case pf::k_errorAccessDenied: return ProcessErrorAccessDenied;
    case 4: return ProcessErrorTooManyOpenFiles;
    default: return ProcessErrorOther;
  }
}

void* GetCurrentProcess() { return reinterpret_cast<void*>(static_cast<intptr_t>(-1)); }

unsigned int GetCurrentProcessId() { return pf::GetProcessId(); }

unsigned int GetCurrentProcessCoreCount(CpuCoreType type) {
  return type == CpuCoreTypeEfficiency ? 0 : pf::GetAffinityProcessorCount();
}

void CreateProcessIORedirectPipe(void*& read, void*& write) {
  int r = -1;
  int w = -1;
  pf::CreateInheritablePipe(r, w);
  read = ToHandle(r);
  write = ToHandle(w);
}

void DuplicateProcessIORedirectHandle(void*& source, void*& duplicate) {
  const int copy = pf::DuplicatePrivate(FromHandle(source));
  duplicate = ToHandle(copy);
  if (copy >= 0) CloseProcessIORedirectHandle(source);
}

void CloseProcessIORedirectHandle(void*& handle) {
  pf::CloseDescriptor(FromHandle(handle));
  handle = nullptr;
}

bool GetAvailableBytesInPipe(void* pipe, unsigned long& available) {
  uint32_t n = 0;
  if (!pf::PipeBytesAvailable(FromHandle(pipe), n)) return false;
  available = n;
  return true;
}

bool ReadFromIORedirectHandle(void* handle, char* buffer, unsigned long size, unsigned long& done) {
  uint32_t got = 0;
  const bool ok = pf::ReadDescriptor(FromHandle(handle), buffer, static_cast<uint32_t>(std::min<unsigned long>(size, 0xFFFFFFFFu)), got);
  done = got;
  return ok;
}

bool ReadFromProcessIORedirectHandle(void*& handle, void* buffer, unsigned int size, unsigned int& done) {
  uint32_t got = 0;
  const bool ok = pf::ReadDescriptor(FromHandle(handle), buffer, size, got);
  done = got;
  return ok;
}

bool WriteToIORedirectHandle(void* handle, const char* buffer, unsigned long size, unsigned long& done) {
  uint32_t put = 0;
  const bool ok = pf::WriteDescriptor(FromHandle(handle), buffer, static_cast<uint32_t>(std::min<unsigned long>(size, 0xFFFFFFFFu)), put);
  done = put;
  return ok;
}

bool WriteToProcessIORedirectHandle(void*& handle, const void* buffer, unsigned int size, unsigned int& done) {
  uint32_t put = 0;
  const bool ok = pf::WriteDescriptor(FromHandle(handle), buffer, size, put);
  done = put;
  return ok;
}

}  // namespace lu
