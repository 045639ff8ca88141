// NyWavFileReader: seeking, the buffered raw read with deciphering, and sample conversion.
#include "NyWavFileReader.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "internal/ChannelRoutes.h"
#include "internal/SampleConvert.h"

namespace detail = nybase::audio::detail;

bool NyWavFileReader::SeekToAudioFrame(unsigned int frame) {
  m_currentDataPos = static_cast<unsigned long long>(m_format.nBlockAlign) * frame;
  return m_file.SetFilePointer(static_cast<long long>(m_dataOffset + m_currentDataPos),
                               lu::FilePointerBegin) >= 0;
}

void NyWavFileReader::EnsureReadBufferSize(unsigned int size) {
  if (m_pReadBuffer != nullptr && m_readBufferSize >= size) return;
  std::free(m_pReadBuffer);
  m_pReadBuffer = static_cast<unsigned char*>(std::malloc(size));
  m_readBufferSize = m_pReadBuffer ? size : 0;
}

bool NyWavFileReader::Decrypt(unsigned char* buffer, unsigned int size) {
  if (m_pDecipher == nullptr) {
    std::memset(buffer, 0, size);
    return false;
  }
  const unsigned int block = m_pDecipher->GetBlockSize();
  if (block == 0) {
    std::memset(buffer, 0, size);
    return false;
  }
  unsigned char* scratch = static_cast<unsigned char*>(std::malloc(block));
  if (scratch == nullptr) return false;
  for (unsigned long long offset = 0; offset < size; offset += block) {
    m_pDecipher->DecryptBlock(buffer + offset, scratch);
    std::memcpy(buffer + offset, scratch, block);
  }
  std::free(scratch);
  return true;
}

void NyWavFileReader::ReadDataFromFile(unsigned long long position, unsigned int size,
                                       unsigned char*& data, unsigned int& bytesRead) {
  data = nullptr;
  bytesRead = 0;
  unsigned long long block = 1;
  if (m_encrypted && m_pDecipher != nullptr) {
    block = m_pDecipher->GetBlockSize();
    // Alignment needs a power of two; anything else is read unaligned.
    if (block == 0 || (block & (block - 1)) != 0) block = 1;
  }
  const unsigned long long alignedStart = position - (position & (block - 1));
  const unsigned long long alignedEnd = (position + size - 1 + block) & ~(block - 1);
  const unsigned long long span = alignedEnd - alignedStart;
  if (span > std::numeric_limits<unsigned int>::max()) return;
  // Deliberately no seek when the read starts on a block boundary: the reads go on from wherever
  // SeekToAudioFrame or the previous read left the file.
  if (alignedStart != position &&
      m_file.SetFilePointer(static_cast<long long>(m_dataOffset + alignedStart),
                            lu::FilePointerBegin) < 0) {
    return;
  }
  EnsureReadBufferSize(static_cast<unsigned int>(span));
  if (m_pReadBuffer == nullptr) return;
  unsigned int done = 0;
  if (!m_file.Read(m_pReadBuffer, static_cast<unsigned int>(span), done)) return;
  if (alignedEnd != position + size) {
    // The next sequential read starts right after the bytes asked for.
    m_file.SetFilePointer(static_cast<long long>(m_dataOffset + position + size),
                          lu::FilePointerBegin);
  }
  if (m_encrypted) Decrypt(m_pReadBuffer, done);
  const unsigned long long lead = position - alignedStart;
  data = m_pReadBuffer + lead;
  bytesRead = done > lead ? static_cast<unsigned int>(std::min<unsigned long long>(size, done - lead))
                          : 0;
}

unsigned int NyWavFileReader::ReadPCMDataAsFloat32(unsigned int numFrames, float* out) {
  return ReadPCMDataAsFloat32(numFrames, m_format.channelConfig, NY::ChannelOrdering_Native, out,
                              true);
}

namespace {

// Frames that may be requested in one read: the byte count must fit the raw read's 32-bit size.
// The frames available are truncated to 32 bits before the smaller of them and the request is
// taken, on purpose: past 4 Gi frames a read delivers what that truncated count allows, so a
// caller never gets more than GetNumFrames (itself 32-bit) says the file holds.
unsigned int FramesToRead(unsigned long long dataSize, unsigned long long cursor,
                          unsigned int blockAlign, unsigned int numFrames) {
  if (blockAlign == 0 || cursor >= dataSize) return 0;  // a cursor past the data reads nothing
  const auto available = static_cast<unsigned int>((dataSize - cursor) / blockAlign);
  unsigned long long count = std::min(available, numFrames);
  count = std::min<unsigned long long>(count, std::numeric_limits<unsigned int>::max() / blockAlign);
  return static_cast<unsigned int>(count);
}

}  // namespace

