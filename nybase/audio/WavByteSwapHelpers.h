// WavByteSwapHelpers: in-place byte-order conversion of the WAV records, for big-endian "RIFX" files.
#pragma once

#include <nybase/audio/NyWAVStructs.h>
#include <nybase/audio/RiffChunks.h>
#include <nybase/audio/WaveFormat.h>

// Every Convert swaps the numeric fields of one record in place and leaves four-character codes and
// GUIDs untouched, so applying it twice restores the record. None can fail.
namespace WavByteSwapHelpers {

// The size only; the identifier stays (also NyChunkHeader and NY::Velmoor::Plugin::RiffHeader,
// which are the same record).
void Convert(RIFFHEADER& header);
// Both 32-bit words.
void Convert(NyWAVStructs::IRMETADATA& metadata);
// All nine 32-bit fields.
void Convert(SAMPLER& sampler);
// All six 32-bit fields.
void Convert(SAMPLER_LOOP& loop);
// The seven WAVEFORMATEX fields, the valid bits and the 32-bit channel word; not the GUID.
void Convert(WAVEFORMATEXTENSIBLE& format);
// The seven WAVEFORMATEX fields, the valid bits and the packed channel configuration.
void Convert(WaveFormatExtensible& format);
// Identifier, position, chunk start, block start and sample offset; not the chunk code.
void Convert(WAV_CUE& cue);
// The seven fields.
void Convert(tWAVEFORMATEX& format);

// Converts `size` bytes of sample data by the format's wBitsPerSample: 16 swaps byte pairs, 32
// swaps byte quads (a trailing partial group is left alone); 8 adds 128 to each byte unless
// `isSigned` is true; any other width, 24 included, is left as it stands.
void ConvertData(unsigned char* data, unsigned int size, const WAVEFORMATEXTENSIBLE& format,
                 bool isSigned);
void ConvertData(unsigned char* data, unsigned int size, const WaveFormatExtensible& format,
                 bool isSigned);

}  // namespace WavByteSwapHelpers
