// Helpers shared by every test suite: UTF-16 literals, temporary directories, whole-file I/O.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace nytest {

// The UTF-16 units of a u"" literal, one per wchar_t, as the library's wide strings hold them.
// (An L"" literal with a character beyond the BMP would be a single 32-bit unit on Linux.)
std::wstring W16(const char16_t* s);

// A fresh directory under the system's temporary folder, removed with its contents on destruction.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  // Native path of the directory, or of a name inside it.
  const std::string& Native() const { return m_native; }
  std::string Native(const std::string& name) const { return m_native + "/" + name; }
  // The same in Windows grammar as the library returns it ("Z:\tmp\...").
  std::wstring Wide(const std::string& name = {}) const;

 private:
  std::string m_native;
};

// Whole-file helpers on native paths; they abort the test (ADD_FAILURE) on an I/O error.
std::vector<uint8_t> ReadFileBytes(const std::string& nativePath);
void WriteFileBytes(const std::string& nativePath, const std::vector<uint8_t>& bytes);

// True when the process runs as root (permission tests skip themselves then).
bool IsRoot();
// True when an external program is on PATH.
bool HaveProgram(const std::string& name);
// Runs a shell command and returns its exit status (-1 when it could not run).
int Run(const std::string& command);

// Little-endian byte builders for files assembled in tests.
void PutU16(std::vector<uint8_t>& out, uint16_t v);
void PutU32(std::vector<uint8_t>& out, uint32_t v);
void PutU64(std::vector<uint8_t>& out, uint64_t v);
void PutFourCC(std::vector<uint8_t>& out, const char (&id)[5]);

}  // namespace nytest
