// NYFileExtensions: the extension table.
#include <nybase/files/NYFileExtensions.h>

namespace NYFileExtensions {

const CStdStr<wchar_t> k_csProjectFile(L"vlpx");
const CStdStr<wchar_t> k_csSettings(L"vlcfg");
const CStdStr<wchar_t> k_csValidationCache(L"validationcache");
const CStdStr<wchar_t> k_csSoundBankFile(L"bnk");
const CStdStr<wchar_t> k_csSoundBankInfoFile(L"info");
const CStdStr<wchar_t> k_csSoundBankDefFile(L"txt");
const CStdStr<wchar_t> k_csSoundBankReadableFile(L"rbnk");
const CStdStr<wchar_t> k_csSoundBankMapFile(L"map");
const CStdStr<wchar_t> k_csSoundBankMetaDataXml(L"xml");
const CStdStr<wchar_t> k_csSoundBankMetaDataJson(L"json");
const CStdStr<wchar_t> k_csWorkUnit(L"vlu");
const CStdStr<wchar_t> k_csConvertedFile(L"vle");
const CStdStr<wchar_t> k_csDecodedFile(L"decoded");
const CStdStr<wchar_t> k_csLayoutFile(L"vllay");
const CStdStr<wchar_t> k_csMainWindowInfoFile(L"vlwin");
const CStdStr<wchar_t> k_csCmdLineFile(L"vlcmd");
const CStdStr<wchar_t> k_csCustomProperties(L"vlcprops");
const CStdStr<wchar_t> k_csWavAnalysisData(L"nyd");
const CStdStr<wchar_t> k_csVelmDatFile(L"dat");
const CStdStr<wchar_t> k_csVelmVlfmFile(L"vlfm");
const CStdStr<wchar_t> k_csMediaIDFile(L"mediaid");
const CStdStr<wchar_t> k_csProfilerSessionFile(L"prof");

CStdStr<wchar_t> DottedExt(const CStdStr<wchar_t>& extension) {
  CStdStr<wchar_t> dotted(L".");
  dotted += extension;
  return dotted;
}

}  // namespace NYFileExtensions
