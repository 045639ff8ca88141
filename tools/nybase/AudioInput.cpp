// Opening WAV files for the tool's commands, with one-line reasons for every failure.
#include "AudioInput.h"

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
  if (warnings != nullptr && !warning.empty()) warnings->push_back(warning);
  return reader;
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
