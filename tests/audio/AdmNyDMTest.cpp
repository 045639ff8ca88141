// NyADM's derived views: the channel targets of multichannel objects and the NyDM records.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include <nybase/audio/NyADM.h>
#include <nybase/audio/internal/AdmValues.h>

#include "AdmTestDocs.h"

using namespace nytest;
using nybase::audio::detail::HalfToDouble;

namespace {

// A document with track UIDs ATU_00000001..count and one object per entry of objects, each
// referring to the given track numbers (0 stands for a UID that is not there).
std::string TargetsDoc(unsigned int tracks, const std::vector<std::vector<unsigned int>>& objects) {
  std::string doc;
  for (unsigned int t = 1; t <= tracks; ++t) doc += "<audioTrackUID UID=\"" + TrackUID(t) + "\"/>";
  for (size_t o = 0; o < objects.size(); ++o) {
    doc += "<audioObject audioObjectID=\"AO_" + std::to_string(o) + "\" audioObjectName=\"o\">";
    for (unsigned int t : objects[o]) {
      doc += "<audioTrackUIDRef>" + (t ? TrackUID(t) : std::string("ATU_missing")) + "</audioTrackUIDRef>";
    }
    doc += "</audioObject>";
  }
  return WrapAxml(doc);
}

std::vector<unsigned int> Range(unsigned int first, unsigned int count) {
  std::vector<unsigned int> out;
  for (unsigned int i = 0; i < count; ++i) out.push_back(first + i);
  return out;
}

// A one-object document whose channel format has the given blocks.
std::string PositionsDoc(const std::string& blocks, const char* packType = "0003") {
  return WrapAxml(std::string("<audioObject audioObjectID=\"AO_1\" audioObjectName=\"Obj\">"
                              "<audioPackFormatIDRef>AP_1</audioPackFormatIDRef>"
                              "<audioTrackUIDRef>ATU_00000001</audioTrackUIDRef></audioObject>"
                              "<audioPackFormat audioPackFormatID=\"AP_1\" audioPackFormatName=\"p\" typeLabel=\"") +
                  packType +
                  "\"><audioChannelFormatIDRef>AC_1</audioChannelFormatIDRef></audioPackFormat>"
                  "<audioChannelFormat audioChannelFormatID=\"AC_1\" audioChannelFormatName=\"c\">" +
                  blocks + "</audioChannelFormat><audioTrackUID UID=\"ATU_00000001\"/>");
}

std::string PolarBlock(double az, double el, double d) {
  return "<audioBlockFormat audioBlockFormatID=\"AB_1\"><position coordinate=\"azimuth\">" + std::to_string(az) +
         "</position><position coordinate=\"elevation\">" + std::to_string(el) +
         "</position><position coordinate=\"distance\">" + std::to_string(d) + "</position></audioBlockFormat>";
}

struct Flat {
  NyDM dm{};
  std::vector<NyDMObject> objects;
  std::vector<NyDMPos> positions;
  std::vector<char> names;
};

Flat Flatten(const NyADM& adm) {
  Flat f;
  EXPECT_TRUE(adm.ToNyDM(f.dm, f.objects, f.positions, f.names));
  return f;
}

}  // namespace

