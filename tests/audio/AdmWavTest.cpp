// ADM through the WAV reader: BW64 files with axml and chna, the ADM channel route, and files
// whose ADM chunks are damaged.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <memory>

#include <nybase/audio/NyADM.h>
#include <nybase/audio/NyWavFileReader.h>
#include <nybase/platform/NativePath.h>

#include "AdmTestDocs.h"

using namespace nytest;

namespace {

constexpr unsigned int k_frames = 5;

// Six channels of 16-bit PCM where every sample names its channel: (c + 1) x 1024 + frame.
Bytes SixChannelData() {
  Bytes data;
  for (unsigned int f = 0; f < k_frames; ++f) {
    for (unsigned int c = 0; c < 6; ++c) PutU16(data, uint16_t((c + 1) * 1024 + f));
  }
  return data;
}

Bytes Axml(const std::string& xml) { return Chunk("axml", Bytes(xml.begin(), xml.end())); }

class AdmWav : public ::testing::Test {
 protected:
  TempDir m_dir;
  int m_serial = 0;

  std::unique_ptr<NyWavFileReader> Open(const Bytes& body, const char (&magic)[5] = "BW64") {
    const std::string name = "adm" + std::to_string(m_serial++) + ".wav";
    WriteFileBytes(m_dir.Native(name), Riff(body, magic));
    auto reader = std::make_unique<NyWavFileReader>();
    EXPECT_TRUE(reader->Open(lu::Path(m_dir.Wide(name))));
    return reader;
  }
};

const Bytes k_fmt51 = Chunk("fmt ", FmtPayload(1, 6, 48000, 16));

}  // namespace

TEST_F(AdmWav, TheAdmRouteDeliversTheBedInSpeakerOrderWhicheverChunkComesFirst) {
  const Bytes axml = Axml(WrapAxml(BedElements()));
  const Bytes chna = Chunk("chna", ChnaPayload(BedChnaRows(6), 6, 6));
  const Bytes data = Chunk("data", SixChannelData());
  const struct {
    Bytes body;
    size_t trackUIDs;
  } files[] = {
      {Concat({k_fmt51, axml, chna, data}), 12},  // chna after axml: entries beside the XML's
      {Concat({k_fmt51, chna, axml, data}), 6},   // chna first: completed by the XML
      {Concat({k_fmt51, data, chna, axml}), 6},   // metadata after the samples
  };
  // Output channel d holds file channel source[d]: L R C Ls Rs, then the LFE.
  const unsigned int source[6] = {0, 1, 2, 4, 5, 3};
  for (size_t i = 0; i < std::size(files); ++i) {
    auto reader = Open(files[i].body);
    ASSERT_TRUE(reader->ReadChunks(~0u)) << i;
    EXPECT_EQ(reader->ChunksRead() & (ChunkFlag_Axml | ChunkFlag_Chna), ChunkFlag_Axml | ChunkFlag_Chna);
    const NyADM* adm = reader->GetADM();
    ASSERT_NE(adm, nullptr);
    EXPECT_EQ(adm->GetObjects().size(), 1u);
    EXPECT_EQ(adm->GetTrackUIDs().size(), files[i].trackUIDs) << i;

    std::vector<float> out(k_frames * 6, -9.0f), planar(k_frames * 6, -9.0f);
    ASSERT_TRUE(reader->SeekToAudioFrame(0));
    ASSERT_EQ(reader->ReadPCMDataAsFloat32(k_frames, out.data()), k_frames);
    ASSERT_TRUE(reader->SeekToAudioFrame(0));
    ASSERT_EQ(reader->ReadPCMDataAsFloat32(k_frames, reader->GetFormat().channelConfig, NY::ChannelOrdering_Native,
                                           planar.data(), false),
              k_frames);
    for (unsigned int f = 0; f < k_frames; ++f) {
      for (unsigned int d = 0; d < 6; ++d) {
        const float expected = float((source[d] + 1) * 1024 + f) / 32768.0f;
        EXPECT_EQ(out[f * 6 + d], expected) << "file " << i << " frame " << f << " channel " << d;
        EXPECT_EQ(planar[d * k_frames + f], expected) << "file " << i << " frame " << f << " channel " << d;
      }
    }
  }
}

TEST_F(AdmWav, WithoutMultichannelObjectsTheOrderStays) {
  auto reader = Open(Concat({k_fmt51,
                             Axml(WrapAxml("<audioObject audioObjectID=\"AO_1\" audioObjectName=\"a\">"
                                           "<audioTrackUIDRef>ATU_00000001</audioTrackUIDRef></audioObject>")),
                             Chunk("data", SixChannelData())}));
  ASSERT_TRUE(reader->ReadChunks(~0u));
  std::vector<float> out(k_frames * 6);
  reader->SeekToAudioFrame(0);
  ASSERT_EQ(reader->ReadPCMDataAsFloat32(k_frames, out.data()), k_frames);
  for (unsigned int c = 0; c < 6; ++c) EXPECT_EQ(out[6 + c], float((c + 1) * 1024 + 1) / 32768.0f);
}

