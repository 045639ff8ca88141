// NyADM from axml and chna: the elements kept, where the document may put them, what fails it,
// and how chna records meet audioTrackUID elements in either order.
#include <gtest/gtest.h>

#include <cstring>

#include <nybase/audio/NyADM.h>

#include "AdmTestDocs.h"

using namespace nytest;

namespace {

std::vector<CHNA_AUDIOID> Records(const std::vector<ChnaRow>& rows) {
  const Bytes payload = ChnaPayload(rows, 0, 0);
  std::vector<CHNA_AUDIOID> ids(rows.size());
  if (!ids.empty()) std::memcpy(ids.data(), payload.data() + 4, ids.size() * sizeof(CHNA_AUDIOID));
  return ids;
}

void AddChna(NyADM& adm, const std::vector<ChnaRow>& rows) {
  std::vector<CHNA_AUDIOID> ids = Records(rows);
  CHNA counts{uint16_t(rows.size()), uint16_t(rows.size())};
  EXPECT_TRUE(adm.FromCHNA(&counts, ids.data(), unsigned(ids.size())));
}

const char* const k_objectBlocks =
    "    <audioObject audioObjectID=\"AO_1002\" audioObjectName=\"Bird\">\n"
    "      <audioPackFormatIDRef>AP_00031001</audioPackFormatIDRef>\n"
    "      <audioTrackUIDRef>ATU_00000007</audioTrackUIDRef>\n"
    "      <gain>0.5</gain>\n"
    "    </audioObject>\n"
    "    <audioPackFormat audioPackFormatID=\"AP_00031001\" audioPackFormatName=\"Bird\" typeDefinition=\"Objects\">\n"
    "      <audioChannelFormatIDRef>AC_00031001</audioChannelFormatIDRef>\n"
    "    </audioPackFormat>\n"
    "    <audioChannelFormat audioChannelFormatID=\"AC_00031001\" audioChannelFormatName=\"Bird\" typeLabel=\"0003\">\n"
    "      <audioBlockFormat audioBlockFormatID=\"AB_00031001_00000001\" rtime=\"00:00:00.00000\" "
    "duration=\"00:00:01.50000\">\n"
    "        <position coordinate=\"azimuth\">-110</position>\n"
    "        <position coordinate=\"elevation\">30.0</position>\n"
    "        <position coordinate=\"distance\">0.5</position>\n"
    "        <width>45</width><diffuse>0.25</diffuse>\n"
    "        <jumpPosition>1</jumpPosition>\n"
    "      </audioBlockFormat>\n"
    "      <audioBlockFormat audioBlockFormatID=\"AB_00031001_00000002\" rtime=\"00:00:01.50000\" "
    "duration=\"00:01:00.24000S48000\">\n"
    "        <cartesian>1</cartesian>\n"
    "        <position coordinate=\"X\">0.5</position>\n"
    "        <position coordinate=\"Y\"><![CDATA[-1.0]]></position>\n"
    "        <position coordinate=\"Z\">0.25</position>\n"
    "        <width>0.3</width><height>0.6</height><depth>0.9</depth>\n"
    "        <jumpPosition interpolationLength=\"0.05\">1</jumpPosition>\n"
    "        <unknownChild><position coordinate=\"X\">9</position></unknownChild>\n"
    "      </audioBlockFormat>\n"
    "    </audioChannelFormat>\n"
    "    <audioTrackUID UID=\"ATU_00000007\" sampleRate=\"96000\" bitDepth=\"24\"/>\n";

}  // namespace

