// NyADM's derived views: the channel targets of multichannel objects and the NyDM records.
#include <gtest/gtest.h>

#include <nybase/audio/NyADM.h>
#include <nybase/audio/internal/AdmValues.h>

#include "AdmTestDocs.h"

using namespace nytest;
using nybase::audio::detail::HalfToDouble;

namespace {

// One object on pack AP_1 (of the given type label) on channel format AC_1 with these blocks.
std::string PositionsDoc(const std::string& blocks, const char* packType = "0003") {
  return WrapAxml(std::string("<audioObject audioObjectID=\"AO_1\" audioObjectName=\"Obj\">") +
                  El("audioPackFormatIDRef", "AP_1") + El("audioTrackUIDRef", "ATU_00000001") +
                  "</audioObject><audioPackFormat audioPackFormatID=\"AP_1\" audioPackFormatName=\"p\" typeLabel=\"" +
                  packType + "\">" + El("audioChannelFormatIDRef", "AC_1") +
                  "</audioPackFormat><audioChannelFormat audioChannelFormatID=\"AC_1\" audioChannelFormatName=\"c\">" +
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

Flat Flatten(const std::string& doc) {
  NyADM adm;
  EXPECT_TRUE(adm.FromAXML(doc.c_str()));
  Flat f;
  EXPECT_TRUE(adm.ToNyDM(f.dm, f.objects, f.positions, f.names));
  return f;
}

}  // namespace

TEST(AdmNyDM, PolarPositionsBecomeCartesianXZY) {
  // Front is +Y, left (positive azimuth) is -X, up is +Z; stored X, Z, Y in binary16.
  const struct {
    double az, el, d, x, z, y;
  } cases[] = {{0, 0, 1, 0, 0, 1},
               {90, 0, 2, -2, 0, 0},
               {-110, 30, 0.5, 0.40692, 0.25, -0.14811},
               {45, -45, 2, -1, -1.41421, 1}};
  for (const auto& c : cases) {
    const Flat f = Flatten(PositionsDoc(PolarBlock(c.az, c.el, c.d)));
    ASSERT_EQ(f.positions.size(), 1u);
    EXPECT_NEAR(HalfToDouble(f.positions[0].position[0]), c.x, 1.0 / 1024) << c.az << "/" << c.el;
    EXPECT_NEAR(HalfToDouble(f.positions[0].position[1]), c.z, 1.0 / 1024) << c.az << "/" << c.el;
    EXPECT_NEAR(HalfToDouble(f.positions[0].position[2]), c.y, 1.0 / 1024) << c.az << "/" << c.el;
  }
}

TEST(AdmNyDM, CartesianBlocksTimesAndJumps) {
  const Flat f = Flatten(PositionsDoc(
      "<audioBlockFormat audioBlockFormatID=\"AB_1\" rtime=\"00:00:01.50000\" duration=\"00:01:00.24000S48000\">"
      "<cartesian>1</cartesian><position coordinate=\"X\">0.5</position><position coordinate=\"Y\">-1</position>"
      "<width>0.25</width><height>0.5</height><depth>0.75</depth><jumpPosition>1</jumpPosition></audioBlockFormat>"
      "<audioBlockFormat audioBlockFormatID=\"AB_2\" rtime=\"00:00:02\">"
      "<jumpPosition interpolationLength=\"0.1\">1</jumpPosition></audioBlockFormat>"
      "<audioBlockFormat audioBlockFormatID=\"AB_3\" duration=\"00:00:00.00000\">"
      "<jumpPosition interpolationLength=\"0\">1</jumpPosition><cartesian>0</cartesian></audioBlockFormat>"));
  ASSERT_EQ(f.positions.size(), 3u);
  const NyDMPos& p = f.positions[0];
  EXPECT_EQ(p.position[0], 0x3800);  // X 0.5
  EXPECT_EQ(p.position[1], 0x0000);  // Z absent
  EXPECT_EQ(p.position[2], 0xBC00);  // Y -1
  EXPECT_EQ(p.spread, 0x3800);       // (0.25 + 0.5 + 0.75) / 3
  EXPECT_EQ(p.rtime, 1500u);
  EXPECT_EQ(p.duration, 60500u | k_nyDMJumpFlag);  // a jump without interpolation
  EXPECT_EQ(f.positions[1].rtime, 0u);             // too short to be a time
  EXPECT_EQ(f.positions[1].duration, 0u);          // an interpolated jump has no flag
  EXPECT_EQ(f.positions[2].duration, k_nyDMJumpFlag);
  EXPECT_EQ(f.positions[2].position[2], 0x3C00);   // "0" doesn't make it cartesian: polar front
}

TEST(AdmNyDM, ObjectsNamesConfigurationsAndFlags) {
  std::string eleven;
  for (int i = 0; i < 11; ++i) eleven += El("audioTrackUIDRef", "ATU_x");
  const Flat f = Flatten(WrapAxml(
      BedElements(3) + "<audioTrackUID UID=\"ATU_00000001\"/><audioTrackUID UID=\"ATU_00000002\"/>" +
      "<audioObject audioObjectID=\"AO_2\" audioObjectName=\"Two packs\">" + El("audioPackFormatIDRef", "AP_O") +
      El("audioPackFormatIDRef", "AP_O") + El("audioTrackUIDRef", "ATU_00000002") +
      El("audioTrackUIDRef", "ATU_00000001") + "</audioObject>" +
      "<audioObject audioObjectID=\"AO_3\" audioObjectName=\"\">" + El("audioPackFormatIDRef", "AP_O") +
      "</audioObject><audioObject audioObjectID=\"AO_4\" audioObjectName=\"Eleven\">" + eleven + "</audioObject>" +
      "<audioPackFormat audioPackFormatID=\"AP_O\" audioPackFormatName=\"o\" typeLabel=\"0003\" "
      "typeDefinition=\"Matrix\">" + El("audioChannelFormatIDRef", "AC_missing") + "</audioPackFormat>"));
  EXPECT_EQ(f.dm.numObjects, 4u);
  EXPECT_EQ(f.dm.numPositions, 0u);
  ASSERT_EQ(f.objects.size(), 4u);
  const NyDMObject& bed = f.objects[0];
  EXPECT_EQ(bed.isObject, 0u);
  EXPECT_EQ(bed.firstTrack, 0u);  // the bed's UIDs were defined first
  EXPECT_EQ(bed.channelConfig, NyChannelConfig(6, NyChannelConfigType_Standard, 0x60F));
  EXPECT_EQ(bed.numPositions, 0u);  // its pack has six channel formats, not one
  EXPECT_EQ(f.objects[1].isObject, 0u);  // two pack references: no pack is looked at
  EXPECT_EQ(f.objects[1].firstTrack, 6u);
  EXPECT_EQ(f.objects[1].channelConfig, NyChannelConfig(2, NyChannelConfigType_Standard, 0x3));
  EXPECT_EQ(f.objects[2].isObject, 1u);  // label 0003 beats the definition
  EXPECT_EQ(f.objects[2].firstTrack, 255u);
  EXPECT_EQ(f.objects[2].channelConfig, NyChannelConfig(0, 0, 0));
  EXPECT_EQ(f.objects[3].channelConfig, NyChannelConfig(11, NyChannelConfigType_Anonymous, 0));
  EXPECT_EQ(f.objects[3].firstTrack, 8u);  // unknown UIDs count as the number of UIDs
  EXPECT_EQ(std::string(f.names.begin(), f.names.end()), std::string("Bed\0Two packs\0\0Eleven\0", 22));
  EXPECT_EQ(f.dm.namesSize, 22u);
  EXPECT_EQ(f.objects[1].nameOffset, 4u);
  EXPECT_EQ(f.objects[3].nameOffset, 15u);
}

TEST(AdmNyDM, PositionsIndexAcrossObjectsAndBadValuesStayBounded) {
  const std::string blocks = PolarBlock(0, 0, 1) + PolarBlock(0, 0, 1e6) +
                             "<audioBlockFormat audioBlockFormatID=\"AB_n\"><position coordinate=\"azimuth\">1e40"
                             "</position><position coordinate=\"elevation\">nan</position></audioBlockFormat>";
  NyADM adm;
  ASSERT_TRUE(adm.FromAXML(PositionsDoc(blocks).c_str()));
  ASSERT_TRUE(adm.FromAXML(PositionsDoc(blocks).c_str()));  // a second object on the same pack
  Flat f;
  ASSERT_TRUE(adm.ToNyDM(f.dm, f.objects, f.positions, f.names));
  ASSERT_EQ(f.objects.size(), 2u);
  EXPECT_EQ(f.objects[0].numPositions, 3u);
  EXPECT_EQ(f.objects[1].firstPosition, 3u);
  EXPECT_EQ(f.dm.numPositions, 6u);
  EXPECT_EQ(f.positions[1].position[2], 0x7C00);           // a million metres ahead: infinity
  EXPECT_EQ(f.positions[2].position[0] & 0x7C00, 0x7C00);  // NaN elevation stays NaN
  EXPECT_NE(f.positions[2].position[0] & 0x3FF, 0);
  // Called again the counts start afresh but the vectors are appended to: positions index from
  // the new count, names from the end of the block. An ADM with no objects adds nothing.
  const size_t namesBefore = f.names.size();
  ASSERT_TRUE(adm.ToNyDM(f.dm, f.objects, f.positions, f.names));
  EXPECT_EQ(f.dm.numObjects, 2u);
  EXPECT_EQ(f.dm.numPositions, 6u);
  ASSERT_EQ(f.objects.size(), 4u);
  EXPECT_EQ(f.positions.size(), 12u);
  EXPECT_EQ(f.objects[2].firstPosition, 0u);
  EXPECT_EQ(f.objects[2].nameOffset, namesBefore);
  EXPECT_EQ(f.dm.namesSize, 2 * namesBefore);
  ASSERT_TRUE(NyADM().ToNyDM(f.dm, f.objects, f.positions, f.names));
  EXPECT_EQ(f.dm.numObjects + f.dm.numPositions, 0u);
  EXPECT_EQ(f.objects.size(), 4u);
}
