// The ADM metadata of a file as the info command shows it: programme, objects and their tracks.
#include "AdmSummary.h"

#include <set>

#include <nybase/audio/NyADM.h>

#include "Json.h"

namespace nybase::tool {
namespace {

const char* PackTypeName(unsigned type) {
  switch (type) {
    case 1: return "DirectSpeakers";
    case 2: return "Matrix";
    case 3: return "Objects";
    case 4: return "HOA";
    case 5: return "Binaural";
    default: return "unknown";
  }
}

const NyADM::PackFormat* FindPack(const NyADM& adm, const std::string& id) {
  for (const NyADM::PackFormat& p : adm.GetPackFormats()) {
    if (p.audioPackFormatID == id) return &p;
  }
  return nullptr;
}

// The channel (from 1, as the chna records number them) of each of an object's track references,
// found by UID among the entries that came from chna: the library's track list also holds the
// axml's own audioTrackUID entries (index 0), before or after the chna ones depending on the
// order of the chunks. A reference no chna record carries is left out.
std::vector<unsigned> Tracks(const NyADM& adm, const NyADM::Object& object) {
  std::vector<unsigned> tracks;
  for (const std::string& uid : object.audioTrackUIDRef) {
    for (const NyADM::TrackUID& t : adm.GetTrackUIDs()) {
      if (t.trackIndex != 0 && t.UID == uid) {
        tracks.push_back(t.trackIndex);
        break;
      }
    }
  }
  return tracks;
}

// The number of tracks the file has: the distinct channels its chna records name, or, without
// chna, the distinct UIDs of the axml.
size_t TrackCount(const NyADM& adm) {
  std::set<unsigned> channels;
  std::set<std::string> uids;
  for (const NyADM::TrackUID& t : adm.GetTrackUIDs()) {
    if (t.trackIndex != 0) channels.insert(t.trackIndex);
    uids.insert(t.UID);
  }
  return channels.empty() ? uids.size() : channels.size();
}

}  // namespace

void AdmToJson(const NyADM& adm, Json& j) {
  j.BeginObject();
  j.Key("programme").BeginObject()
      .Field("id", adm.GetProgramme().audioProgrammeID)
      .Field("name", adm.GetProgramme().audioProgrammeName)
      .EndObject();
  j.Key("objects").BeginArray();
  for (const NyADM::Object& o : adm.GetObjects()) {
    j.BeginObject().Field("id", o.audioObjectID).Field("name", o.audioObjectName);
    j.Key("packs").BeginArray();
    for (const std::string& ref : o.audioPackFormatIDRef) {
      const NyADM::PackFormat* p = FindPack(adm, ref);
      j.BeginObject().Field("id", ref).Field("name", p != nullptr ? p->audioPackFormatName : std::string())
          .Field("type", std::string(PackTypeName(p != nullptr ? p->type : 0))).EndObject();
    }
    j.EndArray();
    j.Key("tracks").BeginArray();
    for (unsigned t : Tracks(adm, o)) j.UInt(t);
    j.EndArray().EndObject();
  }
  j.EndArray();
  j.Field("trackCount", static_cast<uint64_t>(TrackCount(adm)));
  j.EndObject();
}

std::string AdmToText(const NyADM& adm) {
  const size_t trackCount = TrackCount(adm);
  std::string s = "  adm       " + std::to_string(adm.GetObjects().size()) + " object" +
                  (adm.GetObjects().size() == 1 ? "" : "s") + ", " + std::to_string(trackCount) + " track" +
                  (trackCount == 1 ? "" : "s");
  if (!adm.GetProgramme().audioProgrammeName.empty()) s += ", programme \"" + adm.GetProgramme().audioProgrammeName + "\"";
  s += "\n";
  for (const NyADM::Object& o : adm.GetObjects()) {
    s += "    " + o.audioObjectID + "  \"" + o.audioObjectName + "\"";
    const std::vector<unsigned> tracks = Tracks(adm, o);
    if (!tracks.empty()) {
      s += "  tracks";
      for (unsigned t : tracks) s += " " + std::to_string(t);
    }
    for (const std::string& ref : o.audioPackFormatIDRef) {
      if (const NyADM::PackFormat* p = FindPack(adm, ref)) {
        s += "  (";
        s += PackTypeName(p->type);
        s += ")";
        break;
      }
    }
    s += "\n";
  }
  return s;
}

}  // namespace nybase::tool