TEST(AdmTargets, MultichannelObjectsGoToAscendingSpeakerOrderWithLfeLast) {
  const struct {
    unsigned int tracks;
    std::vector<std::vector<unsigned int>> objects;
    unsigned char channels;
    std::vector<unsigned char> targets;
  } cases[] = {
      {6, {Range(1, 6)}, 6, {0, 1, 2, 5, 3, 4}},                    // 5.1
      {7, {Range(1, 7)}, 7, {0, 1, 2, 5, 6, 3, 4}},                 // 7.0: sides after the backs
      {8, {Range(1, 8)}, 8, {0, 1, 2, 7, 5, 6, 3, 4}},              // 7.1
      {9, {Range(1, 9)}, 9, {0, 1, 2, 5, 6, 3, 4, 7, 8}},           // 7.0.2
      {10, {Range(1, 10)}, 10, {0, 1, 2, 9, 5, 6, 3, 4, 7, 8}},     // 7.1.2
      {3, {Range(1, 3)}, 3, {0, 1, 2}},
      {4, {Range(1, 4)}, 4, {0, 1, 2, 3}},
      {11, {Range(1, 11)}, 11, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}},  // no layout for 11
      {6, {Range(1, 1), Range(2, 1)}, 3, {0, 1, 2}},                 // single-track objects
      // The base is the object's first track: a stereo object then a 5.1 one.
      {8, {Range(1, 2), Range(3, 6)}, 8, {0, 1, 2, 3, 4, 7, 5, 6}},
      // References in any order: the base is the smallest index.
      {6, {{6, 5, 4, 3, 2, 1}}, 6, {0, 1, 2, 5, 3, 4}},
      // More channels than tracks, and tracks beyond the channels.
      {6, {Range(1, 6)}, 8, {0, 1, 2, 5, 3, 4, 6, 7}},
      {6, {Range(1, 6)}, 4, {0, 1, 2, 5}},
      // Unknown references count as the number of UIDs (here 4, past the two channels).
      {4, {{0, 0}}, 2, {0, 1}},
      {4, {{0, 0}}, 6, {0, 1, 2, 3, 4, 5}},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    NyADM adm;
    ASSERT_TRUE(adm.FromAXML(TargetsDoc(cases[i].tracks, cases[i].objects).c_str())) << i;
    std::vector<unsigned char> targets(3, 99);
    adm.GetChannelTargets(targets, cases[i].channels);
    EXPECT_EQ(targets, cases[i].targets) << "case " << i;
  }
}

TEST(AdmTargets, MissingReferencesMoveTheBaseToTheVectorSize) {
  NyADM adm;
  ASSERT_TRUE(adm.FromAXML(TargetsDoc(2, {{0, 0}}).c_str()));  // base 2, stereo mask: identity there
  std::vector<unsigned char> targets;
  adm.GetChannelTargets(targets, 6);
  EXPECT_EQ(targets, (std::vector<unsigned char>{0, 1, 2, 3, 4, 5}));
  NyADM lfe;
  ASSERT_TRUE(lfe.FromAXML(TargetsDoc(1, {{0, 0, 0, 0, 0, 0}}).c_str()));  // base 1
  lfe.GetChannelTargets(targets, 8);
  EXPECT_EQ(targets, (std::vector<unsigned char>{0, 1, 2, 3, 6, 4, 5, 7}));
}

TEST(AdmNyDM, PolarPositionsBecomeCartesianXZY) {
  const double k_deg = std::numbers::pi / 180.0;
  const struct {
    double az, el, d;
  } cases[] = {{0, 0, 1}, {30, 0, 1}, {-30, 0, 1}, {110, 0, 1}, {-110, 30, 0.5}, {180, 0, 1},
               {0, 90, 1}, {45, -45, 2}, {-90, 0, 1}, {720, 10, 1}};
  for (const auto& c : cases) {
    NyADM adm;
    ASSERT_TRUE(adm.FromAXML(PositionsDoc(PolarBlock(c.az, c.el, c.d)).c_str()));
    const Flat f = Flatten(adm);
    ASSERT_EQ(f.positions.size(), 1u);
    // Front is +Y, left (positive azimuth) is -X, up is +Z.
    const double x = -std::sin(c.az * k_deg) * std::cos(c.el * k_deg) * c.d;
    const double y = std::cos(c.az * k_deg) * std::cos(c.el * k_deg) * c.d;
    const double z = std::sin(c.el * k_deg) * c.d;
    const double tolerance = 1.0 / 1024;  // binary16 keeps 11 significant bits
    EXPECT_NEAR(HalfToDouble(f.positions[0].position[0]), x, tolerance) << c.az << "/" << c.el;
    EXPECT_NEAR(HalfToDouble(f.positions[0].position[1]), z, tolerance) << c.az << "/" << c.el;
    EXPECT_NEAR(HalfToDouble(f.positions[0].position[2]), y, tolerance) << c.az << "/" << c.el;
  }
  // Exact encodings where the value is exact.
  NyADM adm;
  ASSERT_TRUE(adm.FromAXML(PositionsDoc(PolarBlock(0, 0, 1) + PolarBlock(90, 0, 2)).c_str()));
  const Flat f = Flatten(adm);
  ASSERT_EQ(f.positions.size(), 2u);
  EXPECT_EQ(f.positions[0].position[2], 0x3C00);  // Y = 1
  EXPECT_EQ(f.positions[0].position[1], 0x0000);  // Z = 0
  EXPECT_EQ(f.positions[1].position[0], 0xC000);  // X = -2
}

