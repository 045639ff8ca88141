// VPropertyEnums: option values shared by the text writers and streams.
#pragma once

namespace VPropertyEnums {

// Line ends of written text: 1 selects CR LF; every other value selects LF.
enum LineEnding : int {
  LineEndingLF = 0,
  LineEndingCRLF = 1,
};

}  // namespace VPropertyEnums
