// XmlTextWriterLite and lu::TextWriterBase: exact output, escaping, Append, file mode, hash, errors.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdio>
#include <string>

#include <nybase/NYBase.h>

#include "WriterScript.h"
#include "tests/support/TestSupport.h"

using nytest::W16;
using writertest::Out;

namespace {

std::string Xml(const std::string& script, VPropertyEnums::LineEnding le = VPropertyEnums::LineEndingLF) {
  XmlTextWriterLite w(le);
  writertest::Run(w, script);
  EXPECT_EQ(w.GetWriteCount(), w.BufferedSize());
  return Out(w);
}

TEST(XmlTextWriter, DocumentsByteForByte) {
  const char* small = "D|<a|@x=p<q|<b|'r&s|>|<c|>|>|/";
  const std::string want = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<a x=\"p&lt;q\">\n\t<b>r&amp;s</b>\n\t<c/>\n</a>\n";
  EXPECT_EQ(Xml(small), want);
  std::string crlf;
  for (char c : want) crlf += c == '\n' ? "\r\n" : std::string(1, c);
  EXPECT_EQ(Xml(small, VPropertyEnums::LineEndingCRLF), crlf);
  const std::pair<const char*, const char*> cases[] = {
      {"<a|'t|<k|~<raw/>&|>|>", "<a>t\t<k><raw/>&</k>\n</a>\n"},  // a child right behind text, with its tab
      {"<a|'|>|<b|@i=1|@i=2|>", "<a></a>\n<b i=\"1\" i=\"2\"/>\n"},  // empty text: long form; both attributes
      {"<d|!x]]>y<&|>|>", "<d><![CDATA[x]]>y<&]]></d>\n"},          // CDATA unsplit; extra end: nothing
      {"*|[arr|(e|<f|>|]|>", "<e>\n\t<f/>\n</e>\n"},                // array calls write nothing
      {"<a|'x|@late=1|>", "<a>x late=\"1\"</a>\n"},                   // no order checks
  };
  for (const auto& [script, out] : cases) EXPECT_EQ(Xml(script), out) << script;
  XmlTextWriterLite w;
  EXPECT_TRUE(w.IsReady() && w.GetReadyState() == lu::XmlWriteReadyReady && w.GetWriteState() == 5);
}

TEST(XmlTextWriter, EscapingAndEncoding) {
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
      {std::wstring(L"\x01\x1f", 2), "\x01\x1f", "\x01\x1f"},  // not escaped: no validity checks
      {W16(u"\u00e9\u20ac\U0001F600\U0010FFFF"), "\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80\xf4\x8f\xbf\xbf",
       "\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80\xf4\x8f\xbf\xbf"},
      // Values go through the codec: lone surrogates become U+FFFD, never ill-formed UTF-8.
      {W16(u"x") + wchar_t(0xD800) + L"y" + wchar_t(0xDC00), "x\xef\xbf\xbdy\xef\xbf\xbd", "x\xef\xbf\xbdy\xef\xbf\xbd"},
  };
  for (const Case& c : cases) {
    for (int times : {1, 1000}) {  // short values take the one-pass path, long ones the copy
      std::wstring in;
      std::string text, attribute;
      for (int i = 0; i < times; ++i) in += c.in, text += c.text, attribute += c.attribute;
      XmlTextWriterLite w;
      w.WriteStartElement("e");
      w.WriteAttributeString("v", in);
      w.WriteString(in);
      w.WriteEndElement();
      EXPECT_EQ(Out(w), "<e v=\"" + attribute + "\">" + text + "</e>\n") << times;
    }
  }
  // Wide names use the name encoder: a pair, a lone low surrogate (3 bytes, on purpose), and a
  // high surrogate at the end, which stops it. GUIDs in both places.
  const NyGuid g{0x01234567, 0x89ab, 0xcdef, {1, 2, 3, 4, 5, 6, 0xa7, 0xfe}};
  XmlTextWriterLite w;
  w.WriteStartElement(W16(u"n\U0001F600") + wchar_t(0xDC01) + wchar_t(0xD800));
  w.WriteAttributeString(W16(u"\u00e9"), L"1");
  w.WriteAttributeString(lu::BasicStringView<char>("id"), g);
  w.WriteString(g);
  w.WriteEndElement();
  EXPECT_EQ(Out(w), "<n\xf0\x9f\x98\x80\xed\xb0\x81 \xc3\xa9=\"1\" id=\"{01234567-89AB-CDEF-0102-03040506A7FE}\">"
                    "{01234567-89AB-CDEF-0102-03040506A7FE}</n\xf0\x9f\x98\x80\xed\xb0\x81>\n");
}

