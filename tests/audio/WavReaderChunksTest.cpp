// The WAV reader on files built byte by byte: header, chunk walk, fmt forms, markers, loop, hash.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <memory>

#include <nybase/audio/NyWavFileReader.h>

#include "WavTestFiles.h"

using namespace nytest;

namespace {

const Bytes k_fmtStereo16 = Chunk("fmt ", FmtPayload(1, 2, 48000, 16));

class WavChunks : public ::testing::Test {
 protected:
  TempDir m_dir;
  int m_serial = 0;

  lu::Path Write(const Bytes& bytes, const std::string& ext = ".wav") {
    const std::string name = "f" + std::to_string(m_serial++) + ext;
    WriteFileBytes(m_dir.Native(name), bytes);
    return lu::Path(m_dir.Wide(name));
  }
  std::unique_ptr<NyWavFileReader> Open(const Bytes& bytes) {
    auto reader = std::make_unique<NyWavFileReader>();
    EXPECT_TRUE(reader->Open(Write(bytes)));
    return reader;
  }
};

// --- Opening ------------------------------------------------------------------------------------

TEST_F(WavChunks, FactoryChoosesByExtensionAndNeverOpensOtherFiles) {
  const Bytes file = Riff(Concat({k_fmtStereo16, Chunk("data", Bytes(4))}));
  for (const char* ext : {".WAV", ".Amb", ".vLE"}) {
    std::unique_ptr<NyAudioFileReader> reader(NyAudioFileReader::Create(Write(file, ext)));
    ASSERT_NE(reader, nullptr) << ext;
    EXPECT_TRUE(reader->ReadChunks(ChunkFlag_Fmt | ChunkFlag_Data)) << ext;
    EXPECT_EQ(reader->GetNumFrames(), 1u);
  }
  for (const char* ext : {".wave", ".wav.bak"}) EXPECT_EQ(NyAudioFileReader::Create(Write(file, ext)), nullptr);
  // The path's own extension rule decides: a file named ".wav" inside a folder has none.
  ::mkdir(m_dir.Native("sub").c_str(), 0700);
  WriteFileBytes(m_dir.Native("sub/.wav"), file);
  EXPECT_EQ(NyAudioFileReader::Create(lu::Path(m_dir.Wide("sub") + L"\\.wav")), nullptr);
  // A missing file, a directory, and a file with a bad header give null too.
  EXPECT_EQ(NyAudioFileReader::Create(lu::Path(m_dir.Wide("missing.wav"))), nullptr);
  ::mkdir(m_dir.Native("dir.wav").c_str(), 0700);
  EXPECT_EQ(NyAudioFileReader::Create(lu::Path(m_dir.Wide("dir.wav"))), nullptr);
  EXPECT_EQ(NyAudioFileReader::Create(Write(Bytes(12, 0))), nullptr);
}

// --- The walk -----------------------------------------------------------------------------------

TEST_F(WavChunks, LaterDataChunkWinsAndTruncatedDataIsCut) {
  auto two = Open(Riff(Concat({k_fmtStereo16, Chunk("data", Bytes(8)), Chunk("data", Bytes(12))})));
  EXPECT_TRUE(two->ReadChunks(ChunkFlag_Fmt | ChunkFlag_Data | ChunkFlag_Cue));
  EXPECT_EQ(two->GetDataSize(), 12u);
  EXPECT_EQ(two->GetDataOffset(), 12u + 24 + 16 + 8);

  auto cut = Open(Riff(Concat({k_fmtStereo16, Header("data", 1000), Bytes(10)})));
  EXPECT_TRUE(cut->ReadChunks(ChunkFlag_Fmt | ChunkFlag_Data));
  EXPECT_EQ(cut->GetDataSize(), 10u);
  EXPECT_EQ(cut->GetNumFrames(), 2u);
}

TEST_F(WavChunks, SelectingModeSkipsUnselectedChunksWithItsTwoExceptions) {
  // An unselected smpl is not moved over: the walk reads a header from its payload (and, its
  // logical offset being ahead, stops after it).
  Bytes smplPayload = Concat({Chunk("cue ", CuePayload({{4, 40}})), Bytes(40)});
  auto reader = Open(Riff(Concat({k_fmtStereo16, Chunk("data", Bytes(4)), Chunk("cue ", CuePayload({{1, 10}})),
                                  Chunk("smpl", smplPayload)})));
  EXPECT_TRUE(reader->ReadChunksOnly(ChunkFlag_Cue | ChunkFlag_Fmt | ChunkFlag_Data | ChunkFlag_List));
  ASSERT_EQ(reader->GetNumMarkers(), 2u);
  EXPECT_EQ(reader->GetMarkers()[1].dwIdentifier, 4u);
  EXPECT_EQ(reader->ChunksRead() & ChunkFlag_Smpl, 0u);

  // An unselected data chunk moves by the data size known so far: 0, so its payload is walked.
  auto data = Open(Riff(Concat({k_fmtStereo16, Chunk("data", Chunk("cue ", CuePayload({{9, 90}})))})));
  EXPECT_TRUE(data->ReadChunksOnly(ChunkFlag_Cue));
  ASSERT_EQ(data->GetNumMarkers(), 1u);
  EXPECT_EQ(data->GetMarkers()[0].dwPosition, 90u);
  EXPECT_EQ(data->ChunksRead(), unsigned(ChunkFlag_Cue));
}

// --- fmt ----------------------------------------------------------------------------------------

struct FmtCase {
  const char* name;
  Bytes payload;
  bool ok;
  uint16_t channels;
  uint32_t config;
  NY::NyChannelOrdering ordering;
  uint16_t dataType;
  uint16_t blockAlign;
};

TEST_F(WavChunks, FmtFormsAndChannelConfigurations) {
  using NY::ChannelOrdering_FuMa;
  using NY::ChannelOrdering_Native;
  Bytes privateForm = FmtPayload(0xFFFE, 4, 48000, 32);
  PutU16(privateForm, 0);
  PutU16(privateForm, 24);
  PutU32(privateForm, 0xABC0204);  // stored as it stands, not validated
  const FmtCase cases[] = {
      {"pcm stereo", FmtPayload(1, 2, 48000, 16), true, 2, 0x3102, ChannelOrdering_Native, 0, 4},
      {"pcm 12 ch", FmtPayload(1, 12, 48000, 16), true, 12, 0x00C, ChannelOrdering_Native, 0, 24},
      {"257 ch", FmtPayload(1, 257, 48000, 16, 2), true, 1, 0x001, ChannelOrdering_Native, 0, 2},
      {"256 ch", FmtPayload(1, 256, 48000, 16, 2), false, 0, 0, ChannelOrdering_Native, 0, 0},
      {"0 ch", FmtPayload(1, 0, 48000, 16, 2), false, 0, 0, ChannelOrdering_Native, 0, 0},
      {"align raised", FmtPayload(1, 2, 48000, 24, 1), true, 2, 0x3102, ChannelOrdering_Native, 0, 6},
      {"align 0", FmtPayload(1, 2, 48000, 0, 0), false, 0, 0, ChannelOrdering_Native, 0, 0},
      {"L+C", FmtExtensible(2, 48000, 16, 0x5), true, 2, 0x5102, ChannelOrdering_Native, 0, 4},
      {"5.1 back", FmtExtensible(6, 48000, 24, 0x3F), true, 6, 0x60F106, ChannelOrdering_Native, 0, 18},
      {"lone back left", FmtExtensible(3, 48000, 16, 0x13), true, 4, 0x603104, ChannelOrdering_Native, 0, 8},
      {"mask miscounted", FmtExtensible(2, 48000, 16, 0x7), true, 2, 0x3102, ChannelOrdering_Native, 0, 4},
      {"FLC dropped", FmtExtensible(3, 48000, 16, 0x43), true, 3, 0xB103, ChannelOrdering_Native, 0, 6},
      {"foa", FmtExtensible(4, 48000, 16, 0, 1, true), true, 4, 0x204, ChannelOrdering_FuMa, 1, 8},
      {"ambi 12", FmtExtensible(12, 48000, 16, 0, 1, true), true, 12, 0x00C, ChannelOrdering_Native, 1, 24},
      {"ambi 25", FmtExtensible(25, 48000, 16, 0, 1, true), true, 25, 0x219, ChannelOrdering_Native, 1, 50},
      {"float ext", FmtExtensible(2, 48000, 32, 0x3, 3), true, 2, 0x3102, ChannelOrdering_Native, 1, 8},
      {"private", privateForm, true, 4, 0xABC0204, ChannelOrdering_Native, 1, 16},
      {"unknown tag", FmtPayload(0x55, 2, 44100, 16), true, 2, 0x3102, ChannelOrdering_Native, 1, 4},
  };
  for (const FmtCase& c : cases) {
    auto reader = Open(Riff(Concat({Chunk("fmt ", c.payload), Chunk("data", Bytes(64))})));
    EXPECT_EQ(reader->ReadChunks(ChunkFlag_Fmt | ChunkFlag_Data), c.ok) << c.name;
    if (!c.ok) continue;
    const WaveFormatExtensible& f = reader->GetFormat();
    EXPECT_EQ(reader->GetNumChannels(), c.channels) << c.name;
    EXPECT_EQ(f.channelConfig.Serialize(), c.config) << c.name;
    EXPECT_EQ(reader->GetChannelOrdering(), c.ordering) << c.name;
    EXPECT_EQ(reader->GetDataTypeID(), c.dataType) << c.name;
    EXPECT_EQ(f.nBlockAlign, c.blockAlign) << c.name;
    EXPECT_EQ(f.cbSize, 6) << c.name;
  }
}

TEST_F(WavChunks, FmtKeepsItsOtherFieldsAndSkipsItsExcess) {
  Bytes payload = FmtExtensible(2, 96000, 24, 0x3);
  payload[18] = 20;  // valid bits
  payload.resize(50, 0xEE);  // excess beyond 40 bytes is skipped
  auto reader = Open(Riff(Concat({Chunk("fmt ", payload), Chunk("data", Bytes(6))})));
  ASSERT_TRUE(reader->ReadChunks(ChunkFlag_Fmt | ChunkFlag_Data));
  const WaveFormatExtensible& f = reader->GetFormat();
  EXPECT_EQ(f.nSamplesPerSec, 96000u);
  EXPECT_EQ(f.wValidBitsPerSample, 20);
  EXPECT_EQ(reader->GetDataSize(), 6u);
  // A short fmt chunk at the end of the file is a short read.
  EXPECT_FALSE(Open(Riff(Concat({Header("fmt ", 16), Bytes(8)})))->ReadChunks(ChunkFlag_Fmt));
}

// --- Markers, loop, hash ------------------------------------------------------------------------

TEST_F(WavChunks, MarkersComeFromCueAndLabelsInEitherOrder) {
  const Bytes labels = AdtlList({Labl(2, std::string("two\0", 4)), Labl(3, "odd"),
                                 Chunk("note", Bytes{9, 9, 9, 9, 9}), Labl(2, "again")});
  const Bytes cue = Chunk("cue ", CuePayload({{1, 100}, {2, 200}, {1, 150}}));
  for (bool cueFirst : {true, false}) {
    auto reader = Open(Riff(Concat({k_fmtStereo16, cueFirst ? cue : labels, Chunk("data", Bytes(4)),
                                    cueFirst ? labels : cue})));
    ASSERT_TRUE(reader->ReadChunks(ChunkFlag_Fmt | ChunkFlag_Data | ChunkFlag_Cue | ChunkFlag_List));
    const auto& m = reader->GetMarkers();
    ASSERT_EQ(m.size(), 3u);
    // Order of first appearance; a repeated id updates the same marker.
    const uint32_t ids[] = {cueFirst ? 1u : 2u, cueFirst ? 2u : 3u, cueFirst ? 3u : 1u};
    for (size_t i = 0; i < 3; ++i) EXPECT_EQ(m[i].dwIdentifier, ids[i]);
    // id 1: its later cue position, no label; id 2: the later labl replaces the earlier; id 3: a
    // label without a cue entry, its pad byte read into the block.
    for (const NY_WAVE_MARKER& marker : m) {
      const uint32_t id = marker.dwIdentifier;
      EXPECT_EQ(marker.dwPosition, id == 1 ? 150u : id == 2 ? 200u : 0u) << id;
      EXPECT_EQ(std::string(marker.strLabel ? marker.strLabel : "", marker.dwLabelSize),
                id == 1 ? "" : id == 2 ? "again" : "odd") << id;
      EXPECT_EQ(marker.strLabel == nullptr, id == 1) << id;
      if (id == 3) {
        EXPECT_EQ(marker.strLabel[3], 0);
      }
    }
  }
}

TEST_F(WavChunks, BrokenMarkerChunksFailTheWalk) {
  Bytes cueTooShort = CuePayload({{1, 10}});
  cueTooShort[0] = 5;  // count says 5, one record present
  const Bytes adtl{'a', 'd', 't', 'l'};
  const Bytes cases[] = {
      Chunk("cue ", cueTooShort),
      Chunk("LIST", Concat({adtl, Header("labl", 2), Bytes{1, 0}})),
      Chunk("LIST", Concat({adtl, Header("labl", 0x7FFFFFF0), Bytes(8)})),
      Concat({Header("cue ", 28), Bytes{1, 0, 0, 0}, Bytes(6)}),
      Header("LIST", 12),
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    auto reader = Open(Riff(Concat({k_fmtStereo16, Chunk("data", Bytes(4)), cases[i]})));
    EXPECT_FALSE(reader->ReadChunks(ChunkFlag_Fmt | ChunkFlag_Data | ChunkFlag_Cue | ChunkFlag_List))
        << "case " << i;
  }
}

TEST_F(WavChunks, HashIsExactlySixteenBytes) {
  Bytes hash(16);
  for (int i = 0; i < 16; ++i) hash[i] = uint8_t(0xA0 + i);
  auto reader = Open(Riff(Concat({Chunk("hash", hash), k_fmtStereo16, Chunk("data", Bytes(4))})));
  uint8_t out[16] = {};
  EXPECT_FALSE(reader->GetHash(out, 16));  // nothing read yet
  ASSERT_TRUE(reader->ReadChunks(ChunkFlag_Fmt | ChunkFlag_Data | ChunkFlag_Hash));
  EXPECT_FALSE(reader->GetHash(out, 15));
  ASSERT_TRUE(reader->GetHash(out, 16));
  EXPECT_EQ(Bytes(out, out + 16), hash);
  for (size_t size : {15u, 17u}) {
    auto wrong = Open(Riff(Concat({k_fmtStereo16, Chunk("data", Bytes(4)), Chunk("hash", Bytes(size))})));
    EXPECT_FALSE(wrong->ReadChunks(ChunkFlag_Fmt | ChunkFlag_Data | ChunkFlag_Hash)) << size;
    EXPECT_TRUE(wrong->ChunksRead() & ChunkFlag_Data);  // what was read stays
  }
}

// --- RF64 ---------------------------------------------------------------------------------------

Bytes Ds64(uint64_t dataSize, uint32_t extra = 0) {
  Bytes p;
  PutU64(p, 0);
  PutU64(p, dataSize);
  PutU64(p, 0);
  PutU32(p, 0);
  p.resize(p.size() + extra, 0);
  return Chunk("ds64", p);
}

TEST_F(WavChunks, SparseRf64BeyondFourGiBHasSixtyFourBitOffsets) {
  const uint64_t dataSize = 6 * ((5ull << 30) / 6 + 1);  // over 5 GiB of stereo 24-bit frames
  Bytes head = Riff(Concat({Ds64(dataSize), Chunk("fmt ", FmtPayload(1, 2, 48000, 24)),
                            Header("data", 0xFFFFFFFF)}),
                    "RF64", 0xFFFFFFFF);
  const uint64_t dataOffset = head.size();
  const Bytes tail = Concat({Chunk("cue ", CuePayload({{7, 123456789}}))});
  const std::string native = m_dir.Native("big.wav");
  WriteFileBytes(native, head);
  ASSERT_EQ(::truncate(native.c_str(), off_t(dataOffset + dataSize)), 0);
  {
    FILE* f = std::fopen(native.c_str(), "r+b");
    ASSERT_NE(f, nullptr);
    ASSERT_EQ(fseeko(f, off_t(dataOffset + dataSize - 6), SEEK_SET), 0);
    const uint8_t last[6] = {0x00, 0x00, 0x80, 0xFF, 0xFF, 0x7F};
    std::fwrite(last, 1, 6, f);
    std::fwrite(tail.data(), 1, tail.size(), f);
    std::fclose(f);
  }
  std::unique_ptr<NyAudioFileReader> reader(NyAudioFileReader::Create(lu::Path(m_dir.Wide("big.wav"))));
  ASSERT_NE(reader, nullptr);
  auto* wav = static_cast<NyWavFileReader*>(reader.get());
  ASSERT_TRUE(wav->ReadChunks(ChunkFlag_Fmt | ChunkFlag_Data | ChunkFlag_Cue));
  EXPECT_EQ(wav->GetDataSize(), dataSize);
  EXPECT_EQ(wav->GetDataOffset(), dataOffset);
  EXPECT_EQ(wav->GetNumFrames(), uint32_t(dataSize / 6));
  // The walk after data sees the cue chunk beyond 4 GiB.
  ASSERT_EQ(wav->GetNumMarkers(), 1u);
  EXPECT_EQ(wav->GetMarkers()[0].dwPosition, 123456789u);
  // The last frame, read through a 64-bit position.
  ASSERT_TRUE(wav->SeekToAudioFrame(wav->GetNumFrames() - 1));
  float frame[2] = {};
  EXPECT_EQ(wav->ReadPCMDataAsFloat32(4, frame), 1u);
  EXPECT_EQ(frame[0], -1.0f);
  EXPECT_EQ(frame[1], 8388607.0f / 8388608.0f);
}

// --- Lifecycle ----------------------------------------------------------------------------------

TEST_F(WavChunks, CloseForgetsTheDataAndMarkersButKeepsTheFormat) {
  auto reader = Open(Riff(Concat({k_fmtStereo16, AdtlList({Labl(1, "x")}), Chunk("data", Bytes(8))})));
  ASSERT_TRUE(reader->ReadChunks(ChunkFlag_Fmt | ChunkFlag_Data | ChunkFlag_List));
  reader->Close();
  EXPECT_EQ(reader->GetDataSize(), 0u);
  EXPECT_EQ(reader->ChunksRead(), 0u);
  EXPECT_EQ(reader->GetNumMarkers(), 0u);
  EXPECT_EQ(reader->GetCurrentDataPos(), ~0ull);
  EXPECT_EQ(reader->GetFormat().nChannels, 2);
  reader->Close();  // twice is harmless
  EXPECT_FALSE(reader->ReadChunks(ChunkFlag_Fmt));
}

}  // namespace
