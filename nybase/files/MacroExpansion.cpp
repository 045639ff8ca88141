// One-pass macro expansion over a table and the environment.
#include <nybase/files/MacroExpansion.h>

#include <algorithm>
#include <climits>

#include <nybase/files/WineProxy.h>

namespace MacroExpansion {

namespace {

// The value of one name: the table's, failing that the environment's.
GetMacroValueResult GetMacroValue(const CStdStr<wchar_t>& name, lu::EnvironmentMap& macros, CStdStr<wchar_t>& value) {
  value.clear();
  if (const auto found = macros.find(name); found != macros.end()) {
    value = macros[name];
    return GetMacroValueResultSuccess;
  }
  if (!lu::GetEnv(name, value)) return GetMacroValueResultUndefined;
  const lu::WineProxy& proxy = lu::WineProxy::Get();
  if (value.find(L'\\') != std::wstring::npos && proxy.GetOSType() == lu::WineProxy::OSTypeMacOS) {
    CStdStr<wchar_t> unix(L"/Undefined");
    proxy.ConvertPathWindowsToUnix(value, unix);
    value = unix;
  }
  return GetMacroValueResultSuccess;
}

}  // namespace

GetMacroValueResult ReplaceMacros(const CStdStr<wchar_t>& input, CStdStr<wchar_t>& output,
                                  lu::EnvironmentMap& macros, std::vector<CStdStr<wchar_t>>& undefined) {
  output.clear();
  GetMacroValueResult result = GetMacroValueResultSuccess;
  // Positions are 32-bit, as the interface has them; longer texts are cut to that many units.
  const size_t length = std::min<size_t>(input.size(), INT_MAX);
  const std::wstring_view text(input.data(), length);
  size_t position = 0;
  CStdStr<wchar_t> value;
  while (position < length) {
    const size_t start = position;
    const size_t opening = text.find(L"$(", position);
    const size_t closing = opening == std::wstring_view::npos ? opening : text.find(L')', opening);
    if (opening == std::wstring_view::npos || closing == std::wstring_view::npos) {
      output.append(text.substr(start));
      break;
    }
    const size_t inner = text.find(L"$(", opening + 1);
    if (inner != std::wstring_view::npos && inner < closing) {
      // The outer "$(" is literal text around an inner reference.
      output.append(text.substr(start, inner - start));
      position = inner;
      continue;
    }
    const CStdStr<wchar_t> name(std::wstring(text.substr(opening + 2, closing - opening - 2)));
    output.append(text.substr(start, opening - start));
    if (GetMacroValue(name, macros, value) == GetMacroValueResultSuccess) {
      output += value;
    } else {
      undefined.push_back(name);
      result = GetMacroValueResultUndefined;
      output += L"$(" + name + L")";  // the reference as it stood
    }
    position = closing + 1;
  }
  return result;
}

CStdStr<wchar_t> ReplaceMacrosWithEnv(const CStdStr<wchar_t>& input, std::vector<CStdStr<wchar_t>>& undefined) {
  undefined.clear();
  if (input.find(L"$(") == std::wstring::npos) return input;
  lu::EnvironmentMap environment;
  lu::GetProcessEnvironmentMap(environment);
  CStdStr<wchar_t> output;
  if (ReplaceMacros(input, output, environment, undefined) == GetMacroValueResultSuccess) return output;
  return input;  // all or nothing, on purpose: a partly expanded path is never handed out
}

}  // namespace MacroExpansion
