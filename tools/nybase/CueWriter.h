// Adds cue markers to a WAV file: written beside the target and renamed over it only when complete.
#pragma once

#include <string>
#include <vector>

namespace nybase::tool {

struct NewCue {
  unsigned frame;
  std::string label;
};

// Writes `source` with `cues` added as cue markers with labels to `target` (which may be the
// source itself). Every chunk of the source is copied byte for byte except its cue chunk and its
// "adtl" list, which are rewritten holding the old markers and the new ones; the sample data is
// never touched. The result goes to a temporary file in the target's directory that replaces the
// target only once it is complete and reads back with every marker; on any failure the temporary
// file is removed and the target is as it was. Returns the reason of a failure, or empty.
std::string AddCues(const std::string& source, const std::string& target, const std::vector<NewCue>& cues);

}  // namespace nybase::tool
