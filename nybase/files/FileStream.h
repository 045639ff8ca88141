// lu::priv::FileStream: the template behind the UTF-8 text streams (open, close, moves).
#pragma once

#include <ios>
#include <string>
#include <utility>

#include <nybase/files/internal/Utf8FileBuf.h>

namespace lu::priv {

// The open-mode numbers of the stream classes (in 1, out 2, ate 4, app 8, trunc 16, binary 32)
// as standard mode bits. Text and binary are the same on this system: no newline translation.
constexpr std::ios_base::openmode OpenModeFromNumber(int number) {
  std::ios_base::openmode mode{};
  if (number & 1) mode |= std::ios_base::in;
  if (number & 2) mode |= std::ios_base::out;
  if (number & 4) mode |= std::ios_base::ate;
  if (number & 8) mode |= std::ios_base::app;
  if (number & 16) mode |= std::ios_base::trunc;
  if (number & 32) mode |= std::ios_base::binary;
  return mode;
}

// `Stream` is a wide file stream over lu::detail::Utf8FileBuf (input or output); `Mode` its open
// mode as a number. The text is UTF-8 on disk, code points up to 0x10FFFF, UTF-16 units in memory;
// no byte order mark is read, written or consumed at open.
template <typename Stream, int Mode>
class FileStream : public Stream {
 public:
  FileStream() = default;
  // Written out because the virtual base std::basic_ios cannot be moved: each most-derived class
  // default-constructs it and the stream moves its state over.
  FileStream(FileStream&& other) noexcept : Stream(std::move(other)) {}
  FileStream& operator=(FileStream&& other) noexcept {
    Stream::operator=(std::move(other));
    return *this;
  }

  // Opens `path` (Windows grammar; a native absolute path works too), fully shared. Success
  // clears the stream's state, failure sets fail (opening an open stream fails). The result is
  // whether the stream is good and open.
  bool Open(const wchar_t* path) {
    lu::detail::Utf8FileBuf* buf = this->FileBuf();
    if (buf != nullptr && buf->Open(path, OpenModeFromNumber(Mode))) {
      this->clear();
    } else {
      this->setstate(std::ios_base::failbit);
    }
    return this->good() && IsOpen();
  }
  bool Open(const std::wstring& path) { return Open(path.c_str()); }
  // Closes the file if open; sets fail when closing (writing the last bytes) fails.
  void Close() {
    lu::detail::Utf8FileBuf* buf = this->FileBuf();
    if (buf != nullptr && buf->IsOpen() && !buf->Close()) this->setstate(std::ios_base::failbit);
  }
  bool IsOpen() const {
    const lu::detail::Utf8FileBuf* buf = this->FileBuf();
    return buf != nullptr && buf->IsOpen();
  }
};

}  // namespace lu::priv