unsigned int NyWavFileReader::ReadPCMDataAsFloat32(unsigned int numFrames, NyChannelConfig config,
                                                   NY::NyChannelOrdering ordering, float* out,
                                                   bool interleaved) {
  const unsigned int blockAlign = m_format.nBlockAlign;
  const unsigned int count = FramesToRead(m_dataSize, m_currentDataPos, blockAlign, numFrames);
  if (count == 0) return 0;
  const unsigned int width = m_format.nChannels ? blockAlign / m_format.nChannels : 0;
  const bool isFloat = m_dataType == 1;
  const unsigned int n = config.GetNumChannels();
  const uint32_t type = config.GetType();
  const uint32_t mask = config.GetChannelMask();
  if (isFloat && width == 4 && interleaved && !m_encrypted && n == m_format.nChannels &&
      blockAlign == 4 * n && ordering == NY::ChannelOrdering_Native && !m_pADM) {
    // Float samples in the file's order are the output bytes: read them straight into place,
    // as the buffered read would (plain data, no block alignment, no seek).
    unsigned int done = 0;
    if (!m_file.Read(out, blockAlign * count, done)) return 0;
    m_currentDataPos += done;
    return done / blockAlign;
  }
  unsigned char* data = nullptr;
  unsigned int bytesRead = 0;
  ReadDataFromFile(m_currentDataPos, blockAlign * count, data, bytesRead);
  if (data == nullptr) return 0;
  const unsigned int frames = bytesRead / blockAlign;

  detail::ChannelRoute route;
  std::vector<uint8_t> targets;
  if (ordering == NY::ChannelOrdering_Pipeline && type == NyChannelConfigType_Standard &&
      (mask & detail::k_nonPipelineMask) == 0) {
    detail::MakePipelineRoute(mask, n, route);
  } else if (ordering == NY::ChannelOrdering_FuMa &&
             type == NyChannelConfigType_Ambisonic && n <= 16) {
    detail::MakeFuMaRoute(n, route);
  } else if (m_pADM && GetADMChannelTargets(n, targets)) {
    detail::MakeIdentityRoute(0, route);
    for (unsigned int c = 0; c < n && c < targets.size(); ++c) {
      if (targets[c] < n) route.dest[c] = targets[c];
    }
  } else {
    detail::MakeIdentityRoute(n, route);
  }

  const size_t sourceStride = size_t(n) * width;
  if (n != 0 && interleaved && detail::IsIdentityRoute(route, n) &&
      size_t(frames) * sourceStride <= bytesRead) {
    // The file's own interleaving: one contiguous conversion.
    detail::ConvertContiguous(data, width, isFloat, out, size_t(frames) * n);
  } else {
    const bool convertible = detail::IsConvertibleWidth(width);
    for (unsigned int c = 0; c < n; ++c) {
      const int d = route.dest[c];
      if (d < 0 || unsigned(d) >= n) continue;
      float* dst = interleaved ? out + d : out + size_t(d) * numFrames;
      const size_t dstStride = interleaved ? n : 1;
      const float gain = route.hasGain ? route.gain[d] : 1.0f;
      // A configuration wider than the file's would stride past the bytes read: stop there.
      const size_t first = size_t(c) * width;
      size_t channelFrames = 0;
      if (sourceStride != 0 && first + width <= bytesRead) {
        channelFrames = std::min<size_t>(frames, (bytesRead - first - width) / sourceStride + 1);
      }
      if (convertible) {
        detail::ConvertChannel(data + first, sourceStride, width, isFloat, dst, dstStride,
                               channelFrames, gain);
      } else if (route.hasGain) {
        // Unconverted widths leave the output as it was, but the weights still apply to it.
        detail::ApplyGain(dst, dstStride, frames, gain);
      }
    }
  }
  m_currentDataPos += bytesRead;
  return frames;
}

unsigned int NyWavFileReader::ReadPCMDataAsInt16(unsigned int numFrames, short* out) {
  const unsigned int blockAlign = m_format.nBlockAlign;
  const unsigned int count = FramesToRead(m_dataSize, m_currentDataPos, blockAlign, numFrames);
  if (count == 0) return 0;
  unsigned char* data = nullptr;
  unsigned int bytesRead = 0;
  ReadDataFromFile(m_currentDataPos, blockAlign * count, data, bytesRead);
  if (data == nullptr) return 0;
  const unsigned int frames = bytesRead / blockAlign;
  const unsigned int channels = m_format.nChannels;
  const unsigned int width = channels ? blockAlign / channels : 0;
  const size_t samples = size_t(frames) * channels;
  if (width == 4 || width == 3) {
    detail::NarrowToInt16(data, width, m_dataType == 1, reinterpret_cast<int16_t*>(out), samples);
  } else {
    // Raw bytes: right for 16-bit samples; 8-bit ones land unwidened in the first half. Never more
    // than the output holds (frames x channels samples).
    const size_t bytes = std::min<size_t>(size_t(frames) * blockAlign, samples * sizeof(short));
    std::memcpy(out, data, bytes);
  }
  m_currentDataPos += bytesRead;
  return frames;
}
