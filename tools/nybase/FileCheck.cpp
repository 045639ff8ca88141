// Checks of an input file made before the library opens it, so that errors can name the reason.
#include "FileCheck.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

namespace nybase::tool {
namespace {

uint32_t LoadU32(const unsigned char* p) {
  return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
}

std::string Printable(const unsigned char* p, size_t n) {
  std::string s;
  for (size_t i = 0; i < n; ++i) s.push_back(p[i] >= 0x20 && p[i] < 0x7F ? static_cast<char>(p[i]) : '?');
  return s;
}

}  // namespace

std::string StatFailureReason(int err) {
  if (err == ENOENT || err == ENOTDIR) return "no such file";
  return std::strerror(err);
}

std::string FileKindReason(unsigned mode) {
  if (S_ISDIR(mode)) return "is a directory, not a file";
  if (!S_ISREG(mode)) return "not a regular file";
  return {};
}

std::string CheckReadableFile(const std::string& native) {
  struct stat st {};
  if (::stat(native.c_str(), &st) != 0) return StatFailureReason(errno);
  std::string kind = FileKindReason(st.st_mode);
  if (!kind.empty()) return kind;
  std::unique_ptr<FILE, int (*)(FILE*)> f(std::fopen(native.c_str(), "rb"), &std::fclose);
  if (!f) return std::strerror(errno);
  return {};
}

std::string CheckWavHeaderBytes(const unsigned char* h, size_t got, uint64_t size, std::string& warning) {
  warning.clear();
  if (got == 0) return "empty file, not a WAV file";
  const bool riffLike = got >= 4 && (std::memcmp(h, "RIFF", 4) == 0 || std::memcmp(h, "RF64", 4) == 0 ||
                                     std::memcmp(h, "BW64", 4) == 0 || std::memcmp(h, "RIFX", 4) == 0);
  if (!riffLike) return "not a WAV file (no RIFF header)";
  if (got < 12) return "truncated (" + std::to_string(got) + " bytes, shorter than a WAV header)";
  if (std::memcmp(h + 8, "WAVE", 4) != 0) {
    return "not a WAV file (RIFF form '" + Printable(h + 8, 4) + "', not 'WAVE')";
  }
  if (std::memcmp(h, "RIFX", 4) == 0) return "big-endian (RIFX) WAV files are not supported";

  const uint32_t declared = LoadU32(h + 4);
  // 0xFFFFFFFF leaves the size to a ds64 chunk. One byte of slack: some writers count a final pad
  // byte that they never write. A larger shortfall (recorders and editors often overstate the
  // size) is only a warning: the reader stops at the end of the file and keeps what is there.
  if (declared != 0xFFFFFFFFu && uint64_t{declared} + 8 > size + 1) {
    warning = "truncated (the header gives " + std::to_string(uint64_t{declared} + 8) +
              " bytes, the file has " + std::to_string(size) + ")";
  }
  return {};
}

std::string CheckWavHeader(const std::string& native, std::string& warning) {
  warning.clear();
  std::unique_ptr<FILE, int (*)(FILE*)> f(std::fopen(native.c_str(), "rb"), &std::fclose);
  if (!f) return std::strerror(errno);
  unsigned char h[12];
  const size_t got = std::fread(h, 1, sizeof h, f.get());
  // The size only matters once the 12 bytes are there and look like a WAV header.
  uint64_t size = 0;
  if (got == sizeof h) {
    if (std::fseek(f.get(), 0, SEEK_END) != 0) return std::strerror(errno);
    const long end = std::ftell(f.get());
    if (end < 0) return std::strerror(errno);
    size = static_cast<uint64_t>(end);
  }
  return CheckWavHeaderBytes(h, got, size, warning);
}

std::string CheckWavExtension(const std::string& native) {
  const size_t slash = native.find_last_of('/');
  const size_t dot = native.find_last_of('.');
  std::string ext;
  if (dot != std::string::npos && (slash == std::string::npos || dot > slash)) ext = native.substr(dot);
  std::string folded = ext;
  for (char& c : folded) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  if (folded == ".wav" || folded == ".amb" || folded == ".vle") return {};
  return "a WAV file, but named '" + (ext.empty() ? std::string("(no extension)") : ext) +
         "': the reader takes only .wav, .amb and .vle files";
}

}  // namespace nybase::tool
