// Checks of an input file made before the library opens it, so that errors can name the reason.
#pragma once

#include <string>

namespace nybase::tool {

// Empty when `native` names a regular file this process can read; otherwise the reason, e.g.
// "no such file", "is a directory", "permission denied".
std::string CheckReadableFile(const std::string& native);

// Empty when the file starts like a WAV file the reader takes (a "RIFF", "RF64" or "BW64" header
// with form "WAVE") and is not shorter than its header says; otherwise the reason: "not a WAV
// file", "empty file", "truncated (...)", "big-endian RIFX is not supported", ...
std::string CheckWavHeader(const std::string& native);

// Empty when the reader is chosen for this name (extension .wav, .amb or .vle, any ASCII case).
std::string CheckWavExtension(const std::string& native);

}  // namespace nybase::tool
