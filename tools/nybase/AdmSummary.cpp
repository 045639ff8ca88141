// The ADM metadata of a file as the info command shows it: programme, objects and their tracks.
#include "AdmSummary.h"

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

// The track indices (as chna numbers them, from 1) of an object's track references; a reference
// to an unknown UID is left out.
std::vector<unsigned> Tracks(const NyADM& adm, const NyADM::Object& object) {
  std::vector<unsigned> tracks;
  for (const std::string& uid : object.audioTrackUIDRef) {
    const size_t i = adm.FindTrackUID(uid);
    if (i < adm.GetTrackUIDs().size()) tracks.push_back(adm.GetTrackUIDs()[i].trackIndex);
  }
  return tracks;
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
  j.Field("trackCount", static_cast<uint64_t>(adm.GetTrackUIDs().size()));
  j.EndObject();
}

std::string AdmToText(const NyADM& adm) {
  std::string s = "  adm       " + std::to_string(adm.GetObjects().size()) + " object" +
                  (adm.GetObjects().size() == 1 ? "" : "s") + ", " + std::to_string(adm.GetTrackUIDs().size()) +
                  " track" + (adm.GetTrackUIDs().size() == 1 ? "" : "s");
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
