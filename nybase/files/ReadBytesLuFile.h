// ReadBytesLuFile: NY::IReadBytes on a borrowed lu::File, and the reader of the string record.
#pragma once

#include <nybase/files/ByteStreamInterfaces.h>
#include <nybase/files/File.h>
#include <nybase/text/CStdStr.h>

// Reads from a lu::File it does not own; copies share the file. The string record is a 32-bit
// little-endian byte count followed by that many bytes of UTF-8, no terminator.
class ReadBytesLuFile : public NY::IReadBytes {
 public:
  explicit ReadBytesLuFile(lu::File* file) : m_file(file) {}

  // One File::Read of `size` bytes; true when `done` equals `size`. A closed (or null) file reads
  // nothing: false, except that a size of 0 is true. A negative size reads nothing and is false.
  bool ReadBytes(void* buffer, int size, int& done) override;
  // Reads one string record into `out`. False on a short read (of the length or of the text), or
  // when `maxLength` is 1 or more and the stored length exceeds it; the length bytes are consumed
  // then and `out` is unchanged. `maxLength` 0 or below means no limit. Ill-formed UTF-8 becomes
  // U+FFFD. A stored length above 2^31 - 1 is refused as too long to convert.
  bool ReadLuString(CStdStr<wchar_t>& out, int maxLength);

 private:
  lu::File* m_file;
};
