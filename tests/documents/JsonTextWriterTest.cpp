// lu::JsonTextWriter: the documented shapes byte for byte, element types, typed arrays, escaping.
#include <gtest/gtest.h>

#include <string>

#include <nybase/NYBase.h>

#include "WriterScript.h"
#include "tests/support/TestSupport.h"

using lu::JsonTextWriter;
using nytest::W16;
using writertest::Out;

namespace {

std::string Json(const std::string& script, VPropertyEnums::LineEnding le = VPropertyEnums::LineEndingLF) {
  JsonTextWriter w(le);
  writertest::Run(w, script);
  return Out(w);
}

TEST(JsonTextWriter, DocumentedShapesByteForByte) {
  const std::pair<const char*, const char*> cases[] = {
      {"D|/", "{\n \n}"},
      {"D|<a|@x=1|<b|'t|>|>|/", "{\n \"a\": {\n  \"x\": \"1\",\n  \"b\": \"t\"\n }\n}"},
      {"D|<e|>|(e|>|{e|>|<s|'|>|/", "{\n \"e\": {},\n \"e\": [],\n \"e\": [],\n \"s\": \"\"\n}"},
      {"D|<e|@x=1|!t|>|/", "{\n \"e\": {\n  \"x\": \"1\",\n  \"#text\": \"t\"\n }\n}"},
      {"D|[items|<i|'v|>|<i|'v|>|]|/", "{\n \"items\": [\n  \"v\",\n  \"v\"\n ]\n}"},
      {"D|{items|<i|'v|>|<i|'v|>|>|/", "{\n \"items\": [\n  {\n   \"i\": \"v\"\n  },\n  {\n   \"i\": \"v\"\n  }\n ]\n}"},
      {"D|[m|[row|<c|'1|>|]|<o|@k=v|>|]|/", "{\n \"m\": [\n  [\n   \"1\"\n  ],\n  {\n   \"k\": \"v\"\n  }\n ]\n}"},
      {"D|<e|'a|'b|>|/", "{\n \"e\": \"a\",\n \"#text\": \"b\"\n}"},  // a second value is "#text"
      {"D|<q\"k|>|>|/", "{\n \"q\"k\": {}\n}"},  // keys unescaped; an extra end writes nothing
      {"D|'x", "{\n x\""},                       // text with no key: no opening quote
      {"D|<e|~<1>|>|/", "{\n \"e\": <1>{}\n}"},   // raw text changes no state
  };
  for (const auto& [script, want] : cases) EXPECT_EQ(Json(script), want) << script;
}

TEST(JsonTextWriter, TypedArraysAndLineEndings) {
  // Any "]" lowers the count (the inner array's here), so the last object gets no "@type".
  const char* script = "D|*|[list|<obj|@k=v|>|<empty|>|[inner|<x|'1|>|]|<late|@k=v|>|]|/";
  const std::string lf =
      "{\n \"list\": [\n  {\n   \"@type\": \"obj\",\n   \"k\": \"v\"\n  },\n  {},\n  [\n   \"1\"\n  ],\n"
      "  {\n   \"k\": \"v\"\n  }\n ]\n}";
  EXPECT_EQ(Json(script), lf);
  // CR LF everywhere but behind the "@type" line, which keeps a bare LF.
  std::string crlf;
  for (char c : lf) crlf += c == '\n' ? "\r\n" : std::string(1, c);
  crlf.replace(crlf.find("\"obj\",\r\n"), 8, "\"obj\",\n");
  EXPECT_EQ(Json(script, VPropertyEnums::LineEndingCRLF), crlf);
}

TEST(JsonTextWriter, EscapingEncodingAndGuids) {
  const std::pair<std::wstring, std::string> cases[] = {
      {L"a\"b\\c/d'", "a\\\"b\\\\c/d'"},
      {std::wstring(L"\b\f\n\r\t\x01", 6), std::string("\\b\\f\\n\\r\\t\x01", 11)},  // other controls pass
      {W16(u"\u00e9\U0001F600"), "\xc3\xa9\xf0\x9f\x98\x80"},
      // The name encoder: a lone low surrogate is 3 bytes, a final high surrogate is dropped.
      {W16(u"a") + wchar_t(0xDC00) + wchar_t(0xD800), "a\xed\xb0\x80"},
      // A high surrogate before an escaped character joins the backslash of its escape.
      {W16(u"x") + wchar_t(0xD800) + L"\"", "x\xf0\x90\x81\x9c\""},
  };
  for (const auto& [in, out] : cases) {
    // Short values take the one-pass path, long ones the copy (a final high surrogate stays last).
    for (int times : {1, in.back() == wchar_t(0xD800) ? 1 : 1000}) {
      std::wstring text;
      std::string want;
      for (int i = 0; i < times; ++i) text += in, want += out;
      JsonTextWriter w;
      w.WriteAttributeString("k", text);
      EXPECT_EQ(Out(w), "\"k\": \"" + want + "\"") << times;
    }
  }
  JsonTextWriter w;
  w.WriteStartElement("\xc3\xa9\xff");  // read as UTF-8: the ill-formed byte becomes U+FFFD
  w.WriteAttributeString(lu::BasicStringView<char>("id"), NyGuid{0xA, 0xB, 0xC, {0, 1, 2, 3, 4, 5, 6, 7}});
  w.WriteString(NyGuid{});
  w.WriteEndElement();
  EXPECT_EQ(Out(w), "\"\xc3\xa9\xef\xbf\xbd\": {\n \"id\": \"{0000000A-000B-000C-0001-020304050607}\",\n"
                    " \"#text\": \"{00000000-0000-0000-0000-000000000000}\"\n}");
}

}  // namespace
