// ADM documents and chna payloads assembled for the ADM tests.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "WavTestFiles.h"

namespace nytest {

struct AdmSpeaker {
  const char* name;
  double azimuth;
  double elevation;
};

// The tracks of a 5.1 bed in file order: L R C LFE Ls Rs.
inline const std::vector<AdmSpeaker> k_bed51 = {
    {"FrontLeft", 30, 0},     {"FrontRight", -30, 0},    {"FrontCentre", 0, 0},
    {"LowFrequency", 0, -30}, {"SurroundLeft", 110, 0}, {"SurroundRight", -110, 0},
};

inline std::string Num(unsigned int value, int digits) {
  char text[16];
  std::snprintf(text, sizeof(text), "%0*u", digits, value);
  return text;
}

inline std::string TrackUID(unsigned int n) { return "ATU_" + Num(n, 8); }

// audioFormatExtended content for a bed as one DirectSpeakers object "Bed" (pack AP_00010003)
// whose tracks are ATU_<first> onwards, one channel, stream and track format per speaker.
inline std::string BedElements(const std::vector<AdmSpeaker>& speakers, unsigned int firstTrack = 1) {
  std::string objectRefs;
  std::string packRefs;
  std::string formats;
  for (unsigned int i = 0; i < speakers.size(); ++i) {
    const std::string n = Num(i + 1, 4);
    const std::string channel = "AC_0001" + n;
    const std::string stream = "AS_0001" + n;
    const std::string track = "AT_0001" + n + "_01";
    const std::string uid = TrackUID(firstTrack + i);
    objectRefs += "      <audioTrackUIDRef>" + uid + "</audioTrackUIDRef>\n";
    packRefs += "      <audioChannelFormatIDRef>" + channel + "</audioChannelFormatIDRef>\n";
    formats += "    <audioChannelFormat audioChannelFormatID=\"" + channel + "\" audioChannelFormatName=\"" +
               speakers[i].name + "\" typeLabel=\"0001\" typeDefinition=\"DirectSpeakers\">\n" +
               "      <audioBlockFormat audioBlockFormatID=\"AB_0001" + n + "_00000001\">\n" +
               "        <speakerLabel>M+" + std::to_string(i) + "</speakerLabel>\n" +
               "        <position coordinate=\"azimuth\">" + std::to_string(speakers[i].azimuth) + "</position>\n" +
               "        <position coordinate=\"elevation\">" + std::to_string(speakers[i].elevation) +
               "</position>\n        <position coordinate=\"distance\">1.0</position>\n" +
               "      </audioBlockFormat>\n    </audioChannelFormat>\n";
    formats += "    <audioStreamFormat audioStreamFormatID=\"" + stream + "\" audioStreamFormatName=\"PCM_" +
               speakers[i].name + "\" formatLabel=\"0001\" formatDefinition=\"PCM\">\n" +
               "      <audioChannelFormatIDRef>" + channel + "</audioChannelFormatIDRef>\n" +
               "      <audioTrackFormatIDRef>" + track + "</audioTrackFormatIDRef>\n    </audioStreamFormat>\n";
    formats += "    <audioTrackFormat audioTrackFormatID=\"" + track + "\" audioTrackFormatName=\"PCM_" +
               speakers[i].name + "\" formatLabel=\"0001\" formatDefinition=\"PCM\">\n" +
               "      <audioStreamFormatIDRef>" + stream + "</audioStreamFormatIDRef>\n    </audioTrackFormat>\n";
    formats += "    <audioTrackUID UID=\"" + uid + "\" sampleRate=\"48000\" bitDepth=\"16\">\n" +
               "      <audioTrackFormatIDRef>" + track + "</audioTrackFormatIDRef>\n" +
               "      <audioPackFormatIDRef>AP_00010003</audioPackFormatIDRef>\n    </audioTrackUID>\n";
  }
  return "    <audioProgramme audioProgrammeID=\"APR_1001\" audioProgrammeName=\"Main\" start=\"00:00:00.00000\">\n"
         "      <audioContentIDRef>ACO_1001</audioContentIDRef>\n    </audioProgramme>\n"
         "    <audioContent audioContentID=\"ACO_1001\" audioContentName=\"Music\">\n"
         "      <audioObjectIDRef>AO_1001</audioObjectIDRef>\n    </audioContent>\n"
         "    <audioObject audioObjectID=\"AO_1001\" audioObjectName=\"Bed\" start=\"00:00:00.00000\">\n"
         "      <audioPackFormatIDRef>AP_00010003</audioPackFormatIDRef>\n" +
         objectRefs +
         "    </audioObject>\n"
         "    <audioPackFormat audioPackFormatID=\"AP_00010003\" audioPackFormatName=\"5_1\" typeLabel=\"0001\" "
         "typeDefinition=\"DirectSpeakers\">\n" +
         packRefs + "    </audioPackFormat>\n" + formats;
}

// A complete axml document around the content of audioFormatExtended.
inline std::string WrapAxml(const std::string& content) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<ebuCoreMain xmlns:dc=\"http://purl.org/dc/elements/1.1/\" xmlns=\"urn:ebu:metadata-schema:ebuCore_2015\">\n"
         " <coreMetadata>\n  <title>t</title>\n  <format>\n   <audioFormatExtended version=\"ITU-R_BS.2076-2\">\n" +
         content + "   </audioFormatExtended>\n  </format>\n </coreMetadata>\n</ebuCoreMain>\n";
}

struct ChnaRow {
  uint16_t trackIndex;
  std::string uid;       // written into 12 bytes, NUL-padded
  std::string trackRef;  // 14 bytes
  std::string packRef;   // 11 bytes
};

inline void PutField(Bytes& out, const std::string& text, size_t size) {
  for (size_t i = 0; i < size; ++i) out.push_back(i < text.size() ? uint8_t(text[i]) : 0);
}

// A chna payload: the two counts, then one 40-byte record per row.
inline Bytes ChnaPayload(const std::vector<ChnaRow>& rows, uint16_t numTracks, uint16_t numUIDs) {
  Bytes out;
  PutU16(out, numTracks);
  PutU16(out, numUIDs);
  for (const ChnaRow& row : rows) {
    PutU16(out, row.trackIndex);
    PutField(out, row.uid, 12);
    PutField(out, row.trackRef, 14);
    PutField(out, row.packRef, 11);
    out.push_back(0);
  }
  return out;
}

// The chna rows of the bed of BedElements: track i+1 is UID firstTrack+i.
inline std::vector<ChnaRow> BedChnaRows(size_t speakers, unsigned int firstTrack = 1) {
  std::vector<ChnaRow> rows;
  for (unsigned int i = 0; i < speakers; ++i) {
    rows.push_back({uint16_t(i + 1), TrackUID(firstTrack + i), "AT_0001" + Num(i + 1, 4) + "_01", "AP_00010003"});
  }
  return rows;
}

}  // namespace nytest