TEST(AdmAxml, KeepsEveryElementWithItsFields) {
  NyADM adm;
  ASSERT_TRUE(adm.FromAXML(WrapAxml(BedElements(k_bed51) + k_objectBlocks).c_str()));

  EXPECT_EQ(adm.GetProgramme().audioProgrammeID, "APR_1001");
  EXPECT_EQ(adm.GetProgramme().audioProgrammeName, "Main");
  EXPECT_EQ(adm.GetProgramme().audioContentIDRef, std::vector<std::string>{"ACO_1001"});
  ASSERT_EQ(adm.GetContents().size(), 1u);
  EXPECT_EQ(adm.GetContents()[0].audioObjectIDRef, std::vector<std::string>{"AO_1001"});

  ASSERT_EQ(adm.GetObjects().size(), 2u);
  const NyADM::Object& bed = adm.GetObjects()[0];
  EXPECT_EQ(bed.audioObjectID, "AO_1001");
  EXPECT_EQ(bed.audioObjectName, "Bed");
  EXPECT_EQ(bed.audioPackFormatIDRef, std::vector<std::string>{"AP_00010003"});
  ASSERT_EQ(bed.audioTrackUIDRef.size(), 6u);
  EXPECT_EQ(bed.audioTrackUIDRef[5], "ATU_00000006");

  ASSERT_EQ(adm.GetPackFormats().size(), 2u);
  EXPECT_EQ(adm.GetPackFormats()[0].type, 1u);
  EXPECT_EQ(adm.GetPackFormats()[0].audioChannelFormatIDRef.size(), 6u);
  EXPECT_EQ(adm.GetPackFormats()[1].type, 3u);  // from the definition

  ASSERT_EQ(adm.GetChannelFormats().size(), 7u);
  EXPECT_EQ(adm.GetChannelFormats()[3].audioChannelFormatName, "LowFrequency");
  const NyADM::ChannelFormat& bird = adm.GetChannelFormats()[6];
  EXPECT_EQ(bird.type, 3u);  // from the label
  ASSERT_EQ(bird.audioBlockFormat.size(), 2u);

  const NyADM::BlockFormat& polar = bird.audioBlockFormat[0];
  EXPECT_EQ(polar.audioBlockFormatID, "AB_00031001_00000001");
  EXPECT_EQ(polar.rtime, "00:00:00.00000");
  EXPECT_EQ(polar.duration, "00:00:01.50000");
  ASSERT_EQ(polar.positions.size(), 3u);
  EXPECT_EQ(polar.positions[0].coordinate, "azimuth");
  EXPECT_FLOAT_EQ(polar.positions[0].value, -110.0f);
  EXPECT_FLOAT_EQ(polar.positions[2].value, 0.5f);
  EXPECT_FALSE(polar.cartesian);
  EXPECT_FLOAT_EQ(polar.diffuse, 0.25f);
  EXPECT_EQ(polar.spread, 0.0f);  // extents make a spread only for cartesian blocks
  EXPECT_TRUE(polar.jumpPosition);
  EXPECT_EQ(polar.interpolationLength, 0.0f);

  const NyADM::BlockFormat& cartesian = bird.audioBlockFormat[1];
  EXPECT_TRUE(cartesian.cartesian);
  ASSERT_EQ(cartesian.positions.size(), 3u);  // the unknown child's position is not one
  EXPECT_FLOAT_EQ(cartesian.positions[1].value, -1.0f);  // CDATA is text too
  EXPECT_FLOAT_EQ(cartesian.spread, 0.6f);
  EXPECT_TRUE(cartesian.jumpPosition);
  EXPECT_FLOAT_EQ(cartesian.interpolationLength, 0.05f);

  ASSERT_EQ(adm.GetStreamFormats().size(), 6u);
  EXPECT_EQ(adm.GetStreamFormats()[2].audioStreamFormatID, "AS_00010003");
  EXPECT_EQ(adm.GetStreamFormats()[2].formatDefinition, "PCM");
  EXPECT_EQ(adm.GetStreamFormats()[2].audioChannelFormatIDRef, "AC_00010003");
  EXPECT_EQ(adm.GetStreamFormats()[2].audioTrackFormatIDRef, "AT_00010003_01");
  EXPECT_EQ(adm.GetStreamFormats()[2].audioPackFormatIDRef, "");
  ASSERT_EQ(adm.GetTrackFormats().size(), 6u);
  EXPECT_EQ(adm.GetTrackFormats()[4].audioStreamFormatIDRef, "AS_00010005");
  EXPECT_EQ(adm.GetTrackFormats()[4].formatLabel, "0001");

  ASSERT_EQ(adm.GetTrackUIDs().size(), 7u);
  const NyADM::TrackUID& first = adm.GetTrackUIDs()[0];
  EXPECT_EQ(first.UID, "ATU_00000001");
  EXPECT_EQ(first.sampleRate, 48000u);
  EXPECT_EQ(first.bitDepth, 16u);
  EXPECT_EQ(first.trackIndex, 0u);
  EXPECT_EQ(first.audioTrackFormatIDRef, "AT_00010001_01");
  EXPECT_EQ(first.audioPackFormatIDRef, "AP_00010003");
  EXPECT_EQ(adm.GetTrackUIDs()[6].sampleRate, 96000u);
  EXPECT_EQ(adm.GetTrackUIDs()[6].audioPackFormatIDRef, "");
}

