// Checks of an input file made before the library opens it, so that errors can name the reason.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace nybase::tool {

// Empty when `native` names a regular file this process can read; otherwise the reason, e.g.
// "no such file", "is a directory", "permission denied".
std::string CheckReadableFile(const std::string& native);

// The reasons CheckReadableFile gives, for callers that make the status call themselves: for a
// failed stat with error number `err`, and for a file of `mode` (empty for a regular file).
std::string StatFailureReason(int err);
std::string FileKindReason(unsigned mode);

// Empty when the file starts like a WAV file the reader takes (a "RIFF", "RF64" or "BW64" header
// with form "WAVE"); otherwise the reason: "not a WAV file", "empty file", "truncated (...)" (for
// fewer than 12 bytes), "big-endian RIFX is not supported", ... A file shorter than its header
// says is not refused, since the reader opens it and keeps what is there: `warning` then says
// "truncated (the header gives N bytes, the file has M)"; otherwise it is left empty.
std::string CheckWavHeader(const std::string& native, std::string& warning);

// CheckWavHeader on bytes already read: the first `got` bytes of the file (only 12 are looked at)
// and the file's size in bytes. Same results and warning.
std::string CheckWavHeaderBytes(const unsigned char* head, size_t got, uint64_t size, std::string& warning);

// Empty when the reader is chosen for this name (extension .wav, .amb or .vle, any ASCII case).
std::string CheckWavExtension(const std::string& native);

}  // namespace nybase::tool
