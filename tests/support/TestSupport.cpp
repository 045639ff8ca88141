// Implementation of the shared test helpers.
#include "TestSupport.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <nybase/platform/NativePath.h>

namespace nytest {

std::wstring W16(const char16_t* s) {
  std::wstring out;
  for (; *s; ++s) out.push_back(static_cast<wchar_t>(*s));
  return out;
}

TempDir::TempDir() {
  std::string tmpl = (std::filesystem::temp_directory_path() / "nybase-test-XXXXXX").string();
  if (::mkdtemp(tmpl.data()) == nullptr) {
    ADD_FAILURE() << "mkdtemp failed";
  }
  m_native = tmpl;
}

TempDir::~TempDir() {
  std::error_code ec;
  // Restore write permission first so that read-only test files do not block removal.
  for (auto it = std::filesystem::recursive_directory_iterator(m_native, ec);
       !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec)) {
    std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add, ec);
  }
  std::filesystem::remove_all(m_native, ec);
}

std::wstring TempDir::Wide(const std::string& name) const {
  return lu::platform::FromNativePath(name.empty() ? m_native : Native(name));
}

std::vector<uint8_t> ReadFileBytes(const std::string& nativePath) {
  std::ifstream in(nativePath, std::ios::binary);
  if (!in) {
    ADD_FAILURE() << "cannot read " << nativePath;
    return {};
  }
  return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteFileBytes(const std::string& nativePath, const std::vector<uint8_t>& bytes) {
  std::ofstream out(nativePath, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!out) ADD_FAILURE() << "cannot write " << nativePath;
}

bool IsRoot() { return ::geteuid() == 0; }

bool HaveProgram(const std::string& name) {
  return Run("command -v " + name + " >/dev/null 2>&1") == 0;
}

int Run(const std::string& command) {
  const int status = std::system(command.c_str());
  if (status == -1 || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

void PutU16(std::vector<uint8_t>& out, uint16_t v) {
  out.push_back(static_cast<uint8_t>(v));
  out.push_back(static_cast<uint8_t>(v >> 8));
}
void PutU32(std::vector<uint8_t>& out, uint32_t v) {
  for (int i = 0; i < 4; ++i) out.push_back(static_cast<uint8_t>(v >> (8 * i)));
}
void PutU64(std::vector<uint8_t>& out, uint64_t v) {
  for (int i = 0; i < 8; ++i) out.push_back(static_cast<uint8_t>(v >> (8 * i)));
}
void PutFourCC(std::vector<uint8_t>& out, const char (&id)[5]) {
  out.insert(out.end(), id, id + 4);
}

}  // namespace nytest
