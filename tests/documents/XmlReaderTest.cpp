// lu::XmlReader: walking, element strings, attributes, markup, sources, and bad input.
#include <gtest/gtest.h>

#include <libxml/xmlreader.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <nybase/NYBase.h>

#include "XmlTestSupport.h"
#include "tests/support/TestSupport.h"

using lu::XmlNodeType;
using lu::XmlReader;
using nytest::W16;

// Callers compare node and reader types with their numbers.
static_assert(XmlNodeType::EndElement == 15 && lu::Element == 1 && lu::IXmlReaderType_JsonTextReader == 1);

namespace {

// Reaches the protected in-place element string operations.
class InPlaceReader : public XmlReader {
 public:
  using XmlReader::PostGetElementString;
  using XmlReader::PreGetElementString;
  using XmlReader::XmlReader;
};

struct Node {
  int type;
  std::string name;
  std::string value;
  bool operator==(const Node&) const = default;
};

void PrintTo(const Node& n, std::ostream* os) { *os << "{" << n.type << ", " << n.name << ", " << n.value << "}"; }

// libxml2's own reader over the same bytes, with the options the library uses, minus the
// significant whitespace that the library never shows.
std::vector<Node> RawWalk(const std::string& doc, int* significantWhitespace = nullptr) {
  std::vector<Node> nodes;
  xmlTextReaderPtr r = xmlReaderForMemory(doc.data(), static_cast<int>(doc.size()), "", nullptr, 0);
  while (xmlTextReaderRead(r) == 1) {
    const int type = xmlTextReaderNodeType(r);
    if (type == XML_READER_TYPE_SIGNIFICANT_WHITESPACE) {
      if (significantWhitespace) ++*significantWhitespace;
      continue;
    }
    const xmlChar* name = xmlTextReaderConstLocalName(r);
    const xmlChar* value = xmlTextReaderConstValue(r);
    nodes.push_back({type, name ? reinterpret_cast<const char*>(name) : "",
                     value ? reinterpret_cast<const char*>(value) : ""});
  }
  xmlFreeTextReader(r);
  return nodes;
}

std::vector<Node> Walk(XmlReader& r) {
  std::vector<Node> nodes;
  for (int guard = 0; guard < 100000 && r.Read(); ++guard) {
    nodes.push_back({static_cast<int>(r.GetNodeType()), r.GetConstName(), r.GetConstValue()});
  }
  return nodes;
}

// Reads until the reader stands on an element of that name; false at the end of the input.
bool ReadTo(XmlReader& r, const char* name) {
  while (r.Read()) {
    if (r.GetNodeType() == XmlNodeType::Element && std::strcmp(r.GetConstName(), name) == 0) return true;
  }
  return false;
}

std::string Where(const XmlReader& r) {
  return std::to_string(static_cast<int>(r.GetNodeType())) + ":" + r.GetConstName();
}

const char k_prologDoc[] =
    "<?xml version=\"1.0\"?>\n<!-- c -->\n<?pi data?>\n<!DOCTYPE r [<!ENTITY e \"E\">]>\n"
    "<r a=\"1\"><x:b xmlns:x=\"urn:x\">t&e;<![CDATA[c]]></x:b>\n  <c/></r>";

}  // namespace

TEST(XmlReaderWalk, NodesMatchLibxml2WithoutSignificantWhitespace) {
  const char* docs[] = {
      k_prologDoc,
      "<r xml:space=\"preserve\"> <b> </b> <c/> </r>",
      "<\xC3\xA4 \xC3\xB6=\"\xC3\xBC\">\xF0\x9D\x84\x9E</\xC3\xA4>",
  };
  int significant = 0;
  {  // Before the first Read the reader is at the end, on no node.
    XmlReader fresh(docs[0], XmlReader::XmlSourceMemory);
    EXPECT_TRUE(fresh.IsEOF());
    EXPECT_EQ(fresh.GetNodeType(), XmlNodeType::None);
  }
  for (const char* doc : docs) {
    SCOPED_TRACE(doc);
    XmlReader r(doc, XmlReader::XmlSourceMemory);
    const std::vector<Node> expected = RawWalk(doc, &significant);
    EXPECT_FALSE(expected.empty());
    EXPECT_EQ(Walk(r), expected);
    EXPECT_TRUE(r.IsEOF());
  }
  // The documents must really have had significant whitespace to hide (libxml2 reports
  // whitespace between elements as such, whatever xml:space says).
  EXPECT_GT(significant, 3);
}

