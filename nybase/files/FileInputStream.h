// lu::FileInputStream: a line reader of UTF-8 text files.
#pragma once

#include <nybase/files/File.h>
#include <nybase/files/FileStream.h>
#include <nybase/text/CStdStr.h>

#include <utility>

namespace lu {

// Reads UTF-8 (ill-formed bytes become U+FFFD) as UTF-16 lines. A byte order mark is not skipped
// at open: it arrives as U+FEFF at the start of the first line. Lines keep a CR before the LF.
class FileInputStream : public priv::FileStream<detail::Utf8InputFileStream, 1> {
 public:
  FileInputStream() = default;
  FileInputStream(FileInputStream&& other) noexcept : FileStream(std::move(other)) {}
  FileInputStream& operator=(FileInputStream&& other) noexcept {
    FileStream::operator=(std::move(other));
    return *this;
  }

  // Reads up to the next LF, which is dropped; true when the read did not fail (a last line
  // without LF reads; at the end of the file it is false). With `skipByteOrderMark`, a U+FEFF at
  // the start of the line read is removed, whichever line it is: the stream keeps no memory of
  // its position.
  bool ReadString(CStdStr<wchar_t>& line, bool skipByteOrderMark);
  // True for a failed stream or an empty file at position 0; false once past the start.
  bool IsEmpty();
  // FilePointerCurrent does nothing and is true; FilePointerEnd goes to the end and any other
  // value to the start, after clearing the state; true when the seek worked.
  bool Seek(lu::FilePointerPosition position);
  // The position in bytes from the start of the file; -1 on a failed stream.
  int Tell();
};

}  // namespace lu
