// FileHelp::TemporaryFile: creation through FileOperation::CreateNewTempFile.
#include <nybase/files/TemporaryFile.h>

#include <nybase/files/FileOperation.h>

namespace FileHelp {

TemporaryFile::TemporaryFile(const lu::Path& directory) : TemporaryFile(directory, CStdStr<wchar_t>(L"tmp")) {}

TemporaryFile::TemporaryFile(const lu::Path& directory, const CStdStr<wchar_t>& extension) {
  // Flags 6: exclusive, and the name must be new.
  m_file = lu::FileOperation::CreateNewTempFile(directory, m_path, extension,
                                                NyFileFlagExclusive | NyFileFlagCreateNew);
  if (!m_file.IsOpen()) m_path.Clear();
}

TemporaryFile::~TemporaryFile() { Close(); }

void TemporaryFile::Close() {
  if (m_file.IsOpen()) m_file.Close();
}

bool TemporaryFile::DeleteFileW() {
  Close();
  return m_path.Remove(false);
}

}  // namespace FileHelp
