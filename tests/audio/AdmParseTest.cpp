// NyADM from axml and chna: the elements kept, where the document may put them, what fails it,
// and how chna records meet audioTrackUID elements.
#include <gtest/gtest.h>

#include <cstring>

#include <nybase/audio/NyADM.h>

#include "AdmTestDocs.h"

using namespace nytest;
using Strings = std::vector<std::string>;

namespace {

void AddChna(NyADM& adm, const std::vector<ChnaRow>& rows) {
  const Bytes payload = ChnaPayload(rows, 0, 0);
  std::vector<CHNA_AUDIOID> ids(rows.size());
  std::memcpy(ids.data(), payload.data() + 4, ids.size() * sizeof(CHNA_AUDIOID));
  EXPECT_TRUE(adm.FromCHNA(nullptr, ids.data(), unsigned(ids.size())));
}

const char* const k_bird =
    "<audioObject audioObjectID=\"AO_1002\" audioObjectName=\"Bird\">"
    "<audioPackFormatIDRef>AP_00031001</audioPackFormatIDRef><gain>0.5</gain></audioObject>"
    "<audioPackFormat audioPackFormatID=\"AP_00031001\" audioPackFormatName=\"Bird\" typeDefinition=\"Objects\"/>"
    "<audioChannelFormat audioChannelFormatID=\"AC_00031001\" audioChannelFormatName=\"Bird\" typeLabel=\"0003\">"
    "<audioBlockFormat audioBlockFormatID=\"AB_1\" rtime=\"00:00:00.00000\" duration=\"00:00:01.50000\">"
    "<position coordinate=\"azimuth\">-110</position><position coordinate=\"distance\"> 0.5 </position>"
    "<width>45</width><diffuse>0.25</diffuse><jumpPosition>1</jumpPosition></audioBlockFormat>"
    "<audioBlockFormat audioBlockFormatID=\"AB_2\"><cartesian>1</cartesian>"
    "<position coordinate=\"X\">0.5</position><position coordinate=\"Y\"><![CDATA[-1.0]]></position>"
    "<width>0.3</width><height>0.6</height><depth>0.9</depth>"
    "<jumpPosition interpolationLength=\"0.05\">1</jumpPosition>"
    "<unknownChild><position coordinate=\"X\">9</position></unknownChild></audioBlockFormat>"
    "</audioChannelFormat><audioTrackUID UID=\"ATU_00000007\" sampleRate=\"96000\" bitDepth=\"24\"/>";

}  // namespace

