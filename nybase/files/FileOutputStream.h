// lu::FileOutputStream and lu::FileBinaryOutputStream: line writers of UTF-8 text files.
#pragma once

#include <nybase/base/VPropertyEnums.h>
#include <nybase/files/FileStream.h>

#include <algorithm>
#include <utility>

namespace lu {

// Writes UTF-16 text as UTF-8 into a file it creates or empties. No byte order mark is written.
class FileOutputStream : public priv::FileStream<detail::Utf8OutputFileStream, 18> {
 public:
  FileOutputStream() = default;
  FileOutputStream(FileOutputStream&& other) noexcept : FileStream(std::move(other)) {}
  FileOutputStream& operator=(FileOutputStream&& other) noexcept {
    FileStream::operator=(std::move(other));
    return *this;
  }

  // Writes the text (null writes nothing); whether the stream is good.
  bool WriteString(const wchar_t* text);
  // The text (if not null), then one LF; there is no newline translation on this system.
  bool WriteLine(const wchar_t* text);
};

// As FileOutputStream, but each line ends with the line end chosen at construction: CR LF for
// LineEndingCRLF (1), LF for every other value.
class FileBinaryOutputStream : public priv::FileStream<detail::Utf8OutputFileStream, 50> {
 public:
  explicit FileBinaryOutputStream(VPropertyEnums::LineEnding lineEnding = VPropertyEnums::LineEndingLF);
  FileBinaryOutputStream(FileBinaryOutputStream&& other) noexcept : FileStream(std::move(other)) {
    std::copy(other.m_lineEnd, other.m_lineEnd + 3, m_lineEnd);
  }
  FileBinaryOutputStream& operator=(FileBinaryOutputStream&& other) noexcept {
    FileStream::operator=(std::move(other));
    std::copy(other.m_lineEnd, other.m_lineEnd + 3, m_lineEnd);
    return *this;
  }

  bool WriteString(const wchar_t* text);
  // The text (if not null), then the stored line end.
  bool WriteLine(const wchar_t* text);

 private:
  wchar_t m_lineEnd[3] = {};
};

}  // namespace lu
