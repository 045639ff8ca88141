// Fuzz target: MIDI/PLUG media containers on arbitrary bytes: NyMediaFileReader::Open and reads of
// the whole payload, never past the file; then the input wrapped by NyMediaFileWriter must read
// back unchanged.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <nybase/audio/NyMediaFileReader.h>
#include <nybase/audio/NyMediaFileWriter.h>
#include <nybase/platform/NativePath.h>

namespace {

bool WriteAll(const char* name, const uint8_t* data, size_t size) {
  FILE* f = std::fopen(name, "wb");
  if (!f) return false;
  const bool ok = std::fwrite(data, 1, size, f) == size;
  return std::fclose(f) == 0 && ok;
}

lu::Path LibraryPath(const std::string& native) { return lu::Path(lu::platform::FromNativePath(native)); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // The first byte picks the type (0 and 3 are refused types), the rest is the file.
  if (size == 0) return 0;
  const int type = data[0] & 3;
  ++data;
  --size;
  char name[] = "/tmp/nybase-fuzz-media-XXXXXX";
  const int fd = ::mkstemp(name);
  if (fd < 0) return 0;
  ::close(fd);
  const std::string wrapped = std::string(name) + ".wrapped";
  if (!WriteAll(name, data, size)) std::abort();

  NyMediaFileReader reader(NyMediaFileReader::MediaType(type), type == 2);
  if (reader.Open(LibraryPath(name))) {
    if (type != 1 && type != 2) std::abort();
    const size_t start = reader.GetDataOffset();
    if (start > size || (start == 0) == reader.HasHeader()) std::abort();
    // The payload is what follows the data offset: all of it reads, one byte more does not.
    std::vector<uint8_t> payload(size - start + 1);
    if (!reader.ReadData(payload.data(), static_cast<unsigned>(size - start))) std::abort();
    if (std::memcmp(payload.data(), data + start, size - start) != 0) std::abort();
    if (reader.ReadData(payload.data(), 1)) std::abort();
  }
  reader.Close();

  if (type == 1 || type == 2) {
    NyMediaFileWriter writer(NyMediaFileWriter::MediaType(type), false);
    unsigned char hash[16] = {};
    std::memcpy(hash, data, size < 16 ? size : 16);
    writer.SetHash(hash, 16);
    writer.SetAlignment(size > 0 ? data[0] : 0);  // 0 keeps the type's default
    if (!writer.OpenSourceFile(LibraryPath(name)) || !writer.OpenDestinationFile(LibraryPath(wrapped)) ||
        !writer.WriteFile() || !writer.CloseFiles()) {
      std::abort();
    }
    NyMediaFileReader back(NyMediaFileReader::MediaType(type), false);
    std::vector<uint8_t> payload(size + 1);
    // An empty payload is refused by the reader's walk, on purpose; any other reads back whole.
    const unsigned alignment = size > 0 && data[0] != 0 ? data[0] : type == 2 ? 128 : 16;
    if (size > 0) {
      if (!back.Open(LibraryPath(wrapped)) || !back.HasHeader() || back.GetDataOffset() % alignment != 0 ||
          !back.ReadData(payload.data(), static_cast<unsigned>(size)) ||
          std::memcmp(payload.data(), data, size) != 0 ||
          back.ReadData(payload.data(), 1) != (size % 2 == 1)) {  // only the pad byte follows
        std::abort();
      }
    }
  }
  ::unlink(name);
  ::unlink(wrapped.c_str());
  return 0;
}
