// Fuzz target: standard MIDI files on arbitrary bytes: the parser, dry walk, merge and stream
// cursor on the image in memory, and the whole NyMidiFile road (load, Validate, events, Convert)
// through a file, never reading or writing out of bounds.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <nybase/audio/NyMidiFile.h>
#include <nybase/platform/NativePath.h>

namespace {

void WriteAll(int fd, const uint8_t* data, size_t size) {
  size_t written = 0;
  while (written < size) {
    const ssize_t w = ::write(fd, data + written, size - written);
    if (w <= 0) break;
    written += size_t(w);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // The parser on an exact copy, so that a read past the image is a heap overflow.
  std::vector<uint8_t> image(data, data + size);
  NyMidiParseAt parser;
  if (parser.Parse(image.data(), image.size())) {
    volatile bool walked = parser.Walk();
    (void)walked;
    std::vector<uint8_t> stream(2 * size + 1024);
    if (parser.Convert(stream.data(), stream.size())) {
      if (parser.GetConvertedSize() > stream.size()) std::abort();
      NyMidiFileEvent event;
      size_t events = 0;
      while (parser.NextEvent(event)) ++events;
      // Every event takes two bytes of the stream at least.
      if (events > stream.size() / 2) std::abort();
    }
  }

  char name[] = "/tmp/nybase-fuzz-midi-XXXXXX.mid";
  const int fd = ::mkstemps(name, 4);
  if (fd < 0) return 0;
  WriteAll(fd, data, size);
  ::close(fd);
  const std::string outName = std::string(name) + ".out";
  NyMidiFile midi;
  if (midi.Open(lu::Path(lu::platform::FromNativePath(name))) == NYRESULT_SUCCESS) {
    if (midi.Validate() == NYRESULT_SUCCESS) {
      NyMidiInfo info;
      midi.GetMidiInfo(info);
      std::vector<NyMidiFile::NyMidiFileEvent> events;
      midi.GetEvents(events);
      // After Validate, Convert rewrites the stream buffer from the image; read it again after.
      midi.Convert(lu::Path(lu::platform::FromNativePath(outName)));
      midi.GetEvents(events);
    }
    midi.Release();
    midi.Convert(lu::Path(lu::platform::FromNativePath(outName)));
  }
  ::unlink(name);
  ::unlink(outName.c_str());
  return 0;
}
