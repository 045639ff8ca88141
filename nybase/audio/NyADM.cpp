// NyADM: reading axml and chna, the channel targets of multichannel objects, and NyDM records.
#include <nybase/audio/NyADM.h>

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstring>

#include <nybase/documents/XmlReader.h>

#include "internal/AdmValues.h"
#include "internal/AxmlParser.h"

using nybase::audio::detail::AdmTimeToMilliseconds;
using nybase::audio::detail::AdmTrackCountMask;
using nybase::audio::detail::DoubleToHalf;

namespace {

// Speaker bits in the order the tracks of a multichannel object come: front, LFE, side, back, top.
constexpr uint32_t k_trackOrder[] = {0x1, 0x2, 0x4, 0x8, 0x200, 0x400, 0x10, 0x20, 0x1000, 0x4000};
constexpr uint32_t k_lfe = 0x8;
constexpr unsigned char k_noTrack = 255;

// The smallest index among the tracks, compared in 8 bits from 255; a track that isn't known
// counts as the number of tracks.
unsigned char FirstTrack(const NyADM& adm, const std::vector<std::string>& uids) {
  unsigned char first = k_noTrack;
  for (const std::string& uid : uids) {
    const auto index = static_cast<unsigned char>(adm.FindTrackUID(uid));
    if (index < first) first = index;
  }
  return first;
}

// The value of the last position with this coordinate, or fallback.
double Coordinate(const NyADM::BlockFormat& block, std::string_view name, double fallback) {
  double value = fallback;
  for (const NyADM::Position& p : block.positions) {
    if (p.coordinate == name) value = p.value;
  }
  return value;
}

NyDMPos ToPosition(const NyADM::BlockFormat& block) {
  // Computed in double throughout; only the final binary16 rounding (to nearest even) loses
  // precision.
  constexpr double k_radiansPerDegree = 0.01745329252;
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
  if (block.cartesian) {
    x = Coordinate(block, "X", 0.0);
    y = Coordinate(block, "Y", 0.0);
    z = Coordinate(block, "Z", 0.0);
  } else {
    // Azimuth 0 is straight ahead (+Y), positive azimuth turns left (towards -X).
    const double a = (Coordinate(block, "azimuth", 0.0) + 90.0) * k_radiansPerDegree;
    const double e = Coordinate(block, "elevation", 0.0) * k_radiansPerDegree;
    const double d = Coordinate(block, "distance", 1.0);
    x = std::cos(a) * std::cos(e) * d;
    y = std::sin(a) * std::cos(e) * d;
    z = std::sin(e) * d;
  }
  NyDMPos pos{};
  pos.position[0] = DoubleToHalf(x);
  pos.position[1] = DoubleToHalf(z);
  pos.position[2] = DoubleToHalf(y);
  pos.spread = DoubleToHalf(block.spread);
  pos.rtime = AdmTimeToMilliseconds(block.rtime);
  pos.duration = AdmTimeToMilliseconds(block.duration) & k_nyDMDurationMask;
  if (block.jumpPosition && block.interpolationLength == 0.0f) pos.duration |= k_nyDMJumpFlag;
  return pos;
}

// Standard configuration of a known track count; anonymous with the count otherwise.
NyChannelConfig ConfigOfTracks(size_t tracks) {
  const uint32_t mask = AdmTrackCountMask(tracks);
  if (mask == 0) return NyChannelConfig(static_cast<uint32_t>(tracks & 0xFF), NyChannelConfigType_Anonymous, 0);
  return NyChannelConfig(static_cast<uint32_t>(std::popcount(mask)), NyChannelConfigType_Standard, mask);
}

}  // namespace

bool NyADM::FromAXML(const char* xml) {
  if (xml == nullptr) return false;
  // The reader works on the caller's text in place: it lives only for this call, so no copy of a
  // document that may run to megabytes is needed.
  lu::XmlReader reader(std::unique_ptr<const char, void (*)(const char*)>(xml, [](const char*) {}));
  return nybase::audio::detail::AxmlParser(reader, *this).Parse();
}

