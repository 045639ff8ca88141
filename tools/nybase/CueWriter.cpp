// Adds cue markers to a WAV file: written beside the target and renamed over it only when complete.
#include "CueWriter.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include <nybase/audio/NyAudioFileReader.h>
#include <nybase/audio/NyWavFile.h>
#include <nybase/files/File.h>

#include "AudioInput.h"

namespace nybase::tool {
namespace {

struct Range {
  unsigned long long begin, end;
};

// The bytes a chunk occupies in the file (header, payload as its header states it, pad), or an
// empty range for an absent chunk. The size is read from the file's own header, not from the
// loaded chunk, whose size counts only the records it kept: trailing bytes a damaged or padded
// chunk carries must be left out of the copy with it. Only little-endian files get here.
Range Occupied(const lu::File& file, NyFormatChunkBase& chunk) {
  if (!chunk.IsValid()) return {0, 0};
  const unsigned long long begin = chunk.GetDataOffset() - 8ull;
  unsigned char header[8];
  if (file.SetFilePointer(static_cast<long long>(begin), lu::FilePointerBegin) < 0 ||
      !file.ReadExact(header, sizeof header)) {
    return {begin, begin + chunk.GetFileChunkSize()};
  }
  const unsigned long long size = header[4] | (header[5] << 8) | (header[6] << 16) |
                                  (static_cast<unsigned long long>(header[7]) << 24);
  return {begin, begin + 8 + size + (size & 1)};
}

// Removes the temporary file unless it was handed over.
class TempFile {
 public:
  explicit TempFile(std::string path) : m_path(std::move(path)) {}
  ~TempFile() {
    if (!m_path.empty()) std::remove(m_path.c_str());
  }
  const std::string& Path() const { return m_path; }
  void Release() { m_path.clear(); }

 private:
  std::string m_path;
};

std::string TempNameBeside(const std::string& target) {
  static std::atomic<unsigned> counter{0};
  const size_t slash = target.find_last_of('/');
  const std::string dir = slash == std::string::npos ? std::string() : target.substr(0, slash + 1);
  const std::string base = slash == std::string::npos ? target : target.substr(slash + 1);
  // Hidden, unique, and with the target's own extension, so that the reader takes it back.
  return dir + ".nybase-" + std::to_string(::getpid()) + "-" + std::to_string(counter++) + "-" + base;
}

// Copies source bytes [begin, end) to the output file.
bool CopyRange(const lu::File& in, const lu::File& out, unsigned long long begin, unsigned long long end) {
  if (in.SetFilePointer(static_cast<long long>(begin), lu::FilePointerBegin) < 0) return false;
  std::vector<unsigned char> buffer(1 << 16);
  while (begin < end) {
    const auto want = static_cast<unsigned>(std::min<unsigned long long>(buffer.size(), end - begin));
    unsigned got = 0;
    if (!in.Read(buffer.data(), want, got) || got != want) return false;
    if (!out.WriteExact(buffer.data(), got)) return false;
    begin += got;
  }
  return true;
}

}  // namespace

std::string AddCues(const std::string& source, const std::string& target, const std::vector<NewCue>& cues) {
  size_t markersBefore = 0;
  {
    std::string error;
    const auto reader = OpenWav(source, error);
    if (!reader) return error;
    markersBefore = reader->GetMarkers().size();
  }
  NyWavFile wav;
  if (!wav.Open(ToLibraryPath(source), false)) {
    return "the chunk editor cannot open this file (RF64 and BW64 files cannot be edited)";
  }
  // The old cue and label chunks are left out of the copy: they are written again with the new
  // markers added.
  Range skip[2] = {Occupied(wav.GetFile(), wav.GetCueChunk()), Occupied(wav.GetFile(), wav.GetListChunk())};
  if (skip[0].begin > skip[1].begin) std::swap(skip[0], skip[1]);
  for (const NewCue& cue : cues) {
    const unsigned id = wav.GetCueChunk().AddCue(cue.frame);
    if (!wav.GetListChunk().AddLabel(id, cue.label.c_str(), static_cast<unsigned>(cue.label.size() + 1))) {
      return "too many markers for one file";
    }
  }

  const lu::File& in = wav.GetFile();
  const unsigned long long size = in.GetFileSize();
  TempFile temp(TempNameBeside(target));
  {
    lu::File out;
    if (out.Open(ToLibraryPath(temp.Path()), NyOpenModeWriteOverwrite, 0) != 1) {
      return "cannot create a temporary file beside '" + target + "'";
    }
    unsigned long long at = 0;
    for (const Range& r : skip) {
      if (r.begin == r.end) continue;
      if (!CopyRange(in, out, at, std::min(r.begin, size))) return "read or write failed while copying";
      at = std::max(at, std::min(r.end, size));
    }
    if (!CopyRange(in, out, at, size)) return "read or write failed while copying";
    // Chunks start at even offsets: a source whose last chunk lacks its pad byte gets it here.
    if (out.GetFileSize() % 2 != 0) {
      const unsigned char pad = 0;
      if (!out.WriteExact(&pad, 1)) return "write failed (disk full?)";
    }
    if (!wav.WriteCueChunk(out, false) || !wav.WriteListChunk(out, false) ||
        !wav.UpdateRiffChunkSize(out, false)) {
      return "cannot write the cue markers (disk full?)";
    }
    if (!out.Flush()) return "cannot flush the temporary file";
    out.Close();
  }
  wav.Close();

  // Checked before it replaces anything: the new file must read back with every marker.
  {
    std::string error;
    const auto check = OpenWav(temp.Path(), error);
    if (!check || check->GetMarkers().size() != markersBefore + cues.size()) {
      return "the rewritten file did not read back correctly; '" + target + "' is unchanged";
    }
  }
  // The replacement keeps the permissions of the file it replaces.
  struct stat st {};
  if (::stat(target.c_str(), &st) == 0) ::chmod(temp.Path().c_str(), st.st_mode & 07777);
  if (std::rename(temp.Path().c_str(), target.c_str()) != 0) {
    return std::string("cannot replace '") + target + "': " + std::strerror(errno);
  }
  temp.Release();
  return {};
}

}  // namespace nybase::tool