TEST(AdmAxml, WhereAudioFormatExtendedMayStand) {
  constexpr size_t k_any = ~size_t(0);
  const std::string object = "<audioObject audioObjectID=\"AO_1\" audioObjectName=\"o\"/>";
  const struct {
    std::string doc;
    bool ok;
    size_t objects;
  } cases[] = {
      {WrapAxml(object), true, 1},
      {"<format><audioFormatExtended>" + object + "</audioFormatExtended></format>", true, 1},
      {"<ebuCoreMain><format><audioFormatExtended>" + object + "</audioFormatExtended></format></ebuCoreMain>", true, 1},
      {"<coreMetadata><format><x/><audioFormatExtended>" + object + "</audioFormatExtended></format></coreMetadata>",
       true, 1},
      // Prefixes are not part of the names.
      {"<a:format xmlns:a=\"urn:x\"><a:audioFormatExtended>" + object + "</a:audioFormatExtended></a:format>", true,
       1},
      // Skipped subtrees: the one inside another element is never seen.
      {"<ebuCoreMain><other><format><audioFormatExtended>" + object +
           "</audioFormatExtended></format></other></ebuCoreMain>",
       false, 0},
      {"<audioFormatExtended>" + object + "</audioFormatExtended>", false, 0},
      {"<ebuCoreMain><coreMetadata><format><title/></format></coreMetadata></ebuCoreMain>", false, 0},
      {"<format><audioFormatExtended/></format>", true, 0},
      {"<format><audioFormatExtended></audioFormatExtended></format>", true, 0},
      {"", false, 0},
      {"not xml at all", false, 0},
      // Malformed or cut short: the parse error shows as the end of the input.
      // Cut short inside an element: the element is kept as far as it came.
      {"<format><audioFormatExtended>" + object + "<audioObject audioObjectID=\"AO_2\" audioObjectName=\"p\">", false,
       2},
      // How much comes before a markup error depends on the parser's lookahead.
      {"<format><audioFormatExtended>" + object + "</audioFormat></format>", false, k_any},
      {"<format><audioFormatExtended><audioObject audioObjectID=\"AO_1\" audioObjectName=\"o\">"
       "<audioTrackUIDRef>ATU_1",
       false, 1},
      {"<format><audioFormatExtended><audioObject audioObjectID=\"AO_1\" audioObjectName=\"o&bad;\"/>", false, 0},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    NyADM adm;
    EXPECT_EQ(adm.FromAXML(cases[i].doc.c_str()), cases[i].ok) << "case " << i;
    if (cases[i].objects != k_any) {
      EXPECT_EQ(adm.GetObjects().size(), cases[i].objects) << "case " << i;
    }
  }
  NyADM adm;
  EXPECT_FALSE(adm.FromAXML(nullptr));
}

