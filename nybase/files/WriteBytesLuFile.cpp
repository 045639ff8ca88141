// WriteBytesLuFile: file writes and the string record.
#include <nybase/files/WriteBytesLuFile.h>

#include <nybase/text/StringHelp.h>

#include <climits>
#include <cstdint>
#include <memory>

bool WriteBytesLuFile::WriteBytes(const void* data, int size, int& done) {
  done = 0;
  // A negative size would become a count of gigabytes as unsigned: nothing is written.
  if (size < 0) return false;
  unsigned int put = 0;
  if (m_file != nullptr) m_file->Write(data, static_cast<unsigned int>(size), put);
  done = static_cast<int>(put);
  return done == size;
}

bool WriteBytesLuFile::WriteLuString(const CStdStr<wchar_t>& text) {
  int done = 0;
  if (text.empty()) {
    const unsigned char zero[4] = {0, 0, 0, 0};
    return WriteBytes(zero, 4, done);
  }
  // Four bytes a unit plus the terminator must fit the converter's int capacity.
  if (text.size() > static_cast<size_t>(INT_MAX / 4 - 1)) return false;
  const int capacity = static_cast<int>(text.size()) * 4 + 1;
  std::unique_ptr<char[]> bytes(new char[static_cast<size_t>(capacity)]);
  const int count = StringHelp::WCharToUTF8(text.data(), static_cast<int>(text.size()), bytes.get(), capacity);
  const uint32_t length = static_cast<uint32_t>(count);
  const unsigned char prefix[4] = {static_cast<unsigned char>(length), static_cast<unsigned char>(length >> 8),
                                   static_cast<unsigned char>(length >> 16),
                                   static_cast<unsigned char>(length >> 24)};
  if (!WriteBytes(prefix, 4, done)) return false;
  unsigned int put = 0;
  m_file->Write(bytes.get(), length, put);
  return put == length;
}
