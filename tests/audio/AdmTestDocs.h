// ADM documents and chna payloads assembled for the ADM tests.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "WavTestFiles.h"

namespace nytest {

inline std::string Num(unsigned int value, int digits) {
  char text[16];
  std::snprintf(text, sizeof(text), "%0*u", digits, value);
  return text;
}

inline std::string TrackUID(unsigned int n) { return "ATU_" + Num(n, 8); }

// <name>text</name>
inline std::string El(const std::string& name, const std::string& text) {
  return "<" + name + ">" + text + "</" + name + ">";
}

// A 5.1 bed (tracks L R C LFE Ls Rs) as the DirectSpeakers object "Bed" with pack AP_00010003 and
// tracks ATU_<firstTrack> onwards; per speaker a channel format with one polar block, a stream
// format, a track format and a track UID.
inline std::string BedElements(unsigned int firstTrack = 1) {
  const struct {
    const char* name;
    int azimuth;
  } speakers[] = {{"FrontLeft", 30}, {"FrontRight", -30}, {"FrontCentre", 0},
                  {"LowFrequency", 0}, {"SurroundLeft", 110}, {"SurroundRight", -110}};
  std::string object = "<audioObject audioObjectID=\"AO_1001\" audioObjectName=\"Bed\">" +
                       El("audioPackFormatIDRef", "AP_00010003");
  std::string pack = "<audioPackFormat audioPackFormatID=\"AP_00010003\" audioPackFormatName=\"5_1\" "
                     "typeLabel=\"0001\" typeDefinition=\"DirectSpeakers\">";
  std::string formats;
  for (unsigned int i = 0; i < 6; ++i) {
    const std::string n = Num(i + 1, 4), channel = "AC_0001" + n, stream = "AS_0001" + n,
                      track = "AT_0001" + n + "_01", name = speakers[i].name;
    object += El("audioTrackUIDRef", TrackUID(firstTrack + i));
    pack += El("audioChannelFormatIDRef", channel);
    formats += "<audioChannelFormat audioChannelFormatID=\"" + channel + "\" audioChannelFormatName=\"" + name +
               "\" typeLabel=\"0001\"><audioBlockFormat audioBlockFormatID=\"AB_0001" + n + "_00000001\">" +
               El("speakerLabel", "M" + n) + "<position coordinate=\"azimuth\">" +
               std::to_string(speakers[i].azimuth) + "</position><position coordinate=\"elevation\">0.0</position>"
               "</audioBlockFormat></audioChannelFormat>\n";
    formats += "<audioStreamFormat audioStreamFormatID=\"" + stream + "\" audioStreamFormatName=\"PCM_" + name +
               "\" formatLabel=\"0001\" formatDefinition=\"PCM\">" + El("audioChannelFormatIDRef", channel) +
               El("audioTrackFormatIDRef", track) + "</audioStreamFormat>\n";
    formats += "<audioTrackFormat audioTrackFormatID=\"" + track + "\" audioTrackFormatName=\"PCM_" + name +
               "\" formatLabel=\"0001\" formatDefinition=\"PCM\">" + El("audioStreamFormatIDRef", stream) +
               "</audioTrackFormat>\n";
    formats += "<audioTrackUID UID=\"" + TrackUID(firstTrack + i) + "\" sampleRate=\"48000\" bitDepth=\"16\">" +
               El("audioTrackFormatIDRef", track) + El("audioPackFormatIDRef", "AP_00010003") + "</audioTrackUID>\n";
  }
  return "<audioProgramme audioProgrammeID=\"APR_1001\" audioProgrammeName=\"Main\">" +
         El("audioContentIDRef", "ACO_1001") + "</audioProgramme>\n" +
         "<audioContent audioContentID=\"ACO_1001\" audioContentName=\"Music\">" + El("audioObjectIDRef", "AO_1001") +
         "</audioContent>\n" + object + "</audioObject>\n" + pack + "</audioPackFormat>\n" + formats;
}

// A complete axml document around the content of audioFormatExtended.
inline std::string WrapAxml(const std::string& content) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ebuCoreMain xmlns=\"urn:ebu:metadata-schema:ebuCore_2015\">\n"
         " <coreMetadata>\n  <title>t</title>\n  <format>\n   <audioFormatExtended version=\"ITU-R_BS.2076-2\">\n" +
         content + "   </audioFormatExtended>\n  </format>\n </coreMetadata>\n</ebuCoreMain>\n";
}

struct ChnaRow {
  uint16_t trackIndex;
  std::string uid, trackRef, packRef;  // written NUL-padded into 12, 14 and 11 bytes
};

// A chna payload: the two counts, then one 40-byte record per row.
inline Bytes ChnaPayload(const std::vector<ChnaRow>& rows, uint16_t numTracks, uint16_t numUIDs) {
  Bytes out;
  PutU16(out, numTracks);
  PutU16(out, numUIDs);
  const auto field = [&out](const std::string& text, size_t size) {
    for (size_t i = 0; i < size; ++i) out.push_back(i < text.size() ? uint8_t(text[i]) : 0);
  };
  for (const ChnaRow& row : rows) {
    PutU16(out, row.trackIndex);
    field(row.uid, 12);
    field(row.trackRef, 14);
    field(row.packRef, 11);
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
