// lu::JsonTextWriter: the documented shapes byte for byte, element types, typed arrays, escaping.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include <nybase/NYBase.h>

#include "tests/support/TestSupport.h"

using lu::JsonTextWriter;
using nytest::W16;

namespace {

std::string Out(const lu::TextWriterBase& w) { return std::string(w.BufferStart(), w.BufferedSize()); }

// The document made by `body` between WriteStartDocument and WriteEndDocument.
std::string Doc(const std::function<void(JsonTextWriter&)>& body,
                VPropertyEnums::LineEnding le = VPropertyEnums::LineEndingLF) {
  JsonTextWriter w(le);
  w.WriteStartDocument();
  body(w);
  w.WriteEndDocument();
  return Out(w);
}

TEST(JsonTextWriter, DocumentedShapesByteForByte) {
  struct Case {
    const char* what;
    std::function<void(JsonTextWriter&)> body;
    const char* want;
  };
  const Case cases[] = {
      {"nothing", [](JsonTextWriter&) {}, "{\n \n}"},
      {"members",
       [](JsonTextWriter& w) {
         w.WriteStartElement("a");
         w.WriteAttributeString("x", L"1");
         w.WriteStartElement(CStdStr<wchar_t>(L"b"));
         w.WriteString(L"t");
         w.WriteEndElement();
         w.WriteEndElement();
       },
       "{\n \"a\": {\n  \"x\": \"1\",\n  \"b\": \"t\"\n }\n}"},
      {"empty object, array, object array, empty text",
       [](JsonTextWriter& w) {
         for (auto t : {lu::XmlElementTypeObject, lu::XmlElementTypeArray, lu::XmlElementTypeObjectArray}) {
           w.WriteStartElement("e", t);
           w.WriteEndElement();
         }
         w.WriteStartElement("s");
         w.WriteString(L"");
         w.WriteEndElement();
       },
       "{\n \"e\": {},\n \"e\": [],\n \"e\": [],\n \"s\": \"\"\n}"},
      {"attribute and text",
       [](JsonTextWriter& w) {
         w.WriteStartElement("e");
         w.WriteAttributeString(lu::BasicStringView<char>("id"), NyGuid{0xA, 0xB, 0xC, {0, 1, 2, 3, 4, 5, 6, 7}});
         w.WriteCData(L"t");
         w.WriteEndElement();
       },
       "{\n \"e\": {\n  \"id\": \"{0000000A-000B-000C-0001-020304050607}\",\n  \"#text\": \"t\"\n }\n}"},
      {"array of values",
       [](JsonTextWriter& w) {
         w.BeginArrayElement(L"items");
         for (int i = 0; i < 2; ++i) {
           w.WriteStartElement("i");
           w.WriteString(L"v");
           w.WriteEndElement();
         }
         w.EndArrayElement();
       },
       "{\n \"items\": [\n  \"v\",\n  \"v\"\n ]\n}"},
      {"object array",
       [](JsonTextWriter& w) {
         w.WriteStartElement("items", lu::XmlElementTypeObjectArray);
         for (int i = 0; i < 2; ++i) {
           w.WriteStartElement("i");
           w.WriteString(L"v");
           w.WriteEndElement();
         }
         w.WriteEndElement();
       },
       "{\n \"items\": [\n  {\n   \"i\": \"v\"\n  },\n  {\n   \"i\": \"v\"\n  }\n ]\n}"},
      {"nested arrays and an object in an array",
       [](JsonTextWriter& w) {
         w.BeginArrayElement(L"m");
         w.BeginArrayElement(L"row");
         w.WriteStartElement("c");
         w.WriteString(NyGuid{});
         w.WriteEndElement();
         w.EndArrayElement();
         w.WriteStartElement("o");
         w.WriteAttributeString(L"k", L"v");
         w.WriteEndElement();
         w.EndArrayElement();
       },
       "{\n \"m\": [\n  [\n   \"{00000000-0000-0000-0000-000000000000}\"\n  ],\n  {\n   \"k\": \"v\"\n  }\n ]\n}"},
      {"unescaped key, text at document level",
       [](JsonTextWriter& w) {
         w.WriteStartElement("q\"k");
         w.WriteEndElement();
         JsonTextWriter* p = &w;
         p->WriteEndElement();  // nothing open: nothing written
       },
       "{\n \"q\"k\": {}\n}"},
  };
  for (const Case& c : cases) EXPECT_EQ(Doc(c.body), c.want) << c.what;
  JsonTextWriter w;
  w.WriteStartDocument();
  w.WriteString(L"x");  // no key, so no opening quote (no order checks)
  EXPECT_EQ(Out(w), "{\n x\"");
}

// A typed array around an object with a member, an empty object and an untyped inner array.
void TypedArray(JsonTextWriter& w) {
  w.WantsTypeAttributeInArray();
  w.BeginArrayElement(L"list");
  w.WriteStartElement("obj");
  w.WriteAttributeString("k", L"v");
  w.WriteEndElement();
  w.WriteStartElement("empty");
  w.WriteEndElement();
  w.BeginArrayElement(L"inner");
  w.WriteStartElement("x");
  w.WriteString(L"1");
  w.WriteEndElement();
  w.EndArrayElement();  // any "]" lowers the count: the next object below gets no "@type"
  w.WriteStartElement("late");
  w.WriteAttributeString("k", L"v");
  w.WriteEndElement();
  w.EndArrayElement();
}

TEST(JsonTextWriter, TypedArraysAndLineEndings) {
  const std::string lf =
      "{\n \"list\": [\n  {\n   \"@type\": \"obj\",\n   \"k\": \"v\"\n  },\n  {},\n  [\n   \"1\"\n  ],\n"
      "  {\n   \"k\": \"v\"\n  }\n ]\n}";
  EXPECT_EQ(Doc(TypedArray), lf);
  // CR LF everywhere but behind the "@type" line, which keeps a bare LF.
  std::string crlf;
  for (char c : lf) crlf += c == '\n' ? "\r\n" : std::string(1, c);
  crlf.replace(crlf.find("\"obj\",\r\n"), 8, "\"obj\",\n");
  EXPECT_EQ(Doc(TypedArray, VPropertyEnums::LineEndingCRLF), crlf);
}

TEST(JsonTextWriter, EscapingAndEncoding) {
  struct Case {
    std::wstring in;
    std::string out;
  };
  const Case cases[] = {
      {L"a\"b\\c/d'", "a\\\"b\\\\c/d'"},
      {std::wstring(L"\b\f\n\r\t\x01", 6), std::string("\\b\\f\\n\\r\\t\x01", 11)},  // other controls pass
      {W16(u"\u00e9\U0001F600"), "\xc3\xa9\xf0\x9f\x98\x80"},
      // The name encoder: a lone low surrogate is 3 bytes, a final high surrogate is dropped.
      {W16(u"a") + wchar_t(0xDC00) + wchar_t(0xD800), "a\xed\xb0\x80"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Doc([&](JsonTextWriter& w) { w.WriteAttributeString("k", c.in); }), "{\n \"k\": \"" + c.out + "\"\n}");
  }
  // Narrow names are read as UTF-8: ill-formed bytes come out as U+FFFD, like the wide form.
  EXPECT_EQ(Doc([](JsonTextWriter& w) {
              w.WriteStartElement("\xc3\xa9\xff");
              w.WriteRaw(L"<1>");
              w.WriteEndElement();
            }),
            "{\n \"\xc3\xa9\xef\xbf\xbd\": <1>{}\n}");
}

TEST(JsonTextWriter, AppendAndCreateWriter) {
  JsonTextWriter w;
  auto frag = w.CreateWriter(VPropertyEnums::LineEndingLF);
  frag->WriteStartElement("b");
  frag->WriteString(L"2");
  frag->WriteEndElement();
  w.WriteStartDocument();
  w.WriteStartElement("a");
  w.WriteString(L"1");
  w.WriteEndElement();
  EXPECT_TRUE(w.Append(frag.get()));
  w.WriteEndDocument();
  EXPECT_EQ(Out(w), "{\n \"a\": \"1\",\n \"b\": \"2\"\n}");
  EXPECT_FALSE(w.Append(&w));
}

}  // namespace
