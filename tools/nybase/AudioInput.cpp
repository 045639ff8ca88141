// Opening WAV files for the tool's commands, with one-line reasons for every failure.
#include "AudioInput.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

#include <nybase/audio/NyWavFileReader.h>
#include <nybase/audio/RiffChunks.h>
#include <nybase/files/File.h>
#include <nybase/platform/NativePath.h>
#include <nybase/platform/Utf.h>
#include <nybase/text/AudioDisplayStrings.h>

#include "FileCheck.h"

namespace nybase::tool {

lu::Path ToLibraryPath(const std::string& native) {
  return lu::Path(CStdStr<wchar_t>(lu::platform::FromNativePath(native)));
}

std::string Narrow(const std::wstring& wide) { return lu::platform::Utf16ToUtf8(wide.data(), wide.size()); }

namespace {

// Walks every chunk of an opened reader and checks what the commands need; null with `error` set
// when the file is refused.
std::unique_ptr<NyAudioFileReader> FinishOpen(std::unique_ptr<NyAudioFileReader> reader, std::string& error) {
  // Every flag, so that the walk goes to the end of the file and sees every marker.
  if (!reader->ReadChunks(~0u)) {
    const unsigned seen = reader->ChunksRead();
    if ((seen & ChunkFlag_Fmt) == 0) {
      error = "damaged or truncated WAV file (no readable fmt chunk)";
    } else if ((seen & ChunkFlag_Data) == 0) {
      error = "damaged or truncated WAV file (no data chunk)";
    } else {
      error = "damaged WAV file (a malformed chunk)";
    }
    return nullptr;
  }
  if (reader->GetFormat().nBlockAlign == 0 || reader->GetFormat().nSamplesPerSec == 0) {
    error = "unsupported format (no block size or sample rate)";
    return nullptr;
  }
  return reader;
}

// A WAV reader that owns the stream its view reads from.
class StreamOwningReader final : public NyWavFileReader {
 public:
  explicit StreamOwningReader(lu::File stream) : m_stream(std::move(stream)) {}
  // Lets the reader's view go before the member closes the stream it borrows.
  ~StreamOwningReader() override { Close(); }
  const lu::File& Stream() const { return m_stream; }

 private:
  lu::File m_stream;
};

// A read-only stream over a descriptor that keeps one window of the file in memory, starting with
// its first bytes: the chunk walk of a small file costs no system call after the first read, and
// a large file is read only where its chunks are, never through its samples. The size is the one
// the status call saw; reads stop there.
struct WindowedFile {
  static constexpr size_t k_window = 4096;

  int fd = -1;
  uint64_t size = 0;
  uint64_t pos = 0;
  uint64_t windowStart = 0;
  size_t windowLength = 0;
  unsigned char window[k_window];
  unsigned char streamBuffer[512];

  ~WindowedFile() {
    if (fd >= 0) ::close(fd);
  }

  // Fills the window from `at`; false on a read error.
  bool Fill(uint64_t at) {
    const ssize_t got = ::pread(fd, window, k_window, static_cast<off_t>(at));
    windowStart = at;
    windowLength = got > 0 ? static_cast<size_t>(got) : 0;
    return got >= 0;
  }

  static ssize_t Read(void* cookie, char* out, size_t n) {
    auto& f = *static_cast<WindowedFile*>(cookie);
    size_t done = 0;
    while (done < n && f.pos < f.size) {
      // Never past the size the status call saw, even when the file has grown since.
      const size_t wanted = static_cast<size_t>(std::min<uint64_t>(n - done, f.size - f.pos));
      if (f.pos >= f.windowStart && f.pos < f.windowStart + f.windowLength) {
        const size_t offset = static_cast<size_t>(f.pos - f.windowStart);
        const size_t take = std::min(wanted, f.windowLength - offset);
        std::memcpy(out + done, f.window + offset, take);
        done += take;
        f.pos += take;
      } else if (wanted >= k_window) {
        // A large request goes straight to the caller's memory.
        const ssize_t got = ::pread(f.fd, out + done, wanted, static_cast<off_t>(f.pos));
        if (got < 0) return done > 0 ? static_cast<ssize_t>(done) : -1;
        if (got == 0) break;
        done += static_cast<size_t>(got);
        f.pos += static_cast<uint64_t>(got);
      } else {
        if (!f.Fill(f.pos)) return done > 0 ? static_cast<ssize_t>(done) : -1;
        if (f.windowLength == 0) break;
      }
    }
    return static_cast<ssize_t>(done);
  }

  static int Seek(void* cookie, off64_t* offset, int whence) {
    auto& f = *static_cast<WindowedFile*>(cookie);
    const int64_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? static_cast<int64_t>(f.pos)
                                                                     : static_cast<int64_t>(f.size);
    if ((*offset > 0 && base > INT64_MAX - *offset) || base + *offset < 0) {
      errno = EINVAL;
      return -1;
    }
    f.pos = static_cast<uint64_t>(base + *offset);
    *offset = static_cast<off64_t>(f.pos);
    return 0;
  }

  static int CloseCookie(void* cookie) {
    delete static_cast<WindowedFile*>(cookie);
    return 0;
  }
};

// The library's own rule for choosing the WAV reader: the path's extension, ASCII case folded.
bool ReaderTakesExtension(const lu::Path& path) {
  std::wstring ext = path.GetFileExtension();
  for (wchar_t& c : ext) {
    if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c - L'A' + L'a');
  }
  return ext == L".wav" || ext == L".amb" || ext == L".vle";
}

}  // namespace

