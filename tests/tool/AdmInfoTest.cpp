// nybase info on a broadcast WAV file: the ADM objects and their tracks.
#include <gtest/gtest.h>

#include <rapidjson/document.h>

#include <cstring>
#include <string>

#include "../support/TestSupport.h"
#include "ToolRunner.h"
#include "WavBuilder.h"

namespace {

constexpr const char* k_axml = R"(<?xml version="1.0" encoding="UTF-8"?>
<ebuCoreMain><coreMetadata><format><audioFormatExtended>
<audioProgramme audioProgrammeID="APR_1001" audioProgrammeName="Scene">
  <audioContentIDRef>ACO_1001</audioContentIDRef></audioProgramme>
<audioContent audioContentID="ACO_1001" audioContentName="Main">
  <audioObjectIDRef>AO_1001</audioObjectIDRef><audioObjectIDRef>AO_1002</audioObjectIDRef></audioContent>
<audioObject audioObjectID="AO_1001" audioObjectName="Dialogue">
  <audioPackFormatIDRef>AP_00031001</audioPackFormatIDRef>
  <audioTrackUIDRef>ATU_00000001</audioTrackUIDRef></audioObject>
<audioObject audioObjectID="AO_1002" audioObjectName="Bed">
  <audioPackFormatIDRef>AP_00010002</audioPackFormatIDRef>
  <audioTrackUIDRef>ATU_00000002</audioTrackUIDRef>
  <audioTrackUIDRef>ATU_00000003</audioTrackUIDRef></audioObject>
<audioPackFormat audioPackFormatID="AP_00031001" audioPackFormatName="Dialogue" typeLabel="0003">
  <audioChannelFormatIDRef>AC_00031001</audioChannelFormatIDRef></audioPackFormat>
<audioPackFormat audioPackFormatID="AP_00010002" audioPackFormatName="Stereo" typeLabel="0001">
  <audioChannelFormatIDRef>AC_00010001</audioChannelFormatIDRef>
  <audioChannelFormatIDRef>AC_00010002</audioChannelFormatIDRef></audioPackFormat>
<audioTrackUID UID="ATU_00000001"/><audioTrackUID UID="ATU_00000002"/><audioTrackUID UID="ATU_00000003"/>
</audioFormatExtended></format></coreMetadata></ebuCoreMain>
)";

// A chna record: track index, UID, track format and pack format references, a pad byte.
void PutTrack(std::vector<uint8_t>& out, uint16_t index, const char* uid, const char* track, const char* pack) {
  nytest::PutU16(out, index);
  auto put = [&](const char* text, size_t width) {
    for (size_t i = 0; i < width; ++i) out.push_back(i < std::strlen(text) ? static_cast<uint8_t>(text[i]) : 0);
  };
  put(uid, 12);
  put(track, 14);
  put(pack, 11);
  out.push_back(0);
}

// The axml lists its own audioTrackUID elements as well; the tracks shown are the chna channels,
// whichever of the two chunks comes first. The channels are deliberately not in UID order.
TEST(ToolInfo, ShowsTheAdmObjectsAndTheirTracks) {
  nytest::TempDir dir;
  std::vector<uint8_t> chna;
  nytest::PutU16(chna, 3);
  nytest::PutU16(chna, 3);
  PutTrack(chna, 2, "ATU_00000001", "AT_00031001_01", "AP_00031001");
  PutTrack(chna, 1, "ATU_00000002", "AT_00010001_01", "AP_00010002");
  PutTrack(chna, 3, "ATU_00000003", "AT_00010002_01", "AP_00010002");
  const std::pair<std::string, std::vector<uint8_t>> axml{"axml", {k_axml, k_axml + std::strlen(k_axml)}};
  for (bool chnaFirst : {false, true}) {
    nytest::TestWav wav;
    wav.channels = 3;
    wav.samples.assign(3 * 4800, 0);
    wav.extraChunks = {axml, {"chna", chna}};
    if (chnaFirst) std::swap(wav.extraChunks[0], wav.extraChunks[1]);
    const std::string path = dir.Native("scene.wav");
    nytest::WriteFileBytes(path, nytest::BuildWav(wav));

    const auto r = nytest::RunTool("info --json " + nytest::Quote(path));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto d = nytest::ParseLine(r.OutLines().at(0));
    const auto& adm = d["adm"];
    ASSERT_TRUE(adm.IsObject()) << r.out;
    EXPECT_STREQ(adm["programme"]["name"].GetString(), "Scene");
    EXPECT_EQ(adm["trackCount"].GetUint(), 3u) << chnaFirst;
    const auto& objects = adm["objects"];
    ASSERT_EQ(objects.Size(), 2u);
    EXPECT_STREQ(objects[0]["id"].GetString(), "AO_1001");
    EXPECT_STREQ(objects[0]["name"].GetString(), "Dialogue");
    EXPECT_STREQ(objects[0]["packs"][0]["type"].GetString(), "Objects");
    ASSERT_EQ(objects[0]["tracks"].Size(), 1u);
    EXPECT_EQ(objects[0]["tracks"][0].GetUint(), 2u) << chnaFirst;
    EXPECT_STREQ(objects[1]["packs"][0]["type"].GetString(), "DirectSpeakers");
    ASSERT_EQ(objects[1]["tracks"].Size(), 2u);
    EXPECT_EQ(objects[1]["tracks"][0].GetUint(), 1u) << chnaFirst;
    EXPECT_EQ(objects[1]["tracks"][1].GetUint(), 3u) << chnaFirst;

    const auto t = nytest::RunTool("info " + nytest::Quote(path));
    EXPECT_NE(t.out.find("adm       2 objects, 3 tracks, programme \"Scene\""), std::string::npos) << t.out;
    EXPECT_NE(t.out.find("AO_1002  \"Bed\"  tracks 1 3  (DirectSpeakers)"), std::string::npos) << t.out;
  }
}

}  // namespace