TEST(AdmAxml, KeepsEveryElementWithItsFields) {
  NyADM adm;
  ASSERT_TRUE(adm.FromAXML(WrapAxml(BedElements() + k_bird).c_str()));
  EXPECT_EQ(adm.GetProgramme().audioProgrammeID + adm.GetProgramme().audioProgrammeName, "APR_1001Main");
  EXPECT_EQ(adm.GetProgramme().audioContentIDRef, Strings{"ACO_1001"});
  ASSERT_EQ(adm.GetContents().size(), 1u);
  EXPECT_EQ(adm.GetContents()[0].audioObjectIDRef, Strings{"AO_1001"});
  ASSERT_EQ(adm.GetObjects().size(), 2u);
  EXPECT_EQ(adm.GetObjects()[0].audioPackFormatIDRef, Strings{"AP_00010003"});
  EXPECT_EQ(adm.GetObjects()[0].audioTrackUIDRef.size(), 6u);
  ASSERT_EQ(adm.GetPackFormats().size(), 2u);
  EXPECT_EQ(adm.GetPackFormats()[0].audioChannelFormatIDRef[5], "AC_00010006");
  EXPECT_EQ(adm.GetPackFormats()[1].type, 3u);  // from the definition

  ASSERT_EQ(adm.GetChannelFormats().size(), 7u);
  const NyADM::ChannelFormat& bird = adm.GetChannelFormats()[6];
  EXPECT_EQ(bird.type, 3u);  // from the label
  ASSERT_EQ(bird.audioBlockFormat.size(), 2u);
  const NyADM::BlockFormat& polar = bird.audioBlockFormat[0];
  EXPECT_EQ(polar.audioBlockFormatID + polar.rtime + polar.duration, "AB_100:00:00.0000000:00:01.50000");
  ASSERT_EQ(polar.positions.size(), 2u);
  EXPECT_EQ(polar.positions[0].coordinate, "azimuth");
  EXPECT_EQ(polar.positions[0].value, -110.0f);
  EXPECT_EQ(polar.positions[1].value, 0.5f);
  EXPECT_EQ(polar.diffuse, 0.25f);
  EXPECT_EQ(polar.spread, 0.0f);  // extents make a spread only for cartesian blocks
  EXPECT_TRUE(polar.jumpPosition && !polar.cartesian);
  const NyADM::BlockFormat& cartesian = bird.audioBlockFormat[1];
  EXPECT_TRUE(cartesian.cartesian);
  ASSERT_EQ(cartesian.positions.size(), 2u);  // the unknown child's position is not one
  EXPECT_EQ(cartesian.positions[1].value, -1.0f);  // CDATA is text too
  EXPECT_FLOAT_EQ(cartesian.spread, 0.6f);
  EXPECT_FLOAT_EQ(cartesian.interpolationLength, 0.05f);

  ASSERT_EQ(adm.GetStreamFormats().size(), 6u);
  const NyADM::StreamFormat& stream = adm.GetStreamFormats()[2];
  EXPECT_EQ(stream.audioStreamFormatID + stream.formatLabel + stream.formatDefinition, "AS_000100030001PCM");
  EXPECT_EQ(stream.audioChannelFormatIDRef + stream.audioTrackFormatIDRef + stream.audioPackFormatIDRef,
            "AC_00010003AT_00010003_01");
  ASSERT_EQ(adm.GetTrackFormats().size(), 6u);
  EXPECT_EQ(adm.GetTrackFormats()[4].audioTrackFormatName + adm.GetTrackFormats()[4].audioStreamFormatIDRef,
            "PCM_SurroundLeftAS_00010005");
  ASSERT_EQ(adm.GetTrackUIDs().size(), 7u);
  const NyADM::TrackUID& first = adm.GetTrackUIDs()[0];
  EXPECT_EQ(first.UID + first.audioTrackFormatIDRef + first.audioPackFormatIDRef,
            "ATU_00000001AT_00010001_01AP_00010003");
  EXPECT_EQ(first.sampleRate, 48000u);
  EXPECT_EQ(adm.GetTrackUIDs()[6].bitDepth, 24u);
}

TEST(AdmAxml, WhereAudioFormatExtendedMayStandAndMalformedInput) {
  constexpr size_t k_any = ~size_t(0);
  const std::string object = "<audioObject audioObjectID=\"AO_1\" audioObjectName=\"o\"/>";
  const std::string afe = "<audioFormatExtended>" + object + "</audioFormatExtended>";
  const struct {
    std::string doc;
    bool ok;
    size_t objects;
  } cases[] = {
      {WrapAxml(object), true, 1},
      {"<format>" + afe + "</format>", true, 1},  // both wrappers are optional
      {"<coreMetadata><format><x/>" + afe + "</format></coreMetadata>", true, 1},
      {"<a:format xmlns:a=\"urn:x\"><a:audioFormatExtended>" + object + "</a:audioFormatExtended></a:format>", true,
       1},
      {"<ebuCoreMain><other><format>" + afe + "</format></other></ebuCoreMain>", false, 0},  // skipped whole
      {afe, false, 0},  // at the root: skipped while looking for format
      {"<format><audioFormatExtended/></format>", true, 0},
      // Cut short inside an element: the element is kept as far as it came.
      {"<format><audioFormatExtended>" + object + "<audioObject audioObjectID=\"AO_2\" audioObjectName=\"p\">"
       "<audioTrackUIDRef>ATU_1",
       false, 2},
      // How much comes before a markup error depends on the parser's lookahead.
      {"<format><audioFormatExtended>" + object + "</audioFormat></format>", false, k_any},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    NyADM adm;
    EXPECT_EQ(adm.FromAXML(cases[i].doc.c_str()), cases[i].ok) << "case " << i;
    if (cases[i].objects != k_any) {
      EXPECT_EQ(adm.GetObjects().size(), cases[i].objects) << "case " << i;
    }
  }
  EXPECT_FALSE(NyADM().FromAXML(nullptr));
}