TEST(XmlReaderElementString, GathersTheTextOfOneElement) {
  struct Case {
    const char* doc;
    std::wstring text;
    std::string after;  // node type and name where the reader stands afterwards
  };
  const Case cases[] = {
      {"<r><e>abc</e><n/></r>", L"abc", "1:n"},
      {"<r><e/><n/></r>", L"", "1:n"},
      {"<r><e>ab<![CDATA[<c>]]>de</e><n/></r>", L"ab<c>de", "1:n"},
      {"<r><e>a &amp; b&#x41;</e><n/></r>", L"a & bA", "1:n"},
      // Whitespace-only text is significant whitespace, which is never seen.
      {"<r><e>  </e><n/></r>", L"", "1:n"},
      {"<r>\n <e>\n  text\n </e>\n</r>", L"\n  text\n ", "15:r"},
      // A comment ends the gathering: the text is dropped and the reader stays on it.
      {"<r><e>ab<!--c-->de</e><n/></r>", L"", "8:#comment"},
      // One element level is looked into: a first child element gives its own text, and the
      // reader ends on the outer end tag.
      {"<r><e><i>in</i></e><n/></r>", L"in", "15:e"},
      {"<r><e><i/></e><n/></r>", L"", "1:i"},
      {"<r><e>x<i/>y</e></r>", L"", "1:i"},
      // An unsubstituted entity reference ends the gathering too.
      {"<!DOCTYPE r [<!ENTITY x \"X\">]><r><e>a&x;b</e></r>", L"", "5:x"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.doc);
    XmlReader r(c.doc, XmlReader::XmlSourceMemory);
    ASSERT_TRUE(ReadTo(r, "e"));
    EXPECT_EQ(r.ReadElementString(), c.text);
    EXPECT_EQ(Where(r), c.after);
  }
}

TEST(XmlReaderElementString, InPlaceHalves) {
  struct Case {
    const char* doc;
    bool found;
    const char* text;  // null when no text is handed out
    std::string afterPost;
  };
  const Case cases[] = {
      {"<r><e>abc</e><n/></r>", true, "abc", "15:e"},
      {"<r><e/><n/></r>", true, nullptr, "1:e"},
      {"<r><e><i/></e></r>", true, nullptr, "1:i"},
      {"<r><e><i>t</i></e></r>", true, "t", "15:i"},
      {"<r><e><!--c--></e></r>", true, nullptr, "8:#comment"},
      {"<r><e>ab<![CDATA[c]]></e></r>", true, "ab", "4:#cdata-section"},
      // Whitespace behind the text is passed over as well.
      {"<r><e><![CDATA[t]]>\n</e></r>", true, "t", "15:e"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.doc);
    InPlaceReader r(c.doc, XmlReader::XmlSourceMemory);
    ASSERT_TRUE(ReadTo(r, "e"));
    const auto [found, text] = r.PreGetElementString();
    EXPECT_EQ(found, c.found);
    if (c.text == nullptr) {
      EXPECT_EQ(text, nullptr);
    } else {
      ASSERT_NE(text, nullptr);
      EXPECT_STREQ(text, c.text);
    }
    r.PostGetElementString(text);
    EXPECT_EQ(Where(r), c.afterPost);
  }
  InPlaceReader r("<r><e/></r>", XmlReader::XmlSourceMemory);
  ASSERT_TRUE(r.Read() && r.Read() && r.Read());
  const auto [found, text] = r.PreGetElementString();
  EXPECT_FALSE(found);
  EXPECT_EQ(text, nullptr);
}

