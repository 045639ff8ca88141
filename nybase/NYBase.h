// The umbrella header: includes the whole public interface of NYBase.
#pragma once

#include <nybase/Version.h>

// Shared vocabulary types.
#include <nybase/base/Expected.h>
#include <nybase/base/ILMDBService.h>
#include <nybase/base/INotifyMgr.h>
#include <nybase/base/IProgress.h>
#include <nybase/base/NyChannelConfig.h>
#include <nybase/base/NyGuid.h>
#include <nybase/base/NyResult.h>
#include <nybase/base/VPropertyEnums.h>
#include <nybase/base/VariantType.h>

// Platform services.
#include <nybase/platform/CurrentDirectory.h>
#include <nybase/platform/DirectoryApi.h>
#include <nybase/platform/FileApi.h>
#include <nybase/platform/FileMapping.h>
#include <nybase/platform/FullPathName.h>
#include <nybase/platform/LastError.h>
#include <nybase/platform/Locale.h>
#include <nybase/platform/ModuleHandle.h>
#include <nybase/platform/NativePath.h>
#include <nybase/platform/Process.h>
#include <nybase/platform/Random.h>
#include <nybase/platform/Resources.h>
#include <nybase/platform/StdioFile.h>
#include <nybase/platform/SystemTime.h>
#include <nybase/platform/Utf.h>

// Text.
#include <nybase/text/AudioDisplayStrings.h>
#include <nybase/text/BasicStringView.h>
#include <nybase/text/CStdStr.h>
#include <nybase/text/CachedString.h>
#include <nybase/text/CommandLine.h>
#include <nybase/text/ConcatHelper.h>
#include <nybase/text/NoCaseStringComp.h>
#include <nybase/text/ROString.h>
#include <nybase/text/RegexHelpers.h>
#include <nybase/text/StringHelp.h>
#include <nybase/text/StringHelpWildcard.h>

// Files.
#include <nybase/files/ByteStreamInterfaces.h>
#include <nybase/files/DirectoryRecursive.h>
#include <nybase/files/Environment.h>
#include <nybase/files/File.h>
#include <nybase/files/FileHelp.h>
#include <nybase/files/FileInputStream.h>
#include <nybase/files/FileOperation.h>
#include <nybase/files/FileOutputStream.h>
#include <nybase/files/FileRangeCopy.h>
#include <nybase/files/FileStream.h>
#include <nybase/files/InternalPath.h>
#include <nybase/files/Library.h>
#include <nybase/files/MacroExpansion.h>
#include <nybase/files/MemoryMappedFile.h>
#include <nybase/files/NYFileExtensions.h>
#include <nybase/files/Path.h>
#include <nybase/files/PathFilter.h>
#include <nybase/files/PathFind.h>
#include <nybase/files/Process.h>
#include <nybase/files/ReadBytesLuFile.h>
#include <nybase/files/ReadBytesMem.h>
#include <nybase/files/TemporaryFile.h>
#include <nybase/files/WineProxy.h>
#include <nybase/files/WriteBytesLuFile.h>
#include <nybase/files/WriteBytesMem.h>

// Data.
#include <nybase/data/Array2D.h>
#include <nybase/data/FilteredDataList.h>
#include <nybase/data/FixedSizeMemoryPool.h>
#include <nybase/data/HashBytes.h>
#include <nybase/data/HungarianAlgorithm.h>
#include <nybase/data/INyPluginMemAlloc.h>
#include <nybase/data/Levenshtein.h>
#include <nybase/data/NyBase64.h>
#include <nybase/data/Variant.h>
#include <nybase/data/XXHash.h>
#include <nybase/data/luFXMemAlloc.h>

// Documents.
#include <nybase/documents/IXmlReader.h>
#include <nybase/documents/IXmlWriter.h>
#include <nybase/documents/JsonTextWriter.h>
#include <nybase/documents/TextWriterBase.h>
#include <nybase/documents/XmlReader.h>
#include <nybase/documents/XmlTextWriterLite.h>
#include <nybase/documents/XmlValidation.h>

// Audio.
#include <nybase/audio/ChnaRecords.h>
#include <nybase/audio/IDataDecipher.h>
#include <nybase/audio/NyADM.h>
#include <nybase/audio/NyADMChunk.h>
#include <nybase/audio/NyAudioFileReader.h>
#include <nybase/audio/NyChannelOrdering.h>
#include <nybase/audio/NyCueChunk.h>
#include <nybase/audio/NyDM.h>
#include <nybase/audio/NyDataChunk.h>
#include <nybase/audio/NyFmtChunk.h>
#include <nybase/audio/NyFormatChunkBase.h>
#include <nybase/audio/NyHashChunk.h>
#include <nybase/audio/NyJunkChunk.h>
#include <nybase/audio/NyListChunk.h>
#include <nybase/audio/NyMidiFile.h>
#include <nybase/audio/NyMidiParseAt.h>
#include <nybase/audio/NyMidiRecords.h>
#include <nybase/audio/NyRiffChunk.h>
#include <nybase/audio/NySmplChunk.h>
#include <nybase/audio/NyWAVStructs.h>
#include <nybase/audio/NyWavFile.h>
#include <nybase/audio/NyWavFileReader.h>
#include <nybase/audio/NyWavFileWriter.h>
#include <nybase/audio/NyWaveMarker.h>
#include <nybase/audio/RiffChunks.h>
#include <nybase/audio/WavByteSwapHelpers.h>
#include <nybase/audio/WaveFormat.h>

// Analysis.
#include <nybase/analysis/FFTHelper.h>
#include <nybase/analysis/NyOnsetDetector.h>
