// The text writers over random call sequences (fixed seed), read back by independent parsers:
// xmllint and lu::XmlReader for XML, python3's json.tool for JSON.
#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include <nybase/NYBase.h>

#include "tests/support/TestSupport.h"

using nytest::W16;

namespace {

std::mt19937 g_rng(20);
size_t R(size_t n) { return g_rng() % n; }

struct Piece {
  std::wstring wide;
  std::string utf8;  // as a parser gives it back (lone surrogates as U+FFFD)
};

// Text from pieces, starting with letters (a whitespace-only text would read as whitespace).
std::wstring RandText(bool xml, bool cdata, std::string& utf8) {
  static const std::vector<Piece> pieces = {
      {L"ab", "ab"}, {L" ", " "}, {L"&", "&"}, {L"<", "<"}, {L"\"", "\""}, {L"'", "'"}, {L"\\", "\\"},
      {L"/", "/"}, {L"\t", "\t"}, {L"\n", "\n"}, {L"\r", "\r"}, {W16(u"\u00e9\u20ac"), "\xc3\xa9\xe2\x82\xac"},
      {W16(u"\U0001F600"), "\xf0\x9f\x98\x80"}, {L"]]", "]]"}, {std::wstring{wchar_t(0xD800), L'x'}, "\xef\xbf\xbdx"},
      {std::wstring(1, wchar_t(0xDC00)), "\xef\xbf\xbd"}, {L">", ">"}};
  // JSON gets no lone surrogates (the name encoder writes them as they are); CDATA gets no ">".
  const size_t usable = pieces.size() - (xml ? (cdata ? 1 : 0) : 3);
  std::wstring text = L"ab";
  utf8 = "ab";
  for (size_t n = R(6); n > 0; --n) {
    const size_t i = R(usable);
    text += pieces[i].wide;
    utf8 += pieces[i].utf8;
  }
  return text;
}

struct Node {
  std::wstring name;
  lu::XmlElementType type = lu::XmlElementTypeObject;
  std::vector<std::tuple<std::wstring, std::wstring, std::string>> attrs;  // name, value, value in UTF-8
  std::vector<Node> kids;
  int text = -1;  // -1 none, 0 WriteString, 1 WriteCData
  std::wstring value;
  std::string value8;
};

// Sibling names are unique (JSON keys must be); some are not ASCII.
Node Gen(bool xml, int depth, size_t index) {
  static const wchar_t* names[] = {L"item", L"n\u00e9", L"\u540d", L"_x.y-z"};
  Node n;
  n.name = names[R(4)] + std::to_wstring(index);
  if (depth > 0 && R(4) == 0) n.type = R(2) ? lu::XmlElementTypeArray : lu::XmlElementTypeObjectArray;
  const bool object = n.type == lu::XmlElementTypeObject;
  for (size_t i = 0, count = object ? R(3) : 0; i < count; ++i) {
    auto& [name, value, value8] = n.attrs.emplace_back(L"a" + std::to_wstring(i), L"", "");
    value = RandText(xml, false, value8);
  }
  for (size_t i = 0, count = depth < 3 ? R(4) : 0; i < count; ++i) n.kids.push_back(Gen(xml, depth + 1, i));
  if (object && n.kids.empty() && R(3)) {
    n.text = xml ? static_cast<int>(R(2)) : 0;
    n.value = RandText(xml, n.text == 1, n.value8);
  }
  return n;
}

void Emit(lu::IXmlWriter& w, const Node& n) {
  if (R(2)) w.WriteStartElement(CStdStr<char>(n.name).c_str(), n.type);
  else w.WriteStartElement(CStdStr<wchar_t>(n.name), n.type);
  for (const auto& [name, value, value8] : n.attrs) {
    if (R(2)) w.WriteAttributeString(CStdStr<char>(name).c_str(), value);
    else w.WriteAttributeString(CStdStr<wchar_t>(name), value);
  }
  for (const Node& k : n.kids) Emit(w, k);
  n.text == 1 ? w.WriteCData(n.value) : n.text == 0 ? w.WriteString(n.value) : void();
  w.WriteEndElement();
}

std::string Replace(std::string s, const std::string& from, const std::string& to) {
  for (size_t i = 0; (i = s.find(from, i)) != std::string::npos; i += to.size()) s.replace(i, from.size(), to);
  return s;
}

struct Event {
  lu::XmlNodeType type;
  std::string text;  // name of an element, value of a text
  const Node* node;
};

// What an XML parser reports: line breaks in text normalised to LF (libxml2 leaves CDATA as it
// is), tabs in attributes to blanks.
void Events(const Node& n, std::vector<Event>& out) {
  const std::string name = CStdStr<char>(n.name);
  out.push_back({lu::XmlNodeType::Element, name, &n});
  for (const Node& k : n.kids) Events(k, out);
  if (n.text >= 0)
    out.push_back({n.text ? lu::XmlNodeType::CDATA : lu::XmlNodeType::Text,
                   n.text ? n.value8 : Replace(Replace(n.value8, "\r\n", "\n"), "\r", "\n"), nullptr});
  if (n.text >= 0 || !n.kids.empty()) out.push_back({lu::XmlNodeType::EndElement, name, nullptr});
}

// The compact form of the value that python's json module dumps (ensure_ascii off).
std::string Quote(const std::string& s) {
  std::string q = Replace(Replace(s, "\\", "\\\\"), "\"", "\\\"");
  return "\"" + Replace(Replace(Replace(q, "\n", "\\n"), "\r", "\\r"), "\t", "\\t") + "\"";
}
std::string Compact(const Node& n) {
  std::string s;
  if (n.type != lu::XmlElementTypeObject) {
    for (const Node& k : n.kids) {
      const std::string v = Compact(k);
      s += (s.empty() ? "" : ",") +
           (n.type == lu::XmlElementTypeObjectArray ? "{" + Quote(CStdStr<char>(k.name)) + ":" + v + "}" : v);
    }
    return "[" + s + "]";
  }
  if (n.attrs.empty() && n.kids.empty()) return n.text < 0 ? "{}" : Quote(n.value8);
  for (const auto& [name, v, v8] : n.attrs) s += (s.empty() ? "" : ",") + Quote(CStdStr<char>(name)) + ":" + Quote(v8);
  for (const Node& k : n.kids) s += (s.empty() ? "" : ",") + Quote(CStdStr<char>(k.name)) + ":" + Compact(k);
  if (n.text >= 0) s += (s.empty() ? "" : ",") + std::string("\"#text\":") + Quote(n.value8);
  return "{" + s + "}";
}

std::string Slurp(const std::string& path) {
  const auto bytes = nytest::ReadFileBytes(path);
  return std::string(bytes.begin(), bytes.end());
}

constexpr int k_documents = 1500;

TEST(WriterOracle, RandomXmlParsesAndReadsBack) {
  nytest::TempDir dir;
  for (int d = 0; d < k_documents; ++d) {
    const Node root = Gen(true, 0, d);
    XmlTextWriterLite w(R(2) ? VPropertyEnums::LineEndingCRLF : VPropertyEnums::LineEndingLF);
    w.WriteStartDocument();
    Emit(w, root);
    w.WriteEndDocument();
    const std::string doc(w.BufferStart(), w.BufferedSize());
    nytest::WriteFileBytes(dir.Native(std::to_string(d) + ".xml"), {doc.begin(), doc.end()});
    std::vector<Event> want;
    Events(root, want);
    lu::XmlReader r(doc.c_str(), lu::XmlReader::XmlSourceMemory);
    size_t k = 0;
    while (r.Read() && !HasFailure()) {
      const lu::XmlNodeType t = r.GetNodeType();
      if (t == lu::XmlNodeType::Whitespace || t == lu::XmlNodeType::SignificantWhitespace) continue;
      ASSERT_LT(k, want.size()) << doc;
      const Event& e = want[k++];
      EXPECT_EQ(t, e.type) << doc;
      EXPECT_EQ(t == lu::XmlNodeType::Text || t == lu::XmlNodeType::CDATA ? r.GetConstValue() : r.GetConstName(),
                e.text) << doc;
      for (size_t i = 0; e.node && i < e.node->attrs.size(); ++i) {
        const char* v = "(none)";
        r.GetConstAttribute(CStdStr<char>(std::get<0>(e.node->attrs[i])).c_str(), v);
        EXPECT_EQ(v, Replace(std::get<2>(e.node->attrs[i]), "\t", " ")) << doc;
      }
    }
    ASSERT_EQ(k, want.size()) << doc;
  }
  if (!nytest::HaveProgram("xmllint")) GTEST_SKIP() << "xmllint not installed";
  EXPECT_EQ(nytest::Run("cd '" + dir.Native() + "' && xmllint --noout *.xml"), 0);
}

TEST(WriterOracle, RandomJsonParsesToTheSameValues) {
  nytest::TempDir dir;
  std::vector<std::string> want;
  for (int d = 0; d < k_documents; ++d) {
    const Node root = Gen(false, 0, d);
    lu::JsonTextWriter w(R(2) ? VPropertyEnums::LineEndingCRLF : VPropertyEnums::LineEndingLF);
    w.WriteStartDocument();
    Emit(w, root);
    w.WriteEndDocument();
    nytest::WriteFileBytes(dir.Native(std::to_string(d) + ".json"), {w.BufferStart(), w.BufferStart() + w.BufferedSize()});
    want.push_back("{" + Quote(CStdStr<char>(root.name)) + ":" + Compact(root) + "}\n");
  }
  // json.tool itself, run once per file inside one interpreter.
  const std::string script =
      "import sys, glob, json.tool\n"
      "for f in glob.glob(sys.argv[1] + '/*.json'):\n"
      "    sys.argv = ['json.tool', '--compact', '--no-ensure-ascii', f, f + '.out']\n"
      "    json.tool.main()\n";
  std::ofstream(dir.Native("check.py")) << script;
  ASSERT_EQ(nytest::Run("/usr/bin/python3 '" + dir.Native("check.py") + "' '" + dir.Native() + "'"), 0);
  for (int d = 0; d < k_documents; ++d) {
    EXPECT_EQ(Slurp(dir.Native(std::to_string(d) + ".json.out")), want[d]) << Slurp(dir.Native(std::to_string(d) + ".json"));
  }
}

}  // namespace