bool NyADM::FromCHNA(CHNA* /*chna*/, CHNA_AUDIOID* ids, unsigned int count) {
  if (ids == nullptr) return true;
  for (unsigned int i = 0; i < count; ++i) {
    const CHNA_AUDIOID& record = ids[i];
    // The UID field has no terminator: its text runs on through the following fields up to the
    // first NUL, so only a UID followed by an empty track format matches a 12-character entry.
    // The run stops at the record's end rather than reading into the next one.
    const char* text = reinterpret_cast<const char*>(&record) + offsetof(CHNA_AUDIOID, UID);
    const size_t textSize = sizeof(CHNA_AUDIOID) - offsetof(CHNA_AUDIOID, UID);
    const size_t index = FindTrackUID(std::string_view(text, strnlen(text, textSize)));
    const std::string_view trackRef(record.trackRef, strnlen(record.trackRef, sizeof(record.trackRef)));
    if (index < m_trackUIDs.size()) {
      TrackUID& entry = m_trackUIDs[index];
      entry.trackIndex = record.trackIndex;
      entry.audioPackFormatIDRef.assign(record.packRef, strnlen(record.packRef, sizeof(record.packRef)));
      entry.audioTrackFormatIDRef.assign(trackRef);
    } else {
      // Deliberately the whole fields: a short UID keeps its NUL padding, so an audioTrackUID
      // element read later does not complete this entry.
      TrackUID& entry = AddTrackUID(std::string(record.UID, sizeof(record.UID)));
      entry.trackIndex = record.trackIndex;
      entry.audioPackFormatIDRef.assign(record.packRef, sizeof(record.packRef));
      entry.audioTrackFormatIDRef.assign(trackRef);
    }
  }
  return true;
}

size_t NyADM::FindTrackUID(std::string_view uid) const {
  const auto it = m_trackUIDIndex.find(uid);
  return it != m_trackUIDIndex.end() ? it->second : m_trackUIDs.size();
}

NyADM::TrackUID& NyADM::AddTrackUID(std::string uid) {
  m_trackUIDIndex.try_emplace(uid, m_trackUIDs.size());
  TrackUID& entry = m_trackUIDs.emplace_back();
  entry.UID = std::move(uid);
  return entry;
}

void NyADM::GetChannelTargets(std::vector<unsigned char>& targets, unsigned char numChannels) const {
  targets.resize(numChannels);
  for (unsigned int c = 0; c < numChannels; ++c) targets[c] = static_cast<unsigned char>(c);
  for (const Object& object : m_objects) {
    const size_t tracks = object.audioTrackUIDRef.size();
    if (tracks < 2) continue;
    const unsigned char base = FirstTrack(*this, object.audioTrackUIDRef);
    const uint32_t mask = AdmTrackCountMask(tracks);
    unsigned int sequence = 0;
    for (uint32_t bit : k_trackOrder) {
      if ((mask & bit) == 0) continue;
      const int place = bit == k_lfe ? std::popcount(mask) - 1 : std::popcount(mask & (bit - 1) & ~k_lfe);
      // An object whose tracks lie beyond the channels would write past the vector: left out.
      const size_t at = size_t(base) + sequence;
      if (at < targets.size()) targets[at] = static_cast<unsigned char>(base + place);
      ++sequence;
    }
  }
}

bool NyADM::ToNyDM(NyDM& dm, std::vector<NyDMObject>& objects, std::vector<NyDMPos>& positions,
                   std::vector<char>& names) const {
  // The counts start from zero but the vectors are appended to, on purpose: a caller that
  // converts twice into the same vectors gets both sets, with the header describing the last.
  dm = NyDM{};
  // Identifier -> first element with it, so that each object's lookups are constant-time.
  std::unordered_map<std::string_view, size_t> packs;
  std::unordered_map<std::string_view, size_t> channels;
  for (size_t i = 0; i < m_packFormats.size(); ++i) packs.try_emplace(m_packFormats[i].audioPackFormatID, i);
  for (size_t i = 0; i < m_channelFormats.size(); ++i) {
    channels.try_emplace(m_channelFormats[i].audioChannelFormatID, i);
  }

  for (const Object& object : m_objects) {
    NyDMObject& out = objects.emplace_back();
    out = NyDMObject{};
    ++dm.numObjects;
    if (object.audioPackFormatIDRef.size() == 1) {
      const auto pack = packs.find(object.audioPackFormatIDRef.front());
      if (pack != packs.end()) {
        const PackFormat& format = m_packFormats[pack->second];
        if (format.type == NyChannelConfigType_Objects) out.isObject = 1;
        if (format.audioChannelFormatIDRef.size() == 1) {
          const auto channel = channels.find(format.audioChannelFormatIDRef.front());
          if (channel != channels.end()) {
            const std::vector<BlockFormat>& blocks = m_channelFormats[channel->second].audioBlockFormat;
            out.firstPosition = dm.numPositions;
            out.numPositions = static_cast<uint32_t>(blocks.size());
            dm.numPositions += static_cast<uint32_t>(blocks.size());
            for (const BlockFormat& block : blocks) positions.push_back(ToPosition(block));
          }
        }
      }
    }
    out.firstTrack = FirstTrack(*this, object.audioTrackUIDRef);
    out.channelConfig = ConfigOfTracks(object.audioTrackUIDRef.size());
    out.nameOffset = static_cast<uint16_t>(names.size());
    names.insert(names.end(), object.audioObjectName.begin(), object.audioObjectName.end());
    names.push_back('\0');
  }
  dm.namesSize = static_cast<uint16_t>(names.size());
  return true;
}
