// NYFileExtensions: the extensions, without a dot, of the files the authoring application knows.
#pragma once

#include <nybase/text/CStdStr.h>

namespace NYFileExtensions {

// Built when the library loads; read-only afterwards.
extern const CStdStr<wchar_t> k_csProjectFile;  // project
extern const CStdStr<wchar_t> k_csSettings;  // user settings
extern const CStdStr<wchar_t> k_csValidationCache;  // validation cache
extern const CStdStr<wchar_t> k_csSoundBankFile;  // sound bank
extern const CStdStr<wchar_t> k_csSoundBankInfoFile;  // sound bank info
extern const CStdStr<wchar_t> k_csSoundBankDefFile;  // sound bank definition
extern const CStdStr<wchar_t> k_csSoundBankReadableFile;  // readable sound bank
extern const CStdStr<wchar_t> k_csSoundBankMapFile;  // sound bank map
extern const CStdStr<wchar_t> k_csSoundBankMetaDataXml;  // sound bank metadata as XML
extern const CStdStr<wchar_t> k_csSoundBankMetaDataJson;  // sound bank metadata as JSON
extern const CStdStr<wchar_t> k_csWorkUnit;  // work unit
extern const CStdStr<wchar_t> k_csConvertedFile;  // converted media
extern const CStdStr<wchar_t> k_csDecodedFile;  // decoded media
extern const CStdStr<wchar_t> k_csLayoutFile;  // layout
extern const CStdStr<wchar_t> k_csMainWindowInfoFile;  // main window information
extern const CStdStr<wchar_t> k_csCmdLineFile;  // command line
extern const CStdStr<wchar_t> k_csCustomProperties;  // custom properties
extern const CStdStr<wchar_t> k_csWavAnalysisData;  // wave analysis data
extern const CStdStr<wchar_t> k_csVelmDatFile;  // data file
extern const CStdStr<wchar_t> k_csVelmVlfmFile;  // vlfm file
extern const CStdStr<wchar_t> k_csMediaIDFile;  // media identifier file
extern const CStdStr<wchar_t> k_csProfilerSessionFile;  // profiler session

// "." followed by `extension`; a dot already there is not looked for (".vlu" gives "..vlu").
CStdStr<wchar_t> DottedExt(const CStdStr<wchar_t>& extension);

}  // namespace NYFileExtensions