TEST_F(AdmWav, DamagedAdmChunks) {
  const Bytes data = Chunk("data", SixChannelData());
  const std::string good = WrapAxml(BedElements());
  Bytes absurd = ChnaPayload(BedChnaRows(3), 65535, 65535);
  absurd.insert(absurd.end(), 39, 'x');  // a remainder shorter than a record: left unread
  Bytes wrongLengths = ChnaPayload({{1, "ATU_1", "AT_1", "AP_1"}, {2, "ATU_0000000002", "", ""}}, 2, 2);
  const struct {
    const char* what;
    Bytes body;
    bool ok;
    bool hasADM;
  } cases[] = {
      {"malformed XML", Concat({k_fmt51, Axml("<ebuCoreMain><format><audioFormatExtended><audioObject"), data}),
       false, true},
      {"XML with a NUL inside", Concat({k_fmt51, Axml(good.substr(0, 20) + std::string(1, '\0') + good), data}),
       false, true},
      {"axml beyond the file", Concat({k_fmt51, data, Header("axml", 1u << 30), Bytes{'<', 'a'}}), false, false},
      {"axml of size 0", Concat({k_fmt51, Chunk("axml", {}), data}), false, true},
      // A remainder after the whole records is left unread, so these chunks come last.
      {"chna counts ignored", Concat({k_fmt51, data, Chunk("chna", absurd)}), true, true},
      {"chna shorter than a record", Concat({k_fmt51, data, Chunk("chna", Bytes(30, 'A'))}), true, true},
      {"chna counts cut short", Concat({k_fmt51, data, Header("chna", 3), Bytes{1, 2, 3}}), false, false},
      {"UIDs of wrong length", Concat({k_fmt51, Chunk("chna", wrongLengths), data}), true, true},
  };
  for (const auto& c : cases) {
    auto reader = Open(c.body);
    EXPECT_EQ(reader->ReadChunks(~0u), c.ok) << c.what;
    EXPECT_EQ(reader->GetADM() != nullptr, c.hasADM) << c.what;
    if (reader->GetADM() == nullptr) continue;
    if (std::string(c.what) == "chna counts ignored") {
      EXPECT_EQ(reader->GetADM()->GetTrackUIDs().size(), 3u);
    }
    // Whatever was read, the derived views stay within their inputs.
    std::vector<unsigned char> targets;
    reader->GetADM()->GetChannelTargets(targets, 6);
    EXPECT_EQ(targets.size(), 6u);
    NyDM dm;
    std::vector<NyDMObject> objects;
    std::vector<NyDMPos> positions;
    std::vector<char> names;
    EXPECT_TRUE(reader->GetADM()->ToNyDM(dm, objects, positions, names)) << c.what;
  }
}

// A real-shaped axml (a bed and forty objects, some 10 KB) that turns ill-formed midway, with
// bytes that are not UTF-8 inside an element name: the walk ends at every cut point (libxml2
// may first close the elements it had open, so the result is not always false). Run in a child
// with an alarm so that a hang fails instead of stalling the suite.
TEST_F(AdmWav, AnAxmlThatTurnsIllFormedMidwayEndsTheWalk) {
  std::string objects;
  for (int i = 0; i < 40; ++i) {
    objects += "<audioObject audioObjectID=\"AO_2" + Num(i, 3) + "\" audioObjectName=\"Fx\">" +
               El("audioPackFormatIDRef", "AP_00010003") + El("audioTrackUIDRef", TrackUID(1)) + "</audioObject>\n";
  }
  const std::string doc = WrapAxml(BedElements() + objects);
  std::vector<std::string> paths;
  const size_t end = doc.find("</audioFormatExtended>");
  for (size_t at = doc.find("</audioObject>"), n = 0; (at = doc.find('<', at + 1)) < end; ++n) {
    if (n % 7 != 0) continue;
    std::string bad = doc;
    bad.insert(at + 4, n % 2 ? "\xC3\x28" : "\xFF\xFE\x80");
    paths.push_back(m_dir.Native("cut" + std::to_string(n) + ".wav"));
    WriteFileBytes(paths.back(), Riff(Concat({k_fmt51, Axml(bad), Chunk("data", SixChannelData())}), "BW64"));
  }
  ASSERT_GT(paths.size(), 20u);
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    ::alarm(60);
    for (const std::string& path : paths) {
      NyWavFileReader reader;
      if (!reader.Open(lu::Path(CStdStr<wchar_t>(lu::platform::FromNativePath(path))))) ::_exit(1);
      reader.ReadChunks(ChunkFlag_Fmt | ChunkFlag_Data | ChunkFlag_Axml);
    }
    ::_exit(0);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
}