TEST(XmlReaderAttributes, FoundAndNotFound) {
  const std::string longName(255, 'n');
  const std::string tooLong(256, 'm');
  const std::string doc = "<r><e a=\"1\" b=\"x&amp;y\" x:c=\"p\" xmlns:x=\"urn:x\" n=\"\xC3\xBC\xF0\x9D\x84\x9E\" " +
                          longName + "=\"L\" " + tooLong + "=\"M\"/></r>";
  XmlReader r(doc.c_str(), XmlReader::XmlSourceMemory);
  ASSERT_TRUE(ReadTo(r, "e"));

  struct Case {
    std::string name;
    const char* value;  // null: not found
  };
  const Case cases[] = {
      {"a", "1"}, {"b", "x&y"}, {"x:c", "p"}, {"n", "\xC3\xBC\xF0\x9D\x84\x9E"}, {"zz", nullptr}, {"A", nullptr}, {"", nullptr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const char* value = "untouched";
    EXPECT_EQ(r.GetConstAttribute(c.name.c_str(), value), c.value != nullptr);
    EXPECT_STREQ(value, c.value ? c.value : "untouched");
    // The reader stays on (or goes back to) the element.
    EXPECT_EQ(Where(r), "1:e");

    const CStdStr<wchar_t> wideName(c.name);
    CStdStr<wchar_t> out = L"keep";
    EXPECT_EQ(r.GetAttribute(wideName, out), c.value != nullptr);
    EXPECT_EQ(out, c.value ? CStdStr<wchar_t>(c.value) : CStdStr<wchar_t>(L"keep"));
    EXPECT_EQ(r.GetAttribute(wideName), c.value ? CStdStr<wchar_t>(c.value) : CStdStr<wchar_t>());
    EXPECT_EQ(Where(r), "1:e");
    EXPECT_FALSE(r.HasAttribute(wideName));  // answers false for every name on this reader
  }

  // The wide lookups take names up to 255 UTF-8 bytes; the const form has no limit.
  EXPECT_EQ(r.GetAttribute(CStdStr<wchar_t>(longName)), L"L");
  CStdStr<wchar_t> out = L"keep";
  EXPECT_FALSE(r.GetAttribute(CStdStr<wchar_t>(tooLong), out));
  EXPECT_EQ(out, L"keep");
  const char* value = nullptr;
  EXPECT_TRUE(r.GetConstAttribute(tooLong.c_str(), value));
  EXPECT_STREQ(value, "M");
}

// The four markup operations as one signature: the markup taken (or null) and the reader after.
using MarkupOp = std::function<std::string(XmlReader&)>;
const std::pair<const char*, MarkupOp> k_markupOps[] = {
    {"inner buffer", [](XmlReader& r) { auto m = r.ReadInnerXmlToBuffer(); return m ? std::string(m.get()) : "<null>"; }},
    {"outer buffer", [](XmlReader& r) { auto m = r.ReadOuterXmlToBuffer(); return m ? std::string(m.get()) : "<null>"; }},
    {"inner", [](XmlReader& r) { CStdStr<wchar_t> o = L"<null>"; r.ReadInnerXml(o); return std::string(CStdStr<char>(o)); }},
    {"outer", [](XmlReader& r) { CStdStr<wchar_t> o = L"<null>"; r.ReadOuterXml(o); return std::string(CStdStr<char>(o)); }},
};

TEST(XmlReaderMarkup, InnerAndOuterXml) {
  struct Case {
    const char* doc;
    const char* expected[4];  // in the order of k_markupOps
    std::string after;
  };
  const Case cases[] = {
      {"<r><e a=\"1\">x<b>y</b></e><n/></r>", {"x<b>y</b>", "<e a=\"1\">x<b>y</b></e>", "x<b>y</b>", "<e a=\"1\">x<b>y</b></e>"}, "1:n"},
      // Empty inner markup empties the output.
      {"<r><e/><n/></r>", {"", "<e/>", "", "<e/>"}, "1:n"},
  };
  for (const Case& c : cases) {
    for (size_t op = 0; op < 4; ++op) {
      SCOPED_TRACE(std::string(c.doc) + " " + k_markupOps[op].first);
      XmlReader r(c.doc, XmlReader::XmlSourceMemory);
      ASSERT_TRUE(ReadTo(r, "e"));
      EXPECT_EQ(k_markupOps[op].second(r), c.expected[op]);
      EXPECT_EQ(Where(r), c.after);
    }
  }
}

namespace {

const char k_sourceDoc[] = "<r k=\"\xC3\xA9\"><e>\xF0\x9D\x84\x9E</e></r>";

struct SourceCase {
  const char* label;
  std::function<std::unique_ptr<XmlReader>(const nytest::TempDir&)> make;
};

}  // namespace

TEST(XmlReaderSources, MemoryTextEndsAtItsFirstNul) {
  CStdStr<wchar_t> text = L"<r/>";
  text.push_back(L'\0');
  text += L"<more/>";
  XmlReader r(text, XmlReader::XmlSourceMemory);
  xmltest::MarkErrorStore();
  EXPECT_EQ(Walk(r), (std::vector<Node>{{1, "r", ""}}));
  EXPECT_TRUE(xmltest::ErrorStoreMarked());
}

TEST(XmlReaderSources, MissingOrUnmappableFileIsAnImmediateEnd) {
  nytest::TempDir dir;
  const std::wstring missing = dir.Wide("missing.xml");
  const SourceCase cases[] = {
      {"wide", [&](auto&) { return std::make_unique<XmlReader>(CStdStr<wchar_t>(missing), XmlReader::XmlSourceFile); }},
      {"other drive", [](auto&) { return std::make_unique<XmlReader>(lu::Path(L"D:\\missing.xml")); }},
      {"UNC", [](auto&) { return std::make_unique<XmlReader>(CStdStr<wchar_t>(L"\\\\srv\\share\\x.xml"), XmlReader::XmlSourceFile); }},
      {"empty path", [](auto&) { return std::make_unique<XmlReader>("", XmlReader::XmlSourceFile); }},
      {"null buffer",
       [](auto&) {
         return std::make_unique<XmlReader>(std::unique_ptr<const char, void (*)(const char*)>(nullptr, [](const char*) {}));
       }},
  };
  for (const SourceCase& c : cases) {
    SCOPED_TRACE(c.label);
    xmltest::MarkErrorStore();
    std::unique_ptr<XmlReader> r = c.make(dir);
    // The store holds only what libxml2 reported, and it reports nothing here.
    EXPECT_EQ(lu::detail::GetXmlErrorStore().m_message, L"<marker>");
    EXPECT_TRUE(r->IsEOF());
    EXPECT_FALSE(r->Read());
    EXPECT_EQ(static_cast<int>(r->GetNodeType()), -1);  // libxml2's error result, passed on
    EXPECT_TRUE(r->IsEmptyElement());                    // an error counts as empty
    EXPECT_STREQ(r->GetConstName(), "");
    EXPECT_EQ(r->ReadElementString(), L"");
    // Only a clear "not found" is false; with no parser the lookup "finds" an empty value.
    const char* value = nullptr;
    EXPECT_TRUE(r->GetConstAttribute("a", value));
    EXPECT_STREQ(value, "");
    CStdStr<wchar_t> out = L"keep";
    EXPECT_FALSE(r->GetAttribute(L"a", out));
    r->ReadInnerXml(out);
    EXPECT_EQ(out, L"keep");
    r->Skip();
    EXPECT_TRUE(r->IsEOF());
  }
}

// Every malformed document ends the reading with libxml2's message in the store, at the line
// that libxml2's own streaming check (xmllint --stream) reports.
TEST(XmlReaderBadInput, EndsWithAnErrorInTheStore) {
  if (!nytest::HaveProgram("xmllint")) GTEST_SKIP() << "xmllint (libxml2-utils) is not installed";
  struct Case {
    const char* label;
    std::string doc;
  };
  const Case cases[] = {
      {"mismatched tags", "<a>\n<b>\n</a>\n"},
      {"truncated in text", "<a>\n<b>text"},
      {"invalid UTF-8", "<a>\n\xff</a>"},
      {"entity expansion bomb", xmltest::BillionLaughs("lolz")},
      {"undefined entity", "<a>\n&nope;</a>"},
      {"empty", ""},
      {"duplicate attribute", "<a x='1' x='2'/>"},
      {"two roots", "<a/>\n<b/>"},
  };
  nytest::TempDir dir;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const std::string path = dir.Native("bad.xml");
    nytest::WriteFileBytes(path, std::vector<uint8_t>(c.doc.begin(), c.doc.end()));
    const xmltest::LintResult lint = xmltest::RunXmllint("--stream --noout", path, dir.Native());
    ASSERT_NE(lint.exitCode, 0);
    ASSERT_FALSE(lint.errors.empty());
    const xmltest::LintError& last = lint.errors.back();

    for (int form = 0; form < 2; ++form) {
      SCOPED_TRACE(form == 0 ? "memory" : "file");
      xmltest::MarkErrorStore();
      XmlReader r = form == 0 ? XmlReader(c.doc.c_str(), XmlReader::XmlSourceMemory)
                              : XmlReader(path.c_str(), XmlReader::XmlSourceFile);
      Walk(r);
      EXPECT_TRUE(r.IsEOF());
      const lu::detail::XmlErrorStore& store = lu::detail::GetXmlErrorStore();
      ASSERT_FALSE(xmltest::ErrorStoreMarked());
      EXPECT_EQ(store.m_line, last.line);
      const CStdStr<char> message(store.m_message);
      EXPECT_EQ(message.rfind(last.message, 0), 0u) << message << " / " << last.message;
    }
  }
}

