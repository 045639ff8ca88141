// A compact call script for the writer tests: tokens separated by "|", each one writer call.
#pragma once

#include <string>

#include <nybase/NYBase.h>

namespace writertest {

// D start document, / end document, <n start object element, [n begin array element, {n start
// object-array element, ( n start array element (WriteStartElement), > end element, ] end array
// element, @n=v attribute, 'v text, !v CDATA, ~v raw, * wants typed array. Text is UTF-8.
inline void Run(lu::IXmlWriter& w, const std::string& script) {
  size_t i = 0;
  while (i <= script.size()) {
    size_t j = script.find('|', i);
    if (j == std::string::npos) j = script.size();
    const std::string t = script.substr(i, j - i), arg = t.empty() ? "" : t.substr(1);
    i = j + 1;
    if (t.empty()) continue;
    const CStdStr<wchar_t> wide(arg);
    switch (t[0]) {
      case 'D': w.WriteStartDocument(); break;
      case '/': w.WriteEndDocument(); break;
      case '<': w.WriteStartElement(arg.c_str()); break;
      case '[': w.BeginArrayElement(wide); break;
      case '{': w.WriteStartElement(wide, lu::XmlElementTypeObjectArray); break;
      case '(': w.WriteStartElement(arg.c_str(), lu::XmlElementTypeArray); break;
      case '>': w.WriteEndElement(); break;
      case ']': w.EndArrayElement(); break;
      case '@': w.WriteAttributeString(arg.substr(0, arg.find('=')).c_str(), CStdStr<wchar_t>(arg.substr(arg.find('=') + 1))); break;
      case '\'': w.WriteString(wide); break;
      case '!': w.WriteCData(wide); break;
      case '~': w.WriteRaw(wide); break;
      case '*': w.WantsTypeAttributeInArray(); break;
    }
  }
}

inline std::string Out(const lu::TextWriterBase& w) { return std::string(w.BufferStart(), w.BufferedSize()); }

}  // namespace writertest