TEST(AdmAxml, MissingRequiredAttributeFailsTheWholeParse) {
  const char* const elements[] = {
      "<audioProgramme audioProgrammeID=\"APR_1\"/>",
      "<audioProgramme audioProgrammeName=\"p\"/>",
      "<audioContent audioContentID=\"ACO_1\"/>",
      "<audioContent audioContentName=\"c\"/>",
      "<audioObject audioObjectID=\"AO_1\"/>",
      "<audioObject audioObjectName=\"o\"/>",
      "<audioPackFormat audioPackFormatID=\"AP_1\" typeLabel=\"0001\"/>",
      "<audioPackFormat audioPackFormatName=\"p\"/>",
      "<audioChannelFormat audioChannelFormatID=\"AC_1\"/>",
      "<audioChannelFormat audioChannelFormatName=\"c\"/>",
      "<audioChannelFormat audioChannelFormatID=\"AC_1\" audioChannelFormatName=\"c\">"
      "<audioBlockFormat rtime=\"00:00:00.00000\"/></audioChannelFormat>",
      "<audioStreamFormat audioStreamFormatID=\"AS_1\"/>",
      "<audioStreamFormat audioStreamFormatName=\"s\"/>",
      "<audioTrackFormat audioTrackFormatID=\"AT_1\"/>",
      "<audioTrackFormat audioTrackFormatName=\"t\"/>",
      "<audioTrackUID sampleRate=\"48000\"/>",
      "<audioTrackUID uid=\"ATU_00000001\"/>",  // names are case-sensitive
  };
  for (const char* element : elements) {
    NyADM adm;
    EXPECT_FALSE(adm.FromAXML(WrapAxml(BedElements(k_bed51) + element).c_str())) << element;
    // What came before the failing element stays.
    EXPECT_EQ(adm.GetObjects().size(), 1u) << element;
  }
  // The optional attributes may all be missing.
  NyADM adm;
  EXPECT_TRUE(adm.FromAXML(WrapAxml("<audioPackFormat audioPackFormatID=\"AP_1\" audioPackFormatName=\"p\"/>"
                                    "<audioTrackUID UID=\"ATU_1\"/>"
                                    "<audioChannelFormat audioChannelFormatID=\"AC_1\" audioChannelFormatName=\"c\">"
                                    "<audioBlockFormat audioBlockFormatID=\"AB_1\"/></audioChannelFormat>")
                               .c_str()));
  EXPECT_EQ(adm.GetPackFormats()[0].type, 0u);
  EXPECT_EQ(adm.GetTrackUIDs()[0].sampleRate, 0u);
  EXPECT_EQ(adm.GetChannelFormats()[0].audioBlockFormat[0].rtime, "");
}

TEST(AdmAxml, UnknownElementsAreSkippedWholeAndDocumentsAccumulate) {
  NyADM adm;
  // An unknown element holding ADM-named children: its subtree is skipped as a whole.
  ASSERT_TRUE(adm.FromAXML(WrapAxml("<audioFuture><audioObject audioObjectID=\"AO_9\" audioObjectName=\"x\"/>"
                                    "</audioFuture><!-- note --><?pi x?>"
                                    "<audioObject audioObjectID=\"AO_1\" audioObjectName=\"o\">"
                                    "<audioObjectIDRef>AO_2</audioObjectIDRef><dialogue>1</dialogue>"
                                    "<audioTrackUIDRef>ATU_00000001</audioTrackUIDRef>"
                                    "<audioTrackUIDRef/></audioObject>")
                               .c_str()));
  ASSERT_EQ(adm.GetObjects().size(), 1u);
  EXPECT_EQ(adm.GetObjects()[0].audioObjectID, "AO_1");
  EXPECT_EQ(adm.GetObjects()[0].audioTrackUIDRef, (std::vector<std::string>{"ATU_00000001", ""}));

  // A second document adds to the same vectors; the programme is replaced.
  ASSERT_TRUE(adm.FromAXML(WrapAxml(BedElements(k_bed51)).c_str()));
  EXPECT_EQ(adm.GetObjects().size(), 2u);
  EXPECT_EQ(adm.GetProgramme().audioProgrammeID, "APR_1001");
}

// --- chna and audioTrackUID in either order ------------------------------------------------

