// NyWavFileReader: reads RIFF, RF64 and BW64 WAVE files: the chunk walk, format, markers, loop,
// hash, and the samples as float or int16 in the caller's channel order.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include <nybase/audio/NyAudioFileReader.h>
#include <nybase/files/File.h>
#include <nybase/files/Path.h>

class NyWavFileReader : public NyAudioFileReader {
 public:
  NyWavFileReader();
  ~NyWavFileReader() override;

  // Opens the file for reading (shared read, no flags) and checks the 12-byte header: "RIFF",
  // "RF64" or "BW64" then "WAVE". False if the file cannot be opened or the header is wrong.
  bool Open(const lu::Path& path);
  // The same on a view of an already open file, read from offset 0. False if it isn't open.
  bool Open(const lu::File& file);
  // Closes the file and forgets data position and size, the chunks read and the markers. Keeps the
  // format, loop points, hash, encrypted flag and ADM metadata.
  void Close();

  // Walks the chunks from where the previous walk stopped, parsing every known chunk, until every
  // chunk in flags was seen or the end. True if fmt and data were seen when flags ask for them.
  bool ReadChunks(unsigned int flags) override;
  // The same, but parses only the chunks selected by flags and skips the others.
  bool ReadChunksOnly(unsigned int flags);

  unsigned int ChunksRead() const override { return m_chunksRead; }
  const WaveFormatExtensible& GetFormat() const override { return m_format; }
  unsigned short GetDataTypeID() const override { return m_dataType; }
  NY::NyChannelOrdering GetChannelOrdering() const override { return m_channelOrdering; }
  double GetDuration() const override;
  double GetLoopStart() const override;
  double GetLoopEnd() const override;
  unsigned long long GetDataSize() const override { return m_dataSize; }
  const std::vector<NY_WAVE_MARKER>& GetMarkers() const override { return m_markers; }
  NyADM* GetADM() const override { return m_pADM.get(); }
  unsigned int GetLoopStartFrame() const override { return m_loopStart; }
  unsigned int GetLoopEndFrame() const override { return m_loopEnd; }
  // Data size over block align, truncated to 32 bits (the format must have a block align).
  unsigned int GetNumFrames() const override;
  // Cursor = block align x frame; the file is positioned there. False only if the seek failed.
  bool SeekToAudioFrame(unsigned int frame) override;
  // Converts up to numFrames frames from the cursor (cut to the frames left) into out, routed by
  // ordering and config (which must have the file's channel count). Interleaved: out[f*n + c];
  // planar: out[c*numFrames + f]. Returns the frames delivered, 0 at the end or on a read failure.
  unsigned int ReadPCMDataAsFloat32(unsigned int numFrames, NyChannelConfig config,
                                    NY::NyChannelOrdering ordering, float* out,
                                    bool interleaved) override;
  // The format's configuration, native order, interleaved.
  unsigned int ReadPCMDataAsFloat32(unsigned int numFrames, float* out) override;
  // Up to numFrames frames as interleaved int16 in file order; returns the frames delivered.
  unsigned int ReadPCMDataAsInt16(unsigned int numFrames, short* out);
  bool GetHash(void* out, unsigned int size) const override;

  unsigned int GetNumChannels() const { return m_format.nChannels; }
  unsigned int GetNumMarkers() const { return static_cast<unsigned int>(m_markers.size()); }
  unsigned long long GetDataOffset() const { return m_dataOffset; }
  unsigned long long GetCurrentDataPos() const { return m_currentDataPos; }
  bool IsEncrypted() const { return m_encrypted; }
  // Sets the decipher used for the next data chunk found (not owned; may be null).
  void SetDataDecipher(const IDataDecipher* decipher) { m_pDecipher = decipher; }

  // The buffered raw read: size bytes at position (relative to the data offset), deciphered when
  // the data is enciphered. data points into the reader's scratch block, valid until the next read;
  // bytesRead is how many of the size bytes came. On a failed read data is null and bytesRead 0.
  void ReadDataFromFile(unsigned long long position, unsigned int size, unsigned char*& data,
                        unsigned int& bytesRead);

