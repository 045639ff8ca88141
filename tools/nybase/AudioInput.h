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

// Where a file's name is looked up: a folder's descriptor (or AT_FDCWD) and the name in it.
struct FolderOf {
  int fd;
  const char* name;  // points into the path it was resolved from
};

// The folder of the last file looked up, kept open: a catalogue goes through the files of one
// folder after another, and a name looked up in an open folder costs the kernel one step instead
// of one per folder of the path. The folder is opened only for lookups (O_PATH), so its own
// permissions apply to every name in it exactly as in a lookup of the whole path. For one pass
// over a snapshot of files on one thread: a folder replaced meanwhile is not seen.
class FolderCache {
 public:
  FolderCache() = default;
  FolderCache(const FolderCache&) = delete;
  FolderCache& operator=(const FolderCache&) = delete;
  ~FolderCache();

  // The lookup for `native`; the whole path from the current folder when it names no folder, ends
  // in "/", or its folder cannot be opened (the lookup of the whole path then gives the reason).
  FolderOf Resolve(const std::string& native);

 private:
  void Forget();

  std::string m_folder;
  int m_fd = -1;
};

// OpenWav for read-only catalogues of many files: the same results, reasons and warnings, but the
// file is opened once, the checks read its header through that one descriptor, and the reader
// takes no shared lock on it. With `folders`, names are looked up through it.
std::unique_ptr<NyAudioFileReader> OpenWavUnlocked(const std::string& native, std::string& error,
                                                   std::vector<std::string>* warnings = nullptr,
                                                   FolderCache* folders = nullptr);

// Empty when the samples can be read as floats (integer PCM of 16 to 32 bits or 32-bit float);
// otherwise the reason, naming the codec.
std::string CheckSampleFormat(const NyAudioFileReader& reader);

// "PCM 24-bit integer", "PCM 32-bit float", "ADPCM 4-bit", ...
std::string DescribeEncoding(const NyAudioFileReader& reader);

// The UTF-8 text of a wide string.
std::string Narrow(const std::wstring& wide);

}  // namespace nybase::tool
