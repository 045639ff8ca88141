// NyJsonXmlTextWriter and lu::JsonTextReader: the writer and reader interfaces over a NyJson tree.
#include <gtest/gtest.h>

#include <random>
#include <stdexcept>
#include <string>

#include <nybase/NYBase.h>

namespace jh = lu::JsonHelpers;

namespace {

NyJson EmptyMap() {
  NyJson tree;
  tree.MakeMap();
  return tree;
}

NyJson Tree(const std::string& text) {
  jh::Document doc;
  doc.Parse(text.c_str());
  NyJson tree;
  EXPECT_TRUE(jh::FromRapidJson(doc, tree)) << text;
  return tree;
}

std::string Stable(const NyJson& tree) {
  jh::Document doc;
  jh::ToStableRapidJson(tree, doc);
  return jh::ToString(doc);
}

TEST(JsonTextReader, Navigation) {
  NyJson root = Tree(R"({"Name":"root","m":{"@type":"T","Name":"N","i":7,"g":"{00000000-0000-0000-0000-0000000000AB}"},)"
                     R"("list":[{"Name":"one"},{"Name":"two"}],"e":{"a":1},"f":{"a":[1]}})");
  lu::JsonTextReader r(root);
  EXPECT_EQ(r.GetReaderType(), lu::IXmlReaderType_JsonTextReader);
  EXPECT_TRUE(r.Read() && !r.IsEOF() && r.GetName().empty() && r.ReadInnerXmlToBuffer().get() != nullptr);
  EXPECT_STREQ(r.GetConstName(), "root");
  EXPECT_FALSE(r.MoveTo(L"missing"));
  EXPECT_STREQ(r.GetConstName(), "root");
  ASSERT_TRUE(r.MoveTo(L"m"));
  EXPECT_STREQ(r.GetConstName(), "T");
  const char* out = "untouched";
  EXPECT_TRUE(r.GetConstAttribute("i", out));
  EXPECT_STREQ(out, "untouched");
  EXPECT_EQ(r.GetAttribute(L"i"), L"");
  EXPECT_TRUE(r.GetConstAttribute("g", out));
  EXPECT_STREQ(out, "{00000000-0000-0000-0000-0000000000AB}");
  EXPECT_EQ(r.GetAttribute(L"Name"), L"N");
  CStdStr<wchar_t> kept = L"kept";
  EXPECT_FALSE(r.GetAttribute(L"Name", kept));
  EXPECT_EQ(kept, L"kept");
  EXPECT_TRUE(r.HasAttribute(L"i") && !r.HasAttribute(L"x") && !r.GetConstAttribute("x", out));
  r.MoveToPrevious();
  ASSERT_TRUE(r.MoveTo(L"list"));
  EXPECT_TRUE(r.IsParentArray());
  EXPECT_FALSE(r.IsEmptyElement());
  for (const char* name : {"one", "two", "two"}) {
    r.Next();
    EXPECT_STREQ(r.GetConstName(), name);
  }
  EXPECT_EQ(r.GetNodeType(), lu::EndElement);
  r.CleanArray();
  EXPECT_EQ(r.GetNodeType(), lu::None);
  EXPECT_FALSE(r.IsParentArray());
  r.MoveToPrevious();
  EXPECT_TRUE(r.MoveTo(L"e") && r.IsEmptyElement());
  r.MoveToPrevious();
  EXPECT_TRUE(r.MoveTo(L"f") && !r.IsEmptyElement());
  r.Reset();
  EXPECT_STREQ(r.GetConstName(), "root");
  lu::JsonTextReader fresh(root);
  ASSERT_TRUE(fresh.MoveTo(L"m"));
  fresh.MoveToPrevious();
  fresh.MoveToPrevious();  // the construction's copy of the root
  EXPECT_STREQ(fresh.GetConstName(), "root");
  ASSERT_TRUE(fresh.MoveTo(L"m"));
  fresh.MoveToPrevious();
  fresh.MoveToPrevious();
  fresh.MoveToPrevious();  // empty history: nothing
  EXPECT_STREQ(fresh.GetConstName(), "root");
}

// Random documents: objects with unique attribute and child names, arrays of named objects.
struct Node {
  std::string name;
  bool array = false;
  std::vector<std::pair<std::string, std::wstring>> attrs;
  std::vector<Node> kids;
};
std::mt19937 g_rng(57);

Node Gen(const std::string& name, int depth, bool mayBeArray) {
  Node n{name, mayBeArray && depth < 4 && g_rng() % 3 == 0, {}, {}};
  if (n.array) {
    for (unsigned i = g_rng() % 4; i > 0; --i) n.kids.push_back(Gen("item", depth + 1, false));
    return n;
  }
  n.attrs.push_back({"Name", std::to_wstring(g_rng() % 1000)});
  for (unsigned i = g_rng() % 3; i > 0; --i) n.attrs.push_back({"at" + std::to_string(i), L"v\u00e9" + std::to_wstring(g_rng())});
  for (unsigned i = depth < 4 ? g_rng() % 3 : 0; i > 0; --i) n.kids.push_back(Gen("kid" + std::to_string(i), depth + 1, true));
  return n;
}

void Emit(lu::IXmlWriter& w, const Node& n) {
  w.WriteStartElement(n.name.c_str(), n.array ? lu::XmlElementTypeArray : lu::XmlElementTypeObject);
  for (const auto& [k, v] : n.attrs) w.WriteAttributeString(k.c_str(), CStdStr<wchar_t>(v));
  for (const Node& k : n.kids) Emit(w, k);
  w.WriteEndElement();
}

// The reader stands on `n`; checks it and everything under it, and comes back to it.
void Walk(lu::JsonTextReader& r, const Node& n) {
  for (const auto& [k, v] : n.attrs) EXPECT_EQ(r.GetAttribute(CStdStr<wchar_t>(k)), CStdStr<wchar_t>(v)) << k;
  EXPECT_STREQ(r.GetConstName(), CStdStr<char>(CStdStr<wchar_t>(n.attrs[0].second)).c_str());
  for (const Node& kid : n.kids) {
    ASSERT_TRUE(r.MoveTo(CStdStr<wchar_t>(kid.name.c_str())));
    if (kid.array) {
      EXPECT_EQ(r.IsEmptyElement(), kid.kids.empty());
      for (const Node& item : kid.kids) {
        r.Next();
        ASSERT_EQ(r.GetNodeType(), lu::None);
        Walk(r, item);
      }
      r.Next();
      EXPECT_EQ(r.GetNodeType(), lu::EndElement);
      r.CleanArray();
    } else {
      Walk(r, kid);
    }
    r.MoveToPrevious();
  }
}

TEST(JsonTreeXml, RandomDocumentsWrittenAndWalked) {
  for (int d = 0; d < 200; ++d) {
    const Node doc = Gen("doc", 0, false);
    NyJson target = EmptyMap();
    NyJsonXmlTextWriter w(target);
    Emit(w, doc);
    ASSERT_EQ(target.GetMap().size(), 1u);
    // The tree also survives text.
    EXPECT_EQ(Tree(jh::ToString(target)), target);
    lu::JsonTextReader r(target);
    ASSERT_TRUE(r.MoveTo(L"doc"));
    Walk(r, doc);
    r.MoveToPrevious();
    EXPECT_STREQ(r.GetConstName(), "");
  }
}

}  // namespace