TEST(XmlTextWriter, AppendIndentsOnlyTheFirstLine) {
  XmlTextWriterLite w;
  auto frag = w.CreateWriter(VPropertyEnums::LineEndingLF);
  writertest::Run(*frag, "<f|<g|>|>");
  writertest::Run(w, "<a|<b");
  EXPECT_TRUE(w.Append(frag.get()));
  writertest::Run(w, ">|>");
  EXPECT_EQ(Out(w), "<a>\n\t<b>\t\t<f>\n\t<g/>\n</f>\n\t</b>\n</a>\n");
  EXPECT_FALSE(w.Append(&w));
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
  // xxhsum prints "XXH3 (file) = <hex>".
  ASSERT_EQ(nytest::Run("xxhsum -H3 '" + native + "' 2>/dev/null | sed 's/.* = //' > '" + out + "'"), 0);
  char mine[32];
  std::snprintf(mine, sizeof mine, "%016llx\n", static_cast<unsigned long long>(hash.Digest()));
  const auto sum = nytest::ReadFileBytes(out);
  EXPECT_EQ(std::string(sum.begin(), sum.end()), mine);
  EXPECT_EQ(hash.GetLength(), expected.size());
}

TEST(XmlTextWriter, FileErrorsAreReportedByFlags) {
  nytest::TempDir dir;
  nytest::WriteFileBytes(dir.Native("plain"), {1});  // a file where the folder should be
  XmlTextWriterLite missing(lu::Path(CStdStr<wchar_t>(dir.Native("plain/x.xml").c_str())));
  EXPECT_TRUE(!missing.IsReady() && missing.HasFileError());
  EXPECT_EQ(missing.GetReadyState(), lu::XmlWriteReadyNotReady);
  writertest::Run(missing, "D|<a|'x|@y=z|>");  // dropped, no crash
  EXPECT_EQ(missing.GetWriteCount(), 0u);
  XmlTextWriterLite full(lu::Path(L"/dev/full"));
  writertest::Run(full, "<a|>");
  EXPECT_TRUE(full.IsReady() && !full.HasWriteError());
  full.FlushBuffer();
  EXPECT_TRUE(full.HasWriteError() && !full.HasFileError());
  writertest::Run(full, "<b");  // writing goes on, the bytes are lost
  full.FlushBuffer();
  EXPECT_EQ(full.BufferedSize(), 0u);
  // Deferred opening: the file appears at the first flush; SetFilePath refuses an open file.
  XmlTextWriterLite w;
  const std::string native = dir.Native("later.xml");
  EXPECT_TRUE(w.SetFilePath(lu::Path(CStdStr<wchar_t>(native.c_str())), true));
  writertest::Run(w, "<a|>");
  struct stat st;
  EXPECT_NE(::stat(native.c_str(), &st), 0);
  w.FlushBuffer();
  EXPECT_TRUE(::stat(native.c_str(), &st) == 0 && st.st_size == 5);
  EXPECT_FALSE(w.SetFilePath(lu::Path(L"/tmp/other.xml"), false));
  // A folder chain that is not there yet is made on open.
  XmlTextWriterLite nested(lu::Path(CStdStr<wchar_t>(dir.Native("new/sub/x.xml").c_str())));
  EXPECT_TRUE(nested.IsReady());
  writertest::Run(nested, "<a|>");
  nested.FlushBuffer();
  EXPECT_TRUE(::stat(dir.Native("new/sub/x.xml").c_str(), &st) == 0 && st.st_size == 5);
}

}  // namespace
