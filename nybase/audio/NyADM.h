// NyADM: the Audio Definition Model metadata of a BW64 file (its axml elements and chna track
// table), the channel targets it implies, and its flattening into NyDM records.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <nybase/audio/ChnaRecords.h>
#include <nybase/audio/NyDM.h>

namespace nybase::audio::detail {
class AxmlParser;
}

// Accumulates what axml and chna chunks give; nothing clears it, and a second axml adds to the
// same vectors. Identifiers, names and references are kept as the UTF-8 text of the XML. References
// are not resolved while reading: a dangling one is no error, its lookups simply find nothing.
class NyADM {
 public:
  struct Programme {
    std::string audioProgrammeID;
    std::string audioProgrammeName;
    std::vector<std::string> audioContentIDRef;
  };
  struct Content {
    std::string audioContentID;
    std::string audioContentName;
    std::vector<std::string> audioObjectIDRef;
  };
  struct Object {
    std::string audioObjectID;
    std::string audioObjectName;
    std::vector<std::string> audioPackFormatIDRef;
    std::vector<std::string> audioTrackUIDRef;
  };
  // Type of a pack or channel format: 1 DirectSpeakers, 2 Matrix, 3 Objects, 4 HOA, 5 Binaural,
  // 0 unknown. A four-character typeLabel gives its last digit ("0003" is 3) and decides alone.
  struct PackFormat {
    std::string audioPackFormatID;
    std::string audioPackFormatName;
    unsigned int type = 0;
    std::vector<std::string> audioChannelFormatIDRef;
  };
  // One value of a block's position: the coordinate attribute ("azimuth", "X", ...) and the value.
  struct Position {
    std::string coordinate;
    float value = 0.0f;
  };
  struct BlockFormat {
    std::string audioBlockFormatID;
    std::string rtime;     // ADM time text, empty when absent
    std::string duration;  // ADM time text, empty when absent
    std::vector<Position> positions;
    float diffuse = 0.0f;
    bool cartesian = false;
    bool jumpPosition = false;
    // Cartesian blocks only: the mean of width, height and depth. 0 for polar blocks.
    float spread = 0.0f;
    float interpolationLength = 0.0f;
  };
  struct ChannelFormat {
    std::string audioChannelFormatID;
    std::string audioChannelFormatName;
    unsigned int type = 0;
    std::vector<BlockFormat> audioBlockFormat;
  };
  // A reference given more than once keeps the last one.
  struct StreamFormat {
    std::string audioStreamFormatID;
    std::string audioStreamFormatName;
    std::string formatLabel;
    std::string formatDefinition;
    std::string audioChannelFormatIDRef;
    std::string audioPackFormatIDRef;
    std::string audioTrackFormatIDRef;
  };
  struct TrackFormat {
    std::string audioTrackFormatID;
    std::string audioTrackFormatName;
    std::string formatLabel;
    std::string formatDefinition;
    std::string audioStreamFormatIDRef;
  };
  // Filled from an audioTrackUID element, a chna record, or both (see FromCHNA).
  struct TrackUID {
    std::string UID;
    uint32_t sampleRate = 0;
    uint16_t bitDepth = 0;
    uint16_t trackIndex = 0;
    std::string audioTrackFormatIDRef;
    std::string audioPackFormatIDRef;
  };

  NyADM() = default;

  // Parses the ADM elements of an axml document (NUL-terminated UTF-8) and adds them. The
  // ebuCoreMain and coreMetadata wrappers are optional; audioFormatExtended must stand inside a
  // format element. False when there is no audioFormatExtended, an element lacks a required
  // attribute (its ID and name; UID for audioTrackUID, audioBlockFormatID for a block) or the XML
  // is malformed or truncated; what was read before the failure stays. A null pointer is false.
  bool FromAXML(const char* xml);

  // Adds the track records of a chna chunk (the counts in chna are ignored; it may be null).
  // A record whose UID text, read on as NUL-terminated text into the following fields, equals a
  // known UID completes that entry (track index, pack and track format references); any other
  // record adds an entry. So a chna after the axml adds entries beside the XML's, while an axml
  // after the chna completes the chna's. Always true.
  bool FromCHNA(CHNA* chna, CHNA_AUDIOID* ids, unsigned int count);

  // targets[c] = the channel where source channel c belongs, for numChannels channels: identity,
  // except that the tracks of each object with 2 to 10 track references (a known layout) are
  // reordered from front/LFE/side/back/top order to ascending speaker order with the LFE last.
  // Targets that would fall outside the vector are left out.
  void GetChannelTargets(std::vector<unsigned char>& targets, unsigned char numChannels) const;

  // Flattens the objects into NyDM records: one NyDMObject per object, one NyDMPos per block of
  // the object's single channel format (through its single pack format), the names block. The
  // header's counts restart from zero but the vectors are appended to, not emptied (positions
  // index from the new count, names from the block's end). Always true.
  bool ToNyDM(NyDM& dm, std::vector<NyDMObject>& objects, std::vector<NyDMPos>& positions,
              std::vector<char>& names) const;

  const Programme& GetProgramme() const { return m_programme; }
  const std::vector<Content>& GetContents() const { return m_contents; }
  const std::vector<Object>& GetObjects() const { return m_objects; }
  const std::vector<PackFormat>& GetPackFormats() const { return m_packFormats; }
  const std::vector<ChannelFormat>& GetChannelFormats() const { return m_channelFormats; }
  const std::vector<StreamFormat>& GetStreamFormats() const { return m_streamFormats; }
  const std::vector<TrackFormat>& GetTrackFormats() const { return m_trackFormats; }
  const std::vector<TrackUID>& GetTrackUIDs() const { return m_trackUIDs; }

  // Index of the first track UID with this text, or the number of track UIDs when none has it.
  size_t FindTrackUID(std::string_view uid) const;

 private:
  friend class nybase::audio::detail::AxmlParser;

  // Appends an entry and indexes its UID (the first entry of a UID stays the one found).
  TrackUID& AddTrackUID(std::string uid);

  struct StringHash {
    using is_transparent = void;
    size_t operator()(std::string_view s) const { return std::hash<std::string_view>()(s); }
  };

  Programme m_programme;
  std::vector<Content> m_contents;
  std::vector<Object> m_objects;
  std::vector<PackFormat> m_packFormats;
  std::vector<ChannelFormat> m_channelFormats;
  std::vector<StreamFormat> m_streamFormats;
  std::vector<TrackFormat> m_trackFormats;
  std::vector<TrackUID> m_trackUIDs;
  // UID -> index of its first entry in m_trackUIDs.
  std::unordered_map<std::string, size_t, StringHash, std::equal_to<>> m_trackUIDIndex;
};