TEST(AdmNyDM, CartesianBlocksTimesAndJumps) {
  NyADM adm;
  ASSERT_TRUE(adm.FromAXML(
      PositionsDoc("<audioBlockFormat audioBlockFormatID=\"AB_1\" rtime=\"00:00:01.50000\" "
                   "duration=\"00:01:00.24000S48000\"><cartesian>1</cartesian>"
                   "<position coordinate=\"X\">0.5</position><position coordinate=\"Y\">-1</position>"
                   "<width>0.25</width><height>0.5</height><depth>0.75</depth>"
                   "<jumpPosition>1</jumpPosition></audioBlockFormat>"
                   "<audioBlockFormat audioBlockFormatID=\"AB_2\" rtime=\"00:00:02\">"
                   "<jumpPosition interpolationLength=\"0.1\">1</jumpPosition></audioBlockFormat>"
                   "<audioBlockFormat audioBlockFormatID=\"AB_3\" duration=\"00:00:00.00000\">"
                   "<jumpPosition interpolationLength=\"0\">1</jumpPosition><cartesian>0</cartesian>"
                   "</audioBlockFormat>")
          .c_str()));
  const Flat f = Flatten(adm);
  ASSERT_EQ(f.positions.size(), 3u);
  const NyDMPos& p = f.positions[0];
  EXPECT_EQ(p.position[0], 0x3800);  // X 0.5
  EXPECT_EQ(p.position[1], 0x0000);  // Z absent
  EXPECT_EQ(p.position[2], 0xBC00);  // Y -1
  EXPECT_EQ(p.spread, 0x3800);       // (0.25 + 0.5 + 0.75) / 3
  EXPECT_EQ(p.rtime, 1500u);
  EXPECT_EQ(p.duration, 60500u | k_nyDMJumpFlag);  // jump without interpolation
  EXPECT_EQ(f.positions[1].rtime, 0u);             // too short to be a time
  EXPECT_EQ(f.positions[1].duration, 0u);          // interpolated jump: no flag
  EXPECT_EQ(f.positions[2].duration, k_nyDMJumpFlag);
  EXPECT_EQ(f.positions[2].position[2], 0x3C00);   // polar front: "0" does not set cartesian
}