TEST(AdmChna, AfterAxmlAddsEntriesBesideTheXml) {
  NyADM adm;
  ASSERT_TRUE(adm.FromAXML(WrapAxml(BedElements(k_bed51)).c_str()));
  AddChna(adm, BedChnaRows(6));
  // The record's UID runs on into its track format, so it matches none of the XML's UIDs.
  ASSERT_EQ(adm.GetTrackUIDs().size(), 12u);
  for (size_t i = 0; i < 6; ++i) {
    EXPECT_EQ(adm.GetTrackUIDs()[i].trackIndex, 0u);
    const NyADM::TrackUID& added = adm.GetTrackUIDs()[6 + i];
    EXPECT_EQ(added.UID, TrackUID(unsigned(i + 1)));
    EXPECT_EQ(added.trackIndex, i + 1);
    EXPECT_EQ(added.sampleRate, 0u);
    EXPECT_EQ(added.audioTrackFormatIDRef, "AT_0001" + Num(unsigned(i + 1), 4) + "_01");
    EXPECT_EQ(added.audioPackFormatIDRef, "AP_00010003");
  }
  EXPECT_EQ(adm.FindTrackUID("ATU_00000003"), 2u);  // the first entry of a UID is the one found
}

TEST(AdmChna, BeforeAxmlIsCompletedByTheXml) {
  NyADM adm;
  AddChna(adm, BedChnaRows(6));
  ASSERT_TRUE(adm.FromAXML(WrapAxml(BedElements(k_bed51)).c_str()));
  ASSERT_EQ(adm.GetTrackUIDs().size(), 6u);
  for (size_t i = 0; i < 6; ++i) {
    const NyADM::TrackUID& entry = adm.GetTrackUIDs()[i];
    EXPECT_EQ(entry.trackIndex, i + 1);
    EXPECT_EQ(entry.sampleRate, 48000u);
    EXPECT_EQ(entry.bitDepth, 16u);
  }
}

TEST(AdmChna, RecordTextRulesAndOddFields) {
  NyADM adm;
  ASSERT_TRUE(adm.FromAXML(WrapAxml("<audioTrackUID UID=\"ATU_00000001\"/><audioTrackUID UID=\"ATU_5\"/>").c_str()));
  AddChna(adm, {
                   {7, "ATU_00000001", "", "AP_00010002"},    // empty track format: matches, completes
                   {8, "ATU_5", "AT_00010001_01", "AP_1"},     // short UID ends at its NUL: matches
                   {9, "ATU_6", "AT_00010001_01", "AP_1"},     // short UID, no match: kept with its padding
                   {10, "ATU_00000009XY", "AT_0001000", "AP_00010001"},  // 14 characters: cut at 12
               });
  const std::vector<NyADM::TrackUID>& uids = adm.GetTrackUIDs();
  ASSERT_EQ(uids.size(), 4u);
  EXPECT_EQ(uids[0].trackIndex, 7u);
  EXPECT_EQ(uids[0].audioPackFormatIDRef, "AP_00010002");
  EXPECT_EQ(uids[0].audioTrackFormatIDRef, "");
  EXPECT_EQ(uids[1].trackIndex, 8u);
  EXPECT_EQ(uids[1].audioTrackFormatIDRef, "AT_00010001_01");
  EXPECT_EQ(uids[1].audioPackFormatIDRef, "AP_1");  // a match takes the text up to its NUL
  EXPECT_EQ(uids[2].UID, std::string("ATU_6\0\0\0\0\0\0\0", 12));
  EXPECT_EQ(uids[2].audioPackFormatIDRef, std::string("AP_1\0\0\0\0\0\0\0", 11));
  EXPECT_EQ(uids[3].UID, "ATU_00000009");
  EXPECT_EQ(uids[3].audioTrackFormatIDRef, "AT_0001000");

  // A record with no NUL anywhere after its UID: the run stops at the record's end.
  CHNA_AUDIOID full;
  std::memset(&full, 'A', sizeof(full));
  CHNA counts{65535, 65535};  // counts are ignored
  EXPECT_TRUE(adm.FromCHNA(&counts, &full, 1));
  EXPECT_EQ(adm.GetTrackUIDs().size(), 5u);
  EXPECT_EQ(adm.GetTrackUIDs()[4].audioTrackFormatIDRef, std::string(14, 'A'));
  EXPECT_TRUE(adm.FromCHNA(nullptr, nullptr, 3));
  EXPECT_EQ(adm.GetTrackUIDs().size(), 5u);
}
