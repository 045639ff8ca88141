// lu::FileInputStream: lines, emptiness and positions of a UTF-8 text file.
#include <nybase/files/FileInputStream.h>

#include <string>

namespace lu {

bool FileInputStream::ReadString(CStdStr<wchar_t>& line, bool skipByteOrderMark) {
  std::getline(*this, static_cast<std::wstring&>(line), L'\n');
  const bool ok = !fail();
  if (ok && skipByteOrderMark && !line.empty() && line[0] == 0xFEFF) line.erase(0, 1);
  return ok;
}

bool FileInputStream::IsEmpty() {
  const std::streamoff position = tellg();
  if (position > 0) return false;
  if (position < 0) return true;
  return std::wistream::traits_type::eq_int_type(peek(), std::wistream::traits_type::eof());
}

bool FileInputStream::Seek(lu::FilePointerPosition position) {
  if (position == FilePointerCurrent) return true;
  clear();
  seekg(0, position == FilePointerEnd ? std::ios_base::end : std::ios_base::beg);
  return !fail();
}

int FileInputStream::Tell() { return static_cast<int>(static_cast<std::streamoff>(tellg())); }

}  // namespace lu
