// Schema validation: results and error positions against xmllint, the schema cache, bad input.
#include <gtest/gtest.h>

#include <libxml/parser.h>

#include <string>
#include <vector>

#include <nybase/NYBase.h>

#include "XmlTestSupport.h"
#include "tests/support/TestSupport.h"

using lu::XmlValidationErrorInfo;

namespace {

const char k_schema[] = R"(<?xml version="1.0"?>
<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema">
  <xs:include schemaLocation="types.xsd"/>
  <xs:element name="library">
    <xs:complexType>
      <xs:sequence>
        <xs:element name="book" maxOccurs="unbounded">
          <xs:complexType>
            <xs:sequence>
              <xs:element name="title" type="xs:string"/>
              <xs:element name="year" type="yearType"/>
            </xs:sequence>
            <xs:attribute name="id" type="xs:positiveInteger" use="required"/>
          </xs:complexType>
        </xs:element>
      </xs:sequence>
    </xs:complexType>
  </xs:element>
</xs:schema>
)";

// Included by the main schema, found relative to it.
const char k_types[] = R"(<?xml version="1.0"?>
<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema">
  <xs:simpleType name="yearType">
    <xs:restriction base="xs:gYear"/>
  </xs:simpleType>
</xs:schema>
)";

void WriteText(const std::string& path, const std::string& text) {
  nytest::WriteFileBytes(path, std::vector<uint8_t>(text.begin(), text.end()));
}

// A record that no validation result looks like, to see what a call touched.
XmlValidationErrorInfo Sentinel() {
  XmlValidationErrorInfo info;
  info.m_code = 99;
  info.m_line = info.m_column = -1;
  info.m_message = info.m_filePath = L"sentinel";
  return info;
}

std::string Trimmed(const CStdStr<wchar_t>& message) {
  std::string s = CStdStr<char>(message);
  while (!s.empty() && s.back() == '\n') s.pop_back();
  return s;
}

class XmlValidation : public ::testing::Test {
 protected:
  void SetUp() override {
    WriteText(m_dir.Native("library.xsd"), k_schema);
    WriteText(m_dir.Native("types.xsd"), k_types);
    m_schema = m_dir.Wide("library.xsd");
  }
  nytest::TempDir m_dir;
  CStdStr<wchar_t> m_schema;
};

}  // namespace