std::unique_ptr<NyAudioFileReader> OpenWav(const std::string& native, std::string& error,
                                           std::vector<std::string>* warnings) {
  std::string warning;
  error = CheckReadableFile(native);
  if (error.empty()) error = CheckWavHeader(native, warning);
  if (error.empty()) error = CheckWavExtension(native);
  if (!error.empty()) return nullptr;

  std::unique_ptr<NyAudioFileReader> reader(NyAudioFileReader::Create(ToLibraryPath(native)));
  if (!reader) {
    error = "cannot be opened as a WAV file";
    return nullptr;
  }
  reader = FinishOpen(std::move(reader), error);
  if (reader && warnings != nullptr && !warning.empty()) warnings->push_back(warning);
  return reader;
}

FolderCache::~FolderCache() { Forget(); }

FolderOf FolderCache::Resolve(const std::string& native) {
  const size_t slash = native.find_last_of('/');
  if (slash == std::string::npos || slash + 1 == native.size()) return {AT_FDCWD, native.c_str()};
  const std::string_view folder(native.data(), slash == 0 ? 1 : slash);
  if (m_fd < 0 || folder != m_folder) {
    Forget();
    m_folder.assign(folder);
    m_fd = ::open(m_folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  }
  if (m_fd < 0) return {AT_FDCWD, native.c_str()};
  return {m_fd, native.c_str() + slash + 1};
}

void FolderCache::Forget() {
  if (m_fd >= 0) ::close(m_fd);
  m_fd = -1;
  m_folder.clear();
}

std::unique_ptr<NyAudioFileReader> OpenWavUnlocked(const std::string& native, std::string& error,
                                                   std::vector<std::string>* warnings, FolderCache* folders) {
  // The checks in OpenWav's order, each giving the reason CheckReadableFile and CheckWavHeader give.
  const FolderOf folder = folders != nullptr ? folders->Resolve(native) : FolderOf{AT_FDCWD, native.c_str()};
  struct stat st {};
  if (::fstatat(folder.fd, folder.name, &st, 0) != 0) {
    error = StatFailureReason(errno);
    return nullptr;
  }
  error = FileKindReason(st.st_mode);
  if (!error.empty()) return nullptr;
  auto windowed = std::make_unique<WindowedFile>();
  windowed->fd = ::openat(folder.fd, folder.name, O_RDONLY | O_CLOEXEC);
  if (windowed->fd < 0) {
    error = std::strerror(errno);
    return nullptr;
  }
  windowed->size = static_cast<uint64_t>(st.st_size);
  // A read error counts as no bytes, as a failed fread does in CheckWavHeader.
  windowed->Fill(0);
  std::string warning;
  error = CheckWavHeaderBytes(windowed->window, windowed->windowLength, windowed->size, warning);
  if (error.empty()) error = CheckWavExtension(native);
  if (!error.empty()) return nullptr;

  FILE* stream = ::fopencookie(windowed.get(), "rb",
                               {&WindowedFile::Read, nullptr, &WindowedFile::Seek, &WindowedFile::CloseCookie});
  if (stream == nullptr) {
    error = std::strerror(errno);
    return nullptr;
  }
  WindowedFile* owned = windowed.release();  // the stream owns it now
  // A small buffer of its own: the stream allocates none, and large reads pass it by. Not
  // unbuffered on purpose: every unbuffered read takes the lock of stdout, which the printing
  // thread holds.
  std::setvbuf(stream, reinterpret_cast<char*>(owned->streamBuffer), _IOFBF, sizeof owned->streamBuffer);
  auto reader = std::make_unique<StreamOwningReader>(lu::File::CreateOwner(stream));
  if (!ReaderTakesExtension(ToLibraryPath(native)) || !reader->Open(reader->Stream())) {
    error = "cannot be opened as a WAV file";
    return nullptr;
  }
  std::unique_ptr<NyAudioFileReader> opened = FinishOpen(std::move(reader), error);
  if (opened && warnings != nullptr && !warning.empty()) warnings->push_back(warning);
  return opened;
}

std::string DescribeEncoding(const NyAudioFileReader& reader) {
  const WaveFormatExtensible& f = reader.GetFormat();
  std::string s = Narrow(StringHelp::FmtTagToString(f.wFormatTag));
  s += ' ';
  s += std::to_string(f.wBitsPerSample);
  s += "-bit";
  if (f.wFormatTag == WAVE_FORMAT_EXTENSIBLE) {
    const unsigned width = f.nChannels == 0 ? 0 : f.nBlockAlign / f.nChannels;
    s += reader.GetDataTypeID() != 0 && width == 4 ? " float" : " integer";
  }
  return s;
}

std::string CheckSampleFormat(const NyAudioFileReader& reader) {
  const WaveFormatExtensible& f = reader.GetFormat();
  const unsigned width = f.nChannels == 0 ? 0 : f.nBlockAlign / f.nChannels;
  // The sample reader converts 2 to 4 bytes a sample (8-bit data reads as silence, so it is
  // refused here rather than analysed as such); a 4-byte sample is float when the data type
  // says so, every other width is integer.
  if (f.wFormatTag == WAVE_FORMAT_EXTENSIBLE && width >= 2 && width <= 4) return {};
  return "unsupported sample format (" + Narrow(StringHelp::FmtTagToString(f.wFormatTag)) + ", " +
         std::to_string(f.wBitsPerSample) + "-bit): only 16-, 24- and 32-bit integer PCM and 32-bit float can be analysed";
}

}  // namespace nybase::tool