 protected:
  bool ReadChunks(unsigned int flags, bool chunksOnly);
  bool ReadHeader();
  bool ReadChunk_FMT(const RIFFHEADER& header);
  bool ReadChunk_CUE(const RIFFHEADER& header);
  bool ReadChunk_LIST(const RIFFHEADER& header);
  bool ReadChunk_SMPL(const RIFFHEADER& header);
  bool ReadChunk_HASH(const RIFFHEADER& header);
  // ADM metadata: the payload of axml or chna goes to the NyADM, created at the first of them.
  // False on a short read or when NyADM::FromAXML fails.
  bool ReadChunk_AXML(const RIFFHEADER& header);
  bool ReadChunk_CHNA(const RIFFHEADER& header);
  // Finds the marker with this identifier, or appends a zeroed one with it.
  NY_WAVE_MARKER& GetWavMarker(unsigned int id);
  // Makes the scratch block hold at least size bytes; it never shrinks.
  void EnsureReadBufferSize(unsigned int size);
  // Deciphers size bytes in place, block by block (a final short block is processed whole, so the
  // buffer must extend to the block boundary). Without a decipher the bytes are zeroed: false.
  bool Decrypt(unsigned char* buffer, unsigned int size);

  // Called for every chunk the walk doesn't know, with the file at its payload: consume exactly
  // the payload, optionally add flags (they join ChunksRead), return false to abort the walk. The
  // base skips the payload.
  virtual bool ReadOptionalChunk(const RIFFHEADER& header, unsigned int& flags);

  // Owner of the ADM model; the deleter comes with the object, so this header needs no definition
  // of NyADM.
  using ADMOwner = std::unique_ptr<NyADM, void (*)(NyADM*)>;

  WaveFormatExtensible m_format{};
  NY::NyChannelOrdering m_channelOrdering = NY::ChannelOrdering_Native;
  unsigned short m_dataType = 0;
  unsigned int m_loopStart = 0;
  unsigned int m_loopEnd = 0;
  std::vector<NY_WAVE_MARKER> m_markers;
  ADMOwner m_pADM{nullptr, nullptr};
  unsigned char m_hash[16] = {};
  lu::File m_file;
  unsigned long long m_endOffset = 0;
  unsigned long long m_dataSize = 0;
  unsigned long long m_dataOffset = 0;
  unsigned long long m_currentDataPos = 0;
  unsigned int m_chunksRead = 0;
  bool m_encrypted = false;
  const IDataDecipher* m_pDecipher = nullptr;
  unsigned char* m_pReadBuffer = nullptr;
  unsigned int m_readBufferSize = 0;

 private:
  bool ReadChunk_DS64(const RIFFHEADER& header);
  bool ReadChunk_DATA(const RIFFHEADER& header);
  void SetupDecryption();
  bool SkipBytes(long long count);
  // True when size more bytes from the current position are inside the file.
  bool PayloadFits(unsigned long long size) const;
  void EnsureADM();
  // Fills targets with the destination channel of each of count source channels from the ADM
  // model; false when there is no model (the identity route applies).
  bool GetADMChannelTargets(unsigned int count, std::vector<uint8_t>& targets) const;
  void FreeMarkers();
  // Closes an owned file, or lets a view go.
  void DropFile();

  // Identifier -> index in m_markers, so that GetWavMarker stays constant-time: the index covers
  // the first m_markerIndexed markers, the identifiers of the first m_markerScanned are all below
  // m_markerMaxId, and m_markerHint is where the next lookup is likely to hit.
  std::unordered_map<uint32_t, size_t> m_markerIndex;
  size_t m_markerIndexed = 0;
  size_t m_markerScanned = 0;
  size_t m_markerHint = 0;
  uint64_t m_markerMaxId = 0;
};
