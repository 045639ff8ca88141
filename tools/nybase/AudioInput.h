// Opening WAV files for the tool's commands, with one-line reasons for every failure.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <nybase/audio/NyAudioFileReader.h>
#include <nybase/files/Path.h>

namespace nybase::tool {

// The library's path value for a native path given on the command line.
lu::Path ToLibraryPath(const std::string& native);

// Opens `native` as a WAV file and walks all of its chunks. On failure returns null and sets
// `error` to the reason ("no such file", "not a WAV file ...", "damaged ...", ...). Only what the
// reader refuses is refused; what it accepts with a fault (a header that overstates the file's
// size) is opened, and the fault is added to `warnings` when that is given.
std::unique_ptr<NyAudioFileReader> OpenWav(const std::string& native, std::string& error,
                                           std::vector<std::string>* warnings = nullptr);

// OpenWav for read-only catalogues of many files: the same results, reasons and warnings, but the
// file is opened once, the checks read its header through that one descriptor, and the reader
// takes no shared lock on it.
std::unique_ptr<NyAudioFileReader> OpenWavUnlocked(const std::string& native, std::string& error,
                                                   std::vector<std::string>* warnings = nullptr);

// Empty when the samples can be read as floats (integer PCM of 16 to 32 bits or 32-bit float);
// otherwise the reason, naming the codec.
std::string CheckSampleFormat(const NyAudioFileReader& reader);

// "PCM 24-bit integer", "PCM 32-bit float", "ADPCM 4-bit", ...
std::string DescribeEncoding(const NyAudioFileReader& reader);

// The UTF-8 text of a wide string.
std::string Narrow(const std::wstring& wide);

}  // namespace nybase::tool
