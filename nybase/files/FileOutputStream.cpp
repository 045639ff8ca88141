// lu::FileOutputStream, lu::FileBinaryOutputStream: text and line ends.
#include <nybase/files/FileOutputStream.h>

namespace lu {

bool FileOutputStream::WriteString(const wchar_t* text) {
  if (text != nullptr) *this << text;
  return good();
}

bool FileOutputStream::WriteLine(const wchar_t* text) {
  if (text != nullptr) *this << text;
  put(L'\n');
  return good();
}

FileBinaryOutputStream::FileBinaryOutputStream(VPropertyEnums::LineEnding lineEnding) {
  if (lineEnding == VPropertyEnums::LineEndingCRLF) {
    m_lineEnd[0] = L'\r';
    m_lineEnd[1] = L'\n';
  } else {
    m_lineEnd[0] = L'\n';
  }
}

bool FileBinaryOutputStream::WriteString(const wchar_t* text) {
  if (text != nullptr) *this << text;
  return good();
}

bool FileBinaryOutputStream::WriteLine(const wchar_t* text) {
  if (text != nullptr) *this << text;
  *this << m_lineEnd;
  return good();
}

}  // namespace lu