TEST_F(XmlValidation, FileResultsAndPositionsMatchXmllint) {
  if (!nytest::HaveProgram("xmllint")) GTEST_SKIP() << "xmllint (libxml2-utils) is not installed";
  enum Expect { Valid, Invalid, NotWellFormed };
  struct Case {
    const char* label;
    std::string doc;
    Expect expect;
  };
  const Case cases[] = {
      {"valid", "<library>\n <book id=\"1\"><title>T</title><year>1999</year></book>\n</library>\n", Valid},
      {"wrong order", "<library>\n <book id=\"1\">\n  <year>1999</year>\n  <title>T</title>\n </book>\n</library>\n", Invalid},
      {"bad attribute value", "<library>\n\n <book id=\"x\"><title>T</title><year>1999</year></book>\n</library>\n", Invalid},
      {"bad included type", "<library>\n <book id=\"1\"><title>T</title>\n<year>later</year></book>\n</library>\n", Invalid},
      {"two errors, the last one counts",
       "<library>\n <book id=\"0\"><title>T</title><year>1999</year></book>\n\n\n <book id=\"3\"><title>T</title><year>x</year></book>\n</library>\n",
       Invalid},
      {"not well-formed", "<library>\n <book id=\"1\">\n</library>\n", NotWellFormed},
      {"empty file", "", NotWellFormed},
      {"entity expansion bomb", xmltest::BillionLaughs("library"), NotWellFormed},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const std::string docPath = m_dir.Native("doc.xml");
    WriteText(docPath, c.doc);
    const xmltest::LintResult lint =
        xmltest::RunXmllint("--noout --schema '" + m_dir.Native("library.xsd") + "'", docPath, m_dir.Native());

    xmltest::MarkErrorStore();
    XmlValidationErrorInfo info = Sentinel();
    const CStdStr<wchar_t> docWide = m_dir.Wide("doc.xml");
    const bool valid = lu::ValidateXmlFile(docWide, m_schema, info);
    EXPECT_EQ(valid, c.expect == Valid);
    switch (c.expect) {
      case Valid:
        EXPECT_EQ(lint.exitCode, 0);
        EXPECT_EQ(info.m_code, 99);  // untouched on success
        EXPECT_EQ(info.m_message, L"sentinel");
        break;
      case Invalid: {
        EXPECT_EQ(lint.exitCode, 3);
        ASSERT_FALSE(lint.errors.empty());
        const xmltest::LintError& last = lint.errors.back();
        EXPECT_EQ(last.kind, "Schemas validity");
        EXPECT_EQ(info.m_code, XmlValidationErrorInfo::k_documentInvalid);
        EXPECT_EQ(info.m_line, last.line);
        EXPECT_EQ(Trimmed(info.m_message), last.message);
        EXPECT_EQ(info.m_filePath, L"sentinel");  // set only for an unreadable document
        break;
      }
      case NotWellFormed: {
        EXPECT_EQ(lint.exitCode, 1);
        ASSERT_FALSE(lint.errors.empty());
        EXPECT_EQ(info.m_code, XmlValidationErrorInfo::k_documentUnreadable);
        EXPECT_EQ(info.m_filePath, docWide);
        EXPECT_EQ(info.m_message, L"sentinel");  // no message for this code...
        EXPECT_EQ(info.m_line, -1);
        // ...but the parser's error is in the store, where xmllint saw it.
        ASSERT_FALSE(xmltest::ErrorStoreMarked());
        EXPECT_EQ(lu::detail::GetXmlErrorStore().m_line, lint.errors.back().line);
        break;
      }
    }
  }
}

TEST_F(XmlValidation, MissingDocumentsAndBadPaths) {
  const CStdStr<wchar_t> paths[] = {m_dir.Wide("nothing.xml"), L"D:\\doc.xml", L"", m_dir.Wide()};
  for (const CStdStr<wchar_t>& path : paths) {
    SCOPED_TRACE(CStdStr<char>(path));
    XmlValidationErrorInfo info = Sentinel();
    EXPECT_FALSE(lu::ValidateXmlFile(path, m_schema, info));
    EXPECT_EQ(info.m_code, XmlValidationErrorInfo::k_documentUnreadable);
    EXPECT_EQ(info.m_filePath, path);
    EXPECT_EQ(info.m_message, L"sentinel");
  }
}

// The store is shared by every libxml2 user of the process: a reader's parse error is the
// message that a later validation failure without an error of its own reports.
TEST_F(XmlValidation, StoreIsSharedWithTheReader) {
  WriteText(m_dir.Native("bad.xsd"), "no schema");
  XmlValidationErrorInfo info = Sentinel();
  ASSERT_FALSE(lu::ValidateXmlFile(m_dir.Wide("library.xsd"), m_dir.Wide("bad.xsd"), info));

  lu::XmlReader r("<a>\n<b></a>", lu::XmlReader::XmlSourceMemory);
  while (r.Read()) {
  }
  xmlDocPtr doc = xmlReadMemory("<library/>", 10, "", nullptr, 0);
  ASSERT_NE(doc, nullptr);
  info = Sentinel();
  EXPECT_FALSE(lu::ValidateXmlDoc(doc, m_dir.Wide("bad.xsd"), info));
  xmlFreeDoc(doc);
  EXPECT_EQ(info.m_code, XmlValidationErrorInfo::k_schemaInvalid);
  EXPECT_NE(info.m_message.find(L"Opening and ending tag mismatch"), std::wstring::npos) << Trimmed(info.m_message);
  EXPECT_EQ(info.m_line, 2);
  EXPECT_GT(info.m_column, 0);
}
