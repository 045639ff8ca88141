// WriteBytesLuFile: NY::IWriteBytes on a borrowed lu::File, and the writer of the string record.
#pragma once

#include <nybase/files/ByteStreamInterfaces.h>
#include <nybase/files/File.h>
#include <nybase/text/CStdStr.h>

// Writes to a lu::File it does not own; copies share the file.
class WriteBytesLuFile : public NY::IWriteBytes {
 public:
  explicit WriteBytesLuFile(lu::File* file) : m_file(file) {}

  // One File::Write of `size` bytes; true when `done` equals `size`. A closed (or null) file
  // writes nothing: false, except that a size of 0 is true. A negative size writes nothing and is
  // false.
  bool WriteBytes(const void* data, int size, int& done) override;
  // Writes `text` as one string record (32-bit little-endian byte count, then the UTF-8 bytes;
  // lone surrogates become U+FFFD). True when every byte was written.
  bool WriteLuString(const CStdStr<wchar_t>& text);

 private:
  lu::File* m_file;
};
