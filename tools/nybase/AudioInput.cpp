// Opening WAV files for the tool's commands, with one-line reasons for every failure.
#include "AudioInput.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <nybase/audio/NyWavFileReader.h>
#include <nybase/files/File.h>
#include <nybase/audio/RiffChunks.h>
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

// A WAV reader that owns the stream its view reads from, and the bytes under a stream over memory.
class StreamOwningReader final : public NyWavFileReader {
 public:
  StreamOwningReader(std::unique_ptr<unsigned char[]> bytes, lu::File stream)
      : m_bytes(std::move(bytes)), m_stream(std::move(stream)) {}
  // Lets the reader's view go before the members close the stream and free its bytes.
  ~StreamOwningReader() override { Close(); }
  const lu::File& Stream() const { return m_stream; }

 private:
  std::unique_ptr<unsigned char[]> m_bytes;
  lu::File m_stream;
};

// Files up to this size are read whole with one call and parsed from memory: one read costs less
// than the seeks and reads of a buffered walk over their chunks. Larger files are only read where
// their chunks are, never through their samples.
constexpr size_t k_wholeReadMax = 16384;

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

std::unique_ptr<NyAudioFileReader> OpenWavUnlocked(const std::string& native, std::string& error,
                                                   std::vector<std::string>* warnings) {
  // The checks in OpenWav's order, each giving the reason CheckReadableFile and CheckWavHeader give.
  struct stat st {};
  if (::stat(native.c_str(), &st) != 0) {
    error = StatFailureReason(errno);
    return nullptr;
  }
  error = FileKindReason(st.st_mode);
  if (!error.empty()) return nullptr;
  // "e": the descriptor is not inherited by children of a multi-threaded run.
  FILE* stream = std::fopen(native.c_str(), "rbe");
  if (stream == nullptr) {
    error = std::strerror(errno);
    return nullptr;
  }
  lu::File file = lu::File::CreateOwner(stream);  // closes the stream on every way out
  const int fd = ::fileno(stream);
  const auto size = static_cast<uint64_t>(st.st_size);
  std::unique_ptr<unsigned char[]> bytes;
  unsigned char head[12];
  const unsigned char* start = head;
  ssize_t got = 0;
  if (size <= k_wholeReadMax) {
    bytes = std::make_unique<unsigned char[]>(std::max<size_t>(size, 1));
    got = ::pread(fd, bytes.get(), size, 0);
    start = bytes.get();
  } else {
    got = ::pread(fd, head, sizeof head, 0);
  }
  // A read error counts as no bytes, as a failed fread does in CheckWavHeader.
  const size_t have = got > 0 ? static_cast<size_t>(got) : 0;
  std::string warning;
  error = CheckWavHeaderBytes(start, have, size, warning);
  if (error.empty()) error = CheckWavExtension(native);
  if (!error.empty()) return nullptr;
  FILE* memory = nullptr;
  if (bytes) {
    // The whole file is in memory: the descriptor goes, and the reader walks the bytes read.
    file.Close();
    memory = ::fmemopen(bytes.get(), have, "rb");
    if (memory == nullptr) {
      error = std::strerror(errno);
      return nullptr;
    }
  }

  auto reader = std::make_unique<StreamOwningReader>(
      std::move(bytes), memory != nullptr ? lu::File::CreateOwner(memory) : std::move(file));
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
