// The ADM metadata of a file as the info command shows it: programme, objects and their tracks.
#pragma once

#include <string>

class NyADM;

namespace nybase::tool {

class Json;

// Appends the "adm" value: {"programme": {"id", "name"}, "objects": [{"id", "name", "packs":
// [{"id", "name", "type"}], "tracks": [track index, ...]}], "trackCount": N}.
void AdmToJson(const NyADM& adm, Json& json);

// The text lines of the info block, each starting with two spaces.
std::string AdmToText(const NyADM& adm);

}  // namespace nybase::tool
