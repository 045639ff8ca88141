// NyMediaFileWriter and NyMediaFileReader: payload round trips at several alignments with and
// without hash, the byte layout, bare files, and the containers the reader refuses.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <nybase/audio/NyMediaFileReader.h>
#include <nybase/audio/NyMediaFileWriter.h>

#include "ChunkTestSupport.h"

namespace {

using namespace nytest;

std::vector<uint8_t> Payload(size_t n) {
  std::vector<uint8_t> p(n);
  for (size_t i = 0; i < n; ++i) p[i] = static_cast<uint8_t>(i * 7 + i / 251);
  return p;
}

// Wraps `payload` into dir/c.bin and returns the container's bytes.
std::vector<uint8_t> Wrap(const TempDir& dir, const std::vector<uint8_t>& payload, int type,
                          unsigned alignment, bool hash, bool swap = false) {
  WriteFileBytes(dir.Native("payload"), payload);
  NyMediaFileWriter writer(NyMediaFileWriter::MediaType(type), swap);
  EXPECT_TRUE(writer.OpenSourceFile(lu::Path(dir.Wide("payload"))));
  EXPECT_TRUE(writer.OpenDestinationFile(lu::Path(dir.Wide("c.bin"))));
  writer.SetAlignment(alignment);
  unsigned char bytes[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
  if (hash) writer.SetHash(bytes, 3);  // 16 bytes are copied whatever the size says
  EXPECT_TRUE(writer.WriteFile());
  EXPECT_TRUE(writer.CloseFiles());
  return ReadFileBytes(dir.Native("c.bin"));
}

TEST(MediaFile, RoundTripsAtTheAlignment) {
  TempDir dir;
  struct Case { int type; unsigned alignment; bool hash; size_t size; uint32_t offset; };
  const Case cases[] = {{1, 16, true, 1001, 48},  {2, 128, true, 70001, 128}, {1, 16, false, 64, 32},
                        {2, 128, false, 5, 128},  {1, 0, true, 10, 48},       {2, 0, true, 10, 128},
                        {1, 7, true, 3, 56},      {2, 16, true, 0, 48}, {2, 16, true, (1u << 24) + 1, 48}};
  for (const Case& c : cases) {
    const auto payload = Payload(c.size);
    const auto f = Wrap(dir, payload, c.type, c.alignment, c.hash);
    const std::string where = std::to_string(c.type) + "/" + std::to_string(c.alignment);
    ASSERT_EQ(f.size(), (c.offset + c.size + 1) / 2 * 2) << where;
    EXPECT_EQ(std::string(f.begin(), f.begin() + 4), c.type == 1 ? "MIDI" : "PLUG") << where;
    EXPECT_EQ(GetU32(f, 4), f.size() - 8) << where;
    EXPECT_EQ(std::string(f.begin() + c.offset - 8, f.begin() + c.offset - 4), "data") << where;
    EXPECT_EQ(GetU32(f, c.offset - 4), c.size) << where;
    const size_t junk = c.hash ? 32 : 8;
    EXPECT_EQ(std::string(f.begin() + junk, f.begin() + junk + 4), "junk") << where;
    EXPECT_EQ(GetU32(f, junk + 4), c.offset - junk - 16) << where;
    NyMediaFileReader reader(NyMediaFileReader::MediaType(c.type), false);
    // An empty payload leaves only the 8-byte "data" header after the junk: refused, as the
    // reader documents.
    ASSERT_EQ(reader.Open(lu::Path(dir.Wide("c.bin"))), c.size > 0 || !c.hash) << where;
    if (c.size == 0) continue;
    EXPECT_EQ(reader.HasHeader(), c.hash) << where;
    // Without a hash the file reads as bare: from offset 0.
    const uint32_t start = c.hash ? c.offset : 0;
    EXPECT_EQ(reader.GetDataOffset(), c.hash ? c.offset : 0) << where;
    EXPECT_EQ(reader.GetHash()[15], c.hash ? 16 : 0) << where;
    std::vector<uint8_t> back(f.size() - start);
    EXPECT_TRUE(reader.ReadData(back.data(), static_cast<unsigned>(back.size()))) << where;
    EXPECT_TRUE(std::equal(back.begin(), back.end(), f.begin() + start)) << where;
    EXPECT_TRUE(std::equal(payload.begin(), payload.end(), f.begin() + c.offset)) << where;
    EXPECT_FALSE(reader.ReadData(back.data(), 2)) << where;  // nothing past the end
  }
}

TEST(MediaFile, BareFilesAndRefusals) {
  TempDir dir;
  const auto valid = Wrap(dir, Payload(40), 1, 16, true);
  auto patched = [&](size_t at, uint32_t value) {
    auto f = valid;
    for (int i = 0; i < 4; ++i) f[at + i] = static_cast<uint8_t>(value >> (8 * i));
    return f;
  };
  struct Case { const char* name; std::vector<uint8_t> bytes; int type; bool opens; bool header; };
  const Case cases[] = {
      {"20 bytes", Payload(20), 1, true, false},
      {"100 bytes, no magic", Payload(100), 1, true, false},
      {"other type's magic", valid, 2, true, false},
      {"no hash chunk", patched(8, NyFourCC("HASH")), 1, true, false},
      {"data beyond the end", patched(44, 41), 1, false, true},
      {"outer size beyond the end", patched(4, 81), 1, false, true},
      {"junk beyond the end", patched(36, 1000), 1, false, true},
      {"no data chunk", patched(40, NyFourCC("dat ")), 1, false, true},
      {"type 3", valid, 3, false, false},
  };
  for (const Case& c : cases) {
    WriteFileBytes(dir.Native("f.bin"), c.bytes);
    NyMediaFileReader reader(NyMediaFileReader::MediaType(c.type), false);
    EXPECT_EQ(reader.Open(lu::Path(dir.Wide("f.bin"))), c.opens) << c.name;
    EXPECT_EQ(reader.HasHeader(), c.header) << c.name;
    if (c.opens && !c.header) {
      uint8_t first[4] = {};
      EXPECT_TRUE(reader.ReadData(first, 4)) << c.name;
      EXPECT_EQ(first[3], c.bytes[3]) << c.name;
    }
  }
  NyMediaFileWriter bad(NyMediaFileWriter::MediaType(3), false);
  EXPECT_TRUE(bad.OpenSourceFile(lu::Path(dir.Wide("f.bin"))));
  EXPECT_TRUE(bad.OpenDestinationFile(lu::Path(dir.Wide("out.bin"))));
  EXPECT_FALSE(bad.WriteFile());
  NyMediaFileWriter idle(NyMediaFileWriter::MediaType_MIDI, false);
  EXPECT_FALSE(idle.WriteFile());
  EXPECT_TRUE(idle.CloseFiles());
  EXPECT_FALSE(idle.OpenSourceFile(lu::Path(dir.Wide("missing"))));
}

}  // namespace