TEST(XmlReaderBadInput, WellFormedDocumentsReadToTheEndWithoutErrors) {
  const std::string bigEntity(100000, 'x');
  std::string quadratic = "<!DOCTYPE r [<!ENTITY e \"" + bigEntity + "\">]><r>";
  for (int i = 0; i < 2000; ++i) quadratic += "&e;";
  quadratic += "</r>";
  const std::string docs[] = {
      k_prologDoc,
      "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r>\xe9</r>",
      "<!DOCTYPE r SYSTEM \"not-there.dtd\"><r/>",
      "<r xmlns=\"urn:d\" xmlns:p=\"urn:p\"><p:b p:c=\"1\"/></r>",
      quadratic,  // references are not expanded, so libxml2's limits are never reached
  };
  for (const std::string& doc : docs) {
    SCOPED_TRACE(doc.substr(0, 60));
    xmltest::MarkErrorStore();
    XmlReader r(doc.c_str(), XmlReader::XmlSourceMemory);
    const std::vector<Node> nodes = Walk(r);
    ASSERT_FALSE(nodes.empty());
    EXPECT_EQ(nodes.back().name, "r") << "did not reach the end of the root";
    EXPECT_TRUE(xmltest::ErrorStoreMarked()) << CStdStr<char>(lu::detail::GetXmlErrorStore().m_message);
  }
  XmlReader latin("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>\xe9</a>", XmlReader::XmlSourceMemory);
  ASSERT_TRUE(latin.Read());
  EXPECT_EQ(latin.ReadElementString(), W16(u"\u00e9"));
}

TEST(XmlReaderBadInput, Utf16FileWithByteOrderMark) {
  nytest::TempDir dir;
  std::vector<uint8_t> bytes = {0xFF, 0xFE};
  for (const char16_t c : std::u16string(u"<a k=\"\u00e9\">\U0001D11E</a>")) nytest::PutU16(bytes, c);
  nytest::WriteFileBytes(dir.Native("u16.xml"), bytes);
  XmlReader r(lu::Path(CStdStr<wchar_t>(dir.Wide("u16.xml"))));
  ASSERT_TRUE(r.Read());
  EXPECT_EQ(r.GetAttribute(L"k"), W16(u"\u00e9"));
  EXPECT_EQ(r.ReadElementString(), W16(u"\U0001D11E"));
}

TEST(XmlReaderBadInput, ErrorsOnOtherThreadsReachTheStore) {
  xmltest::MarkErrorStore();
  std::thread worker([] {
    XmlReader r("<a>\n\n<b></a>", XmlReader::XmlSourceMemory);
    Walk(r);
  });
  worker.join();
  EXPECT_FALSE(xmltest::ErrorStoreMarked());
  EXPECT_EQ(lu::detail::GetXmlErrorStore().m_line, 3);
}