TEST(AdmAxml, MissingRequiredAttributeFailsTheWholeParse) {
  const char* const elements[] = {
      "<audioProgramme audioProgrammeID=\"APR_1\"/>",
      "<audioObject audioObjectID=\"AO_1\"/>",
      "<audioPackFormat audioPackFormatName=\"p\" typeLabel=\"0001\"/>",
      "<audioChannelFormat audioChannelFormatID=\"AC_1\"/>",
      "<audioChannelFormat audioChannelFormatID=\"AC_1\" audioChannelFormatName=\"c\">"
      "<audioBlockFormat rtime=\"00:00:00.00000\"/></audioChannelFormat>",
      "<audioTrackUID uid=\"ATU_00000001\"/>",  // names are case-sensitive
  };
  for (const char* element : elements) {
    NyADM adm;
    EXPECT_FALSE(adm.FromAXML(WrapAxml(BedElements() + element).c_str())) << element;
    EXPECT_EQ(adm.GetObjects().size(), 1u) << element;  // what came before stays
  }
  NyADM adm;  // every optional attribute missing
  EXPECT_TRUE(adm.FromAXML(WrapAxml("<audioPackFormat audioPackFormatID=\"AP_1\" audioPackFormatName=\"p\"/>"
                                    "<audioTrackUID UID=\"ATU_1\"/>")
                               .c_str()));
  EXPECT_EQ(adm.GetPackFormats()[0].type, 0u);
  EXPECT_EQ(adm.GetTrackUIDs()[0].sampleRate, 0u);
}

TEST(AdmAxml, UnknownElementsAreSkippedWholeAndDocumentsAccumulate) {
  NyADM adm;
  ASSERT_TRUE(adm.FromAXML(WrapAxml("<audioFuture><audioObject audioObjectID=\"AO_9\" audioObjectName=\"x\"/>"
                                    "</audioFuture><!-- note --><?pi x?>"
                                    "<audioObject audioObjectID=\"AO_1\" audioObjectName=\"o\"><dialogue>1</dialogue>"
                                    "<audioTrackUIDRef>ATU_00000001</audioTrackUIDRef><audioTrackUIDRef/>"
                                    "</audioObject>")
                               .c_str()));
  ASSERT_EQ(adm.GetObjects().size(), 1u);
  EXPECT_EQ(adm.GetObjects()[0].audioTrackUIDRef, (Strings{"ATU_00000001", ""}));
  ASSERT_TRUE(adm.FromAXML(WrapAxml(BedElements()).c_str()));  // a second document adds
  EXPECT_EQ(adm.GetObjects().size(), 2u);
}

TEST(AdmChna, ShortAndOverlongFields) {
  NyADM adm;
  ASSERT_TRUE(adm.FromAXML(WrapAxml("<audioTrackUID UID=\"ATU_00000001\"/><audioTrackUID UID=\"ATU_5\"/>").c_str()));
  AddChna(adm, {
                   {7, "ATU_00000001", "", "AP_00010002"},  // empty track format: matches
                   {8, "ATU_5", "AT_00010001_01", "AP_1"},   // short UID ends at its NUL: matches
                   {9, "ATU_6", "AT_00010001_01", "AP_1"},   // short UID, no match: kept padded
                   {10, "ATU_00000009XY", "AT_0001000", "AP_00010001"},  // cut at 12
               });
  const std::vector<NyADM::TrackUID>& uids = adm.GetTrackUIDs();
  ASSERT_EQ(uids.size(), 4u);
  EXPECT_EQ(uids[0].trackIndex + uids[1].trackIndex * 100, 807u);
  EXPECT_EQ(uids[0].audioPackFormatIDRef + "|" + uids[0].audioTrackFormatIDRef, "AP_00010002|");
  EXPECT_EQ(uids[1].audioPackFormatIDRef, "AP_1");  // a match takes the text up to its NUL
  EXPECT_EQ(uids[2].UID + uids[2].audioPackFormatIDRef, std::string("ATU_6\0\0\0\0\0\0\0AP_1\0\0\0\0\0\0\0", 23));
  EXPECT_EQ(uids[3].UID, "ATU_00000009");
  // No NUL anywhere after the UID: the run stops at the record's end; the counts are ignored.
  CHNA_AUDIOID full;
  std::memset(&full, 'A', sizeof(full));
  CHNA counts{65535, 65535};
  EXPECT_TRUE(adm.FromCHNA(&counts, &full, 1));
  ASSERT_EQ(adm.GetTrackUIDs().size(), 5u);
  EXPECT_EQ(adm.GetTrackUIDs()[4].audioTrackFormatIDRef, std::string(14, 'A'));
}
