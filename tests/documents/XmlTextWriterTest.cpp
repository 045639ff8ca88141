// XmlTextWriterLite and lu::TextWriterBase: exact output, escaping, Append, file mode, hash, errors.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdio>
#include <fstream>
#include <string>

#include <nybase/NYBase.h>

#include "tests/support/TestSupport.h"

using nytest::W16;

namespace {

std::string Out(const lu::TextWriterBase& w) { return std::string(w.BufferStart(), w.BufferedSize()); }

TEST(XmlTextWriter, SmallDocumentByteForByte) {
  for (auto le : {VPropertyEnums::LineEndingLF, VPropertyEnums::LineEndingCRLF}) {
    XmlTextWriterLite w(le);
    w.WriteStartDocument();
    w.WriteStartElement("a");
    w.WriteAttributeString("x", L"p<q");
    w.WriteStartElement(CStdStr<wchar_t>(L"b"));
    w.WriteString(L"r&s");
    w.WriteEndElement();
    w.WriteStartElement("c");
    w.WriteEndElement();
    w.WriteEndElement();
    w.WriteEndDocument();
    std::string want =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<a x=\"p&lt;q\">\n\t<b>r&amp;s</b>\n\t<c/>\n</a>\n";
    if (le == VPropertyEnums::LineEndingCRLF) {
      for (size_t i = 0; (i = want.find('\n', i)) != std::string::npos; i += 2) want.insert(i, "\r");
    }
    EXPECT_EQ(Out(w), want);
    EXPECT_TRUE(w.IsReady());
    EXPECT_EQ(w.GetReadyState(), lu::XmlWriteReadyReady);
    EXPECT_EQ(w.GetWriteState(), lu::XmlWriteStateConstant);
    EXPECT_EQ(w.GetWriteCount(), want.size());
  }
}

TEST(XmlTextWriter, EscapingOfTextAndAttributes) {
  struct Case {
    std::wstring in;
    const char* text;
    const char* attribute;
  };
  const Case cases[] = {
      {L"plain 'quoted' /", "plain 'quoted' /", "plain 'quoted' /"},
      {L"a&b<c>d\"e", "a&amp;b&lt;c&gt;d\"e", "a&amp;b&lt;c&gt;d&quot;e"},
      {L"l1\r\nl2\tx", "l1\r\nl2\tx", "l1&#13;&#10;l2\tx"},
      {L"&amp;", "&amp;amp;", "&amp;amp;"},
      {std::wstring(L"\x01\x1f", 2), "\x01\x1f", "\x01\x1f"},  // not escaped: no order or validity checks
      {W16(u"\u00e9\u20ac\U0001F600"), "\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80", "\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80"},
      // Values go through the codec: lone surrogates become U+FFFD, never ill-formed UTF-8.
      {W16(u"x") + wchar_t(0xD800) + L"y" + wchar_t(0xDC00), "x\xef\xbf\xbdy\xef\xbf\xbd", "x\xef\xbf\xbdy\xef\xbf\xbd"},
  };
  for (const Case& c : cases) {
    XmlTextWriterLite w;
    w.WriteStartElement("e");
    w.WriteAttributeString("v", c.in);
    w.WriteString(c.in);
    w.WriteEndElement();
    EXPECT_EQ(Out(w), std::string("<e v=\"") + c.attribute + "\">" + c.text + "</e>\n");
  }
}

TEST(XmlTextWriter, NamesUseTheNameEncoder) {
  XmlTextWriterLite w;
  // A pair, a lone low surrogate (3 bytes, on purpose) and a high surrogate at the end (stops).
  w.WriteStartElement(W16(u"n\U0001F600") + wchar_t(0xDC01) + wchar_t(0xD800));
  w.WriteAttributeString(W16(u"\u00e9"), L"1");
  w.WriteEndElement();
  w.WriteStartElement("\xc3\xa9");  // narrow names are copied as they are
  w.WriteString(L"");
  w.WriteEndElement();
  EXPECT_EQ(Out(w), "<n\xf0\x9f\x98\x80\xed\xb0\x81 \xc3\xa9=\"1\"/>\n<\xc3\xa9></\xc3\xa9>\n");
}

TEST(XmlTextWriter, CallSequences) {
  NyGuid g{0x01234567, 0x89ab, 0xcdef, {1, 2, 3, 4, 5, 6, 0xa7, 0xfe}};
  XmlTextWriterLite w;
  w.WriteStartElement("r", lu::XmlElementTypeArray);
  w.WriteAttributeString(lu::BasicStringView<char>("id"), g);
  w.WriteAttributeString("id", L"dup");  // both written
  w.WriteString(L"t");
  w.WriteStartElement("k");  // right behind the text, with its tab
  w.WriteRaw(L"<raw/>&");
  w.WriteEndElement();
  w.WriteStartElement("g");
  w.WriteString(g);
  w.WriteEndElement();
  w.BeginArrayElement(L"ignored");
  w.WantsTypeAttributeInArray();
  w.WriteStartElement("d");
  w.WriteCData(L"x]]>y<&");
  w.EndArrayElement();
  w.WriteEndElement();
  w.WriteEndElement();  // nothing open: writes nothing
  EXPECT_EQ(Out(w),
            "<r id=\"{01234567-89AB-CDEF-0102-03040506A7FE}\" id=\"dup\">t\t<k><raw/>&</k>\n"
            "\t<g>{01234567-89AB-CDEF-0102-03040506A7FE}</g>\n"
            "\t<d><![CDATA[x]]>y<&]]></d>\n</r>\n");
}

TEST(XmlTextWriter, AppendIndentsOnlyTheFirstLine) {
  XmlTextWriterLite w;
  auto frag = w.CreateWriter(VPropertyEnums::LineEndingLF);
  frag->WriteStartElement("f");
  frag->WriteStartElement("g");
  frag->WriteEndElement();
  frag->WriteEndElement();
  w.WriteStartElement("a");
  w.WriteStartElement("b");
  EXPECT_TRUE(w.Append(frag.get()));
  w.WriteEndElement();
  w.WriteEndElement();
  EXPECT_EQ(Out(w), "<a>\n\t<b>\t\t<f>\n\t<g/>\n</f>\n\t</b>\n</a>\n");
  EXPECT_FALSE(w.Append(&w));
  lu::JsonTextWriter json;
  EXPECT_TRUE(w.Append(&json));  // same family: its (empty) buffer is copied
}

TEST(XmlTextWriter, FileModeHashMatchesXxhsum) {
  nytest::TempDir dir;
  const std::string native = dir.Native("big.xml");
  NY::XXHash hash;
  std::string expected;
  {
    XmlTextWriterLite mem;
    XmlTextWriterLite file(lu::Path(CStdStr<wchar_t>(native.c_str())));
    ASSERT_TRUE(file.IsReady());
    file.SetHash(&hash);
    for (auto* w : {&mem, &file}) {
      w->WriteStartDocument();
      w->WriteStartElement("root");
      for (int i = 0; i < 4000; ++i) {
        w->WriteStartElement("item");
        w->WriteAttributeString("n", CStdStr<wchar_t>(std::to_wstring(i)));
        w->WriteString(i % 100 ? L"text & <more>" : std::wstring(30000, L'x'));  // some beyond the margin
        w->WriteEndElement();
      }
      w->WriteEndElement();
    }
    expected = Out(mem);
    ASSERT_GT(expected.size(), 4u * XmlTextWriterLite::k_initialSize);
    EXPECT_EQ(file.GetWriteCount(), expected.size());
    EXPECT_LT(file.BufferedSize(), XmlTextWriterLite::k_initialSize);  // flushed as it went
  }  // the destructor flushes the rest
  const auto bytes = nytest::ReadFileBytes(native);
  EXPECT_TRUE(std::string(bytes.begin(), bytes.end()) == expected);
  if (!nytest::HaveProgram("xxhsum")) GTEST_SKIP() << "xxhsum not installed";
  const std::string out = dir.Native("sum.txt");
  ASSERT_EQ(nytest::Run("xxhsum -H3 '" + native + "' > '" + out + "' 2>/dev/null"), 0);
  std::ifstream in(out);
  std::string sum, word;
  while (in >> word) sum = word;  // "XXH3 (file) = <hex>"
  char mine[32];
  std::snprintf(mine, sizeof mine, "%016llx", static_cast<unsigned long long>(hash.Digest()));
  EXPECT_EQ(sum, mine);
  EXPECT_EQ(hash.GetLength(), expected.size());
}

TEST(XmlTextWriter, FileErrorsAreReportedByFlags) {
  nytest::TempDir dir;
  {
    XmlTextWriterLite w(lu::Path(CStdStr<wchar_t>(dir.Native("missing/x.xml").c_str())));
    EXPECT_FALSE(w.IsReady());
    EXPECT_EQ(w.GetReadyState(), lu::XmlWriteReadyNotReady);
    EXPECT_TRUE(w.HasFileError());
    w.WriteStartElement("a");  // dropped, no crash
    w.WriteString(L"x");
    w.WriteEndElement();
    EXPECT_EQ(w.GetWriteCount(), 0u);
  }
  {
    XmlTextWriterLite w(lu::Path(L"/dev/full"));
    ASSERT_TRUE(w.IsReady());
    w.WriteStartElement("a");
    w.WriteEndElement();
    EXPECT_FALSE(w.HasWriteError());
    w.FlushBuffer();
    EXPECT_TRUE(w.HasWriteError());
    EXPECT_FALSE(w.HasFileError());
    w.WriteStartElement("b");  // writing goes on, the bytes are lost
    w.FlushBuffer();
    EXPECT_EQ(w.BufferedSize(), 0u);
  }
  // Deferred opening: the file appears at the first flush; SetFilePath refuses an open file.
  XmlTextWriterLite w;
  const std::string native = dir.Native("later.xml");
  EXPECT_TRUE(w.SetFilePath(lu::Path(CStdStr<wchar_t>(native.c_str())), true));
  w.WriteStartElement("a");
  w.WriteEndElement();
  struct stat st;
  EXPECT_NE(::stat(native.c_str(), &st), 0);
  w.FlushBuffer();
  EXPECT_EQ(::stat(native.c_str(), &st), 0);
  EXPECT_EQ(st.st_size, 5);
  EXPECT_FALSE(w.SetFilePath(lu::Path(L"/tmp/other.xml"), false));
}

}  // namespace
