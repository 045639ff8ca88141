// FileHelp::TemporaryFile: a uniquely named scratch file, closed when its scope ends.
#pragma once

#include <nybase/files/File.h>
#include <nybase/files/Path.h>
#include <nybase/text/CStdStr.h>

namespace FileHelp {

// Creates a new file with a fresh GUID name in a directory and keeps it open for reading and
// writing. The destructor closes the file but leaves it on the disk (also when the scope ends by
// an exception): this is a named file for the caller to finish with, not a self-deleting one.
class TemporaryFile {
 public:
  // Creates "{GUID}.tmp" in `directory`, exclusively. On failure the path is empty and the file
  // closed, which GetFile().IsOpen() tells.
  explicit TemporaryFile(const lu::Path& directory);
  // The same with `extension` ("wav" or ".wav") in place of "tmp".
  TemporaryFile(const lu::Path& directory, const CStdStr<wchar_t>& extension);
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile();

  // Closes the file (again is harmless).
  void Close();
  // Closes the file and removes it (Path::Remove(false)); false when nothing was removed.
  bool DeleteFileW();
  const lu::Path& GetPath() const { return m_path; }
  const lu::File& GetFile() const { return m_file; }
  operator const lu::File&() const { return m_file; }
  // The stream handle, null when closed.
  void* GetFileHandle() const { return m_file.GetFileHandle(); }
  operator void*() const { return m_file.GetFileHandle(); }

 private:
  lu::Path m_path;
  lu::File m_file;
};

}  // namespace FileHelp