TEST(AdmNyDM, ObjectsNamesConfigurationsAndFlags) {
  std::string eleven;
  for (int i = 0; i < 11; ++i) eleven += "<audioTrackUIDRef>ATU_x</audioTrackUIDRef>";
  NyADM adm;
  ASSERT_TRUE(adm.FromAXML(WrapAxml(BedElements(k_bed51, 3) +
                                    "<audioTrackUID UID=\"ATU_00000001\"/><audioTrackUID UID=\"ATU_00000002\"/>"
                                    "<audioObject audioObjectID=\"AO_2\" audioObjectName=\"Two packs\">"
                                    "<audioPackFormatIDRef>AP_O</audioPackFormatIDRef>"
                                    "<audioPackFormatIDRef>AP_O</audioPackFormatIDRef>"
                                    "<audioTrackUIDRef>ATU_00000002</audioTrackUIDRef>"
                                    "<audioTrackUIDRef>ATU_00000001</audioTrackUIDRef></audioObject>"
                                    "<audioObject audioObjectID=\"AO_3\" audioObjectName=\"\">"
                                    "<audioPackFormatIDRef>AP_O</audioPackFormatIDRef></audioObject>"
                                    "<audioObject audioObjectID=\"AO_4\" audioObjectName=\"Eleven\">" +
                                    eleven + "</audioObject>"
                                    "<audioPackFormat audioPackFormatID=\"AP_O\" audioPackFormatName=\"o\" "
                                    "typeLabel=\"0003\" typeDefinition=\"Matrix\">"
                                    "<audioChannelFormatIDRef>AC_missing</audioChannelFormatIDRef></audioPackFormat>")
                               .c_str()));
  const Flat f = Flatten(adm);
  EXPECT_EQ(f.dm.numObjects, 4u);
  EXPECT_EQ(f.dm.numPositions, 0u);
  ASSERT_EQ(f.objects.size(), 4u);
  const NyDMObject& bed = f.objects[0];
  EXPECT_EQ(bed.isObject, 0u);
  EXPECT_EQ(bed.firstTrack, 0u);  // the bed's UIDs were defined first
  EXPECT_EQ(bed.channelConfig, NyChannelConfig(6, NyChannelConfigType_Standard, 0x60F));
  EXPECT_EQ(bed.firstPosition, 0u);
  EXPECT_EQ(bed.numPositions, 0u);  // its pack has six channel formats, not one
  EXPECT_EQ(f.positions.size(), 0u);

  const NyDMObject& two = f.objects[1];
  EXPECT_EQ(two.isObject, 0u);  // two pack references: no pack is looked at
  EXPECT_EQ(two.firstTrack, 6u);
  EXPECT_EQ(two.channelConfig, NyChannelConfig(2, NyChannelConfigType_Standard, 0x3));
  EXPECT_EQ(f.objects[2].isObject, 1u);  // label 0003 beats the definition
  EXPECT_EQ(f.objects[2].firstTrack, 255u);
  EXPECT_EQ(f.objects[2].channelConfig, NyChannelConfig(0, 0, 0));
  EXPECT_EQ(f.objects[2].numPositions, 0u);  // its channel format is missing
  EXPECT_EQ(f.objects[3].channelConfig, NyChannelConfig(11, NyChannelConfigType_Anonymous, 0));
  EXPECT_EQ(f.objects[3].firstTrack, 8u);  // unknown UIDs count as the number of UIDs

  const std::string names(f.names.begin(), f.names.end());
  EXPECT_EQ(names, std::string("Bed\0Two packs\0\0Eleven\0", 22));
  EXPECT_EQ(f.dm.namesSize, 22u);
  EXPECT_EQ(f.objects[1].nameOffset, 4u);
  EXPECT_EQ(f.objects[2].nameOffset, 14u);
  EXPECT_EQ(f.objects[3].nameOffset, 15u);
}

TEST(AdmNyDM, PositionsIndexAcrossObjectsAndBadValuesStayBounded) {
  NyADM adm;
  const std::string blocks = PolarBlock(0, 0, 1) + PolarBlock(0, 0, 1e6) +
                             "<audioBlockFormat audioBlockFormatID=\"AB_n\">"
                             "<position coordinate=\"azimuth\">1e40</position>"
                             "<position coordinate=\"elevation\">nan</position></audioBlockFormat>";
  ASSERT_TRUE(adm.FromAXML(PositionsDoc(blocks).c_str()));
  ASSERT_TRUE(adm.FromAXML(PositionsDoc(blocks).c_str()));  // a second object on the same pack
  const Flat f = Flatten(adm);
  ASSERT_EQ(f.objects.size(), 2u);
  EXPECT_EQ(f.objects[0].firstPosition, 0u);
  EXPECT_EQ(f.objects[0].numPositions, 3u);
  EXPECT_EQ(f.objects[1].firstPosition, 3u);
  EXPECT_EQ(f.dm.numPositions, 6u);
  EXPECT_EQ(f.positions[1].position[2], 0x7C00);  // a million metres ahead: infinity
  EXPECT_EQ(f.positions[2].position[0] & 0x7C00, 0x7C00);  // NaN elevation stays NaN
  EXPECT_NE(f.positions[2].position[0] & 0x3FF, 0);

  // No objects: all zeros.
  NyADM empty;
  const Flat e = Flatten(empty);
  EXPECT_EQ(e.dm.numObjects, 0u);
  EXPECT_EQ(e.dm.namesSize, 0u);
  EXPECT_EQ(e.dm.numPositions, 0u);
  EXPECT_TRUE(e.objects.empty() && e.positions.empty() && e.names.empty());
}