TEST(NyJsonXmlTextWriter, BuildsTheTree) {
  NyJson target = EmptyMap();
  NyJsonXmlTextWriter w(target);
  EXPECT_EQ(w.CreateWriter(VPropertyEnums::LineEndingLF), nullptr);
  EXPECT_TRUE(w.IsReady() && !w.Append(&w) && w.GetWriteState() == 5 && w.GetReadyState() == 0);
  w.WriteEndElement();  // nothing open: nothing happens
  w.WriteStartElement("a", lu::XmlElementTypeObject);
  w.WriteAttributeString("x", L"1");
  w.WriteAttributeString("x", L"2");  // same name in a Map: the first stands
  w.WriteEndElement();
  w.WriteStartElement(L"list", lu::XmlElementTypeArray);
  w.WriteAttributeString(L"e", L"p");
  w.WriteAttributeString(lu::BasicStringView<char>("e"), NyGuid{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}});
  w.WriteEndElement();
  w.WriteStartElement("oa", lu::XmlElementTypeObjectArray);
  w.WriteEndElement();
  w.WriteStartElement("t", lu::XmlElementTypeObject);
  w.WriteAttributeString("gone", L"x");
  w.WriteString(L"text");  // replaces the children
  w.WriteEndElement();
  w.WriteAttributeString(lu::BasicStringView<char>(nullptr, 0), NyGuid{});  // no element open: the target
  EXPECT_EQ(w.GetOpenCount(), 0u);
  EXPECT_EQ(Stable(target),
            R"({"":"{00000000-0000-0000-0000-000000000000}","a":{"x":"1"},)"
            R"("list":["p","{00000001-0002-0003-0405-060708090A0B}"],"oa":null,"t":"text"})");
  EXPECT_TRUE(target.GetMap().at(ROString("oa")).IsEmpty());
  EXPECT_EQ(target.GetMap().at(ROString("list")).GetArray()[1].GetVariant().GetType(), NyVariant::TypeGuid);
}

TEST(NyJsonXmlTextWriter, TargetsAndBadText) {
  for (NyJson target : {NyJson(), NyJson(NyVariant(int32_t(1)))}) {
    NyJsonXmlTextWriter w(target);
    w.WriteStartElement("a");
    w.WriteEndElement();
    EXPECT_EQ(jh::ToString(target), target.IsEmpty() ? "null" : "1");  // the element is lost
  }
  NyJson target = EmptyMap();
  NyJsonXmlTextWriter w(target);
  w.WriteStartElement("a", lu::XmlElementTypeObject);
  w.WriteAttributeString("x", L"1");
  for (const std::wstring& bad : {std::wstring(1, wchar_t(0xD800)), std::wstring{wchar_t(0xDC00), L'a'},
                                 std::wstring(1, wchar_t(0x1F600))}) {
    try {
      w.WriteString(bad);
      ADD_FAILURE() << "no throw";
    } catch (const std::range_error& e) {
      EXPECT_STREQ(e.what(), "bad conversion");
    }
  }
  w.WriteString(std::wstring{wchar_t(0xD83D), wchar_t(0xDE00)});
  NyJsonXmlTextWriter copy(w);  // same target, its own frames
  copy.WriteEndElement();
  EXPECT_EQ(jh::ToString(target), "{\"a\":\"\xf0\x9f\x98\x80\"}");
  EXPECT_EQ(w.GetOpenCount(), 1u);
}
