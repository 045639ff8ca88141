// lu::JsonHelpers and the NyJson tree: tag choices, text forms, merging, errors, deep input, and
// random trees checked against python's json module.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <random>
#include <string>

#include <nybase/NYBase.h>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "tests/support/TestSupport.h"

namespace jh = lu::JsonHelpers;

namespace {

// Parses text into a tree; fails the test when the text doesn't parse.
NyJson Tree(const std::string& text) {
  jh::Document doc;
  NyError* error = nullptr;
  jh::ReadStream(text.data(), unsigned(text.size()), doc, error);
  EXPECT_EQ(error, nullptr) << text;
  delete error;
  NyJson tree;
  EXPECT_TRUE(jh::FromRapidJson(doc, tree)) << text;
  return tree;
}

TEST(JsonHelpers, ScalarTagsAndTextForms) {
  const struct { const char* in; uint32_t tag; const char* out; } cases[] = {
      {"5", NyVariant::TypeInt32, "5"},
      {"3000000000", NyVariant::TypeUInt32, "3000000000"},
      {"-3000000000", NyVariant::TypeInt64, "-3000000000"},
      {"18446744073709551615", NyVariant::TypeUInt64, "18446744073709551615"},
      {"5.0", NyVariant::TypeDouble, "5.0"},
      {"-0.0", NyVariant::TypeDouble, "-0.0"},
      {"1.5e-7", NyVariant::TypeDouble, "1.5e-7"},
      {"true", NyVariant::TypeBool, "true"},
      {"\"a\\u0000b\"", NyVariant::TypeString, "\"a\""},
      {"\"{00000000-0000-0000-0000-000000000000}\"", NyVariant::TypeGuid, "\"{00000000-0000-0000-0000-000000000000}\""},
      {"\"{0a1b2c3d-4e5f-6a7b-8c9d-0e1f2a3b4c5d}\"", NyVariant::TypeGuid, "\"{0A1B2C3D-4E5F-6A7B-8C9D-0E1F2A3B4C5D}\""},
      {"\"{0a1b2c3d-4e5f-6a7b-8c9d-0e1f2a3b4c5g}\"", NyVariant::TypeString, "\"{0a1b2c3d-4e5f-6a7b-8c9d-0e1f2a3b4c5g}\""},
      {"\"{0a1b2c3d-4e5f-6a7b-8c9d+0e1f2a3b4c5d}\"", NyVariant::TypeString, "\"{0a1b2c3d-4e5f-6a7b-8c9d+0e1f2a3b4c5d}\""},
  };
  for (const auto& c : cases) {
    const NyJson tree = Tree(std::string("[") + c.in + "]");
    ASSERT_TRUE(tree.IsArray() && tree.GetArray().size() == 1 && tree.GetArray()[0].IsVariant()) << c.in;
    EXPECT_EQ(tree.GetArray()[0].GetVariant().GetType(), c.tag) << c.in;
    EXPECT_EQ(jh::ToString(tree), std::string("[") + c.out + "]") << c.in;
  }
  // GUID byte order: the first three groups little-endian, the rest in text order.
  const NyGuid g = Tree("\"{00112233-4455-6677-8899-AABBCCDDEEFF}\"").GetVariant().GetGuid();
  EXPECT_EQ(g.Data1, 0x00112233u);
  EXPECT_EQ(g.Data3, 0x6677u);
  EXPECT_EQ(g.Data4[0], 0x88);
  EXPECT_EQ(g.Data4[7], 0xFF);
}

TEST(JsonHelpers, MergeMaps) {
  const struct { const char* a; const char* b; bool append; const char* want; } cases[] = {
      {R"({"a":[1]})", R"({"a":[2],"b":3})", true, R"({"a":[1,2],"b":3})"},
      {R"({"a":[1]})", R"({"a":[2],"b":3})", false, R"({"a":[2],"b":3})"},
      {R"({"a":{"x":1}})", R"({"a":{"y":2}})", true, R"({"a":{"y":2}})"},
      {R"({"a":{"x":1}})", R"({"a":{"y":2}})", false, R"({"a":{"y":2}})"},
      {R"({"a":[1]})", R"({"a":"s"})", true, R"({"a":"s"})"},
  };
  for (const auto& c : cases) {
    NyJson merged(jh::MergeMaps(Tree(c.a).GetMap(), Tree(c.b).GetMap(), c.append));
    jh::Document doc;
    jh::ToStableRapidJson(merged, doc);
    EXPECT_EQ(jh::ToString(doc), c.want) << c.a << " + " << c.b;
  }
  NyJson self = Tree(R"({"a":[1,2]})");
  jh::MergeMapsInPlace(self.GetMap(), self.GetMap(), true);
  EXPECT_EQ(jh::ToString(self), R"({"a":[1,2,1,2]})");
  const NyJson fallback;
  EXPECT_EQ(&jh::MapOrDefault(self.GetMap(), ROString("zz"), fallback), &fallback);
  EXPECT_EQ(&jh::MapOrDefault(self.GetMap(), ROString("a"), fallback), &self.GetMap().at(ROString("a")));
}

TEST(JsonHelpers, ReadErrors) {
  const struct { std::string text; rapidjson::ParseErrorCode code; } cases[] = {
      {"null", rapidjson::kParseErrorNone},
      {R"({"a":)", rapidjson::kParseErrorValueInvalid},
      {R"([1,2)", rapidjson::kParseErrorArrayMissCommaOrSquareBracket},
      {"", rapidjson::kParseErrorDocumentEmpty},
      {"[1] x", rapidjson::kParseErrorDocumentRootNotSingular},
      {"/*c*/[1]", rapidjson::kParseErrorValueInvalid},
      {std::string(100000, '['), rapidjson::kParseErrorValueInvalid},  // depth guard, not the stack
      {std::string(100000, '{'), rapidjson::kParseErrorObjectMissName},
  };
  for (const auto& c : cases) {
    jh::Document doc;
    NyError* error = nullptr;
    jh::ReadStream(c.text.data(), unsigned(c.text.size()), doc, error);
    ASSERT_NE(error, nullptr) << c.text.substr(0, 20);
    EXPECT_EQ(error->uri, "ny.velmoor.invalid_json");
    EXPECT_EQ(error->message, "Could not parse json stream.");
    EXPECT_TRUE(error->details.IsMap() && error->details.GetMap().empty());
    EXPECT_EQ(doc.GetParseError(), c.code) << c.text.substr(0, 20) << ": " << rapidjson::GetParseError_En(doc.GetParseError());
    const std::string text = jh::ToString(error);
    EXPECT_EQ(Tree(text), Tree(R"({"uri":"ny.velmoor.invalid_json","message":"Could not parse json stream.","details":{}})"));
    delete error;
  }
  // Comments only when asked for; a failed parse over a non-null root goes unreported.
  jh::Document doc;
  NyError* error = nullptr;
  jh::ReadStream("/*c*/[1] // x\n", 14, doc, error, true);
  EXPECT_EQ(error, nullptr);
  jh::ReadStream("[", 1, doc, error);
  EXPECT_EQ(error, nullptr);
  EXPECT_EQ(jh::ToString(doc), "[1]");
  // A good parse after a failed one leaves no error behind.
  jh::ReadStream("[2]", 3, doc, error);
  EXPECT_TRUE(error == nullptr && !doc.HasParseError() && doc.GetErrorOffset() == 0 && jh::ToString(doc) == "[2]");
  // Exactly the nesting limit parses; one more doesn't.
  for (int depth : {jh::k_maxDepth, jh::k_maxDepth + 1}) {
    const std::string text = std::string(depth, '[') + std::string(depth, ']');
    jh::Document deep;
    jh::ReadStream(text.data(), unsigned(text.size()), deep, error);
    EXPECT_EQ(error != nullptr, depth > jh::k_maxDepth);
    NyJson tree;
    if (!error) {
      EXPECT_TRUE(jh::FromRapidJson(deep, tree) && jh::ToString(tree) == text);
    }
    delete error;
    error = nullptr;
  }
}

// Strings of every length around the word size, with each kind of byte at each place, as value
// and as key: the tree's compact text is rapidjson's Writer's, byte for byte.
TEST(JsonHelpers, CompactTextEscapesAsTheWriter) {
  const char specials[] = {'\0', '\x01', '\x1f', ' ', '"', '\\', '/', '\x7f', '\x80', '\xff', '\n', '\t', '\b'};
  for (size_t length = 0; length <= 20; ++length) {
    for (size_t at = 0; at < std::max<size_t>(length, 1); ++at) {
      for (char special : specials) {
        std::string text(length, 'x');
        if (length > 0) text[at] = special;
        NyJson tree;
        tree.MakeMap()[ROString(text.c_str())].MakeArray().push_back(NyVariant(text));
        rapidjson::StringBuffer buffer;
        rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
        writer.StartObject();
        const std::string key = ROString(text.c_str()).c_str();
        writer.Key(key.data(), rapidjson::SizeType(key.size()));
        writer.StartArray();
        writer.String(text.data(), rapidjson::SizeType(text.size()));
        writer.EndArray();
        writer.EndObject();
        ASSERT_EQ(jh::ToString(tree), std::string(buffer.GetString(), buffer.GetSize())) << length << " " << at << " " << int(special);
      }
    }
  }
}

TEST(JsonHelpers, FilesAndDeepTrees) {
  nytest::TempDir dir;
  jh::Document doc;
  doc.SetArray();
  NyError* error = nullptr;
  const std::wstring missing = dir.Wide("missing.json");
  jh::ReadFile(missing.c_str(), doc, error);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->uri, "ny.velmoor.file_error");
  EXPECT_EQ(error->message, "Could not read json file " + CStdStr<char>(missing));
  EXPECT_TRUE(doc.IsArray());
  delete error;
  error = nullptr;
  const NyJson tree = Tree(R"({"k":["\u00e9",1.5,{"g":"{00000000-0000-0000-0000-00000000000A}"}]})");
  ASSERT_TRUE(jh::ToPrettyFile(dir.Wide("t.json"), tree));
  EXPECT_FALSE(jh::ToPrettyFile(dir.Wide("no/such/dir/t.json"), tree));
  jh::Document back;
  jh::ReadFile(dir.Wide("t.json").c_str(), back, error);
  ASSERT_EQ(error, nullptr);
  NyJson again;
  ASSERT_TRUE(jh::FromRapidJson(back, again));
  EXPECT_EQ(again, tree);
  nytest::WriteFileBytes(dir.Native("bom.json"), {0xEF, 0xBB, 0xBF, '[', ']'});
  jh::Document bom;
  jh::ReadFile(dir.Wide("bom.json").c_str(), bom, error);
  EXPECT_NE(error, nullptr);  // a byte order mark is not skipped
  delete error;
  // A tree far deeper than the limit: copied, compared and freed without recursion; the
  // conversion stops at the limit with false.
  NyJson deep;
  NyJson* at = &deep;
  for (int i = 0; i < 100000; ++i) at = &at->MakeArray().emplace_back();
  NyJson copy(deep);
  EXPECT_EQ(copy, deep);
  jh::Document out;
  EXPECT_FALSE(jh::ToRapidJson(deep, out, out.GetAllocator()));
  EXPECT_EQ(jh::ToString(deep), jh::ToString(out));  // the tree's text is its document's text
  EXPECT_EQ(jh::ToString(deep).size(), 2u * (jh::k_maxDepth + 1));
  EXPECT_FALSE(jh::FromRapidJson(out, copy));
}

// Random trees of the kinds that survive text (no Empty, no 32-bit floats, no strings in GUID
// form, doubles short enough for the parser's default precision to read exactly).
std::mt19937 g_rng(22);
NyJson RandomTree(int depth) {
  const unsigned kind = depth == 0 ? 9 + g_rng() % 2 : g_rng() % (depth > 4 ? 9 : 11);
  static const char* const keys[] = {"a", "b", "Name", "\xc3\xa9t\xc3\xa9", "q\"\\/", "k\n", "\xf0\x9f\x98\x80", ""};
  static const char* const texts[] = {"", "x", "\t\x01\x1f", "\xe2\x82\xac", "{x}", "a\"b"};
  switch (kind) {
    case 0: return NyVariant();
    case 1: return NyVariant(g_rng() % 2 == 0);
    case 2: return NyVariant(int32_t(g_rng()));
    case 3: return NyVariant(uint32_t(0x80000000u + g_rng() % 0x7fffffffu));
    case 4: return NyVariant(int64_t(-(int64_t(1) << 40) - g_rng()));
    case 5: return NyVariant(uint64_t(0x8000000000000000ull + g_rng()));
    case 6: return NyVariant(std::ldexp(double(int16_t(g_rng())), -int(g_rng() % 9)));
    case 7: return NyVariant(std::string(texts[g_rng() % 6]));
    case 8: return NyVariant(NyGuid{uint32_t(g_rng()), 1, 2, {3, 4, 5, 6, 7, 8, 9, uint8_t(g_rng())}});
    case 9: {
      NyJson map;
      for (unsigned n = g_rng() % 5; n > 0; --n) map.MakeMap()[ROString(keys[g_rng() % 8])] = RandomTree(depth + 1);
      map.MakeMap();
      return map;
    }
    default: {
      NyJson array;
      array.MakeArray();
      for (unsigned n = g_rng() % 5; n > 0; --n) array.GetArray().push_back(RandomTree(depth + 1));
      return array;
    }
  }
}

TEST(JsonHelpers, RandomTreesRoundTripAndPythonAgrees) {
  nytest::TempDir dir;
  std::vector<NyJson> trees;
  for (int i = 0; i < 300; ++i) {
    trees.push_back(RandomTree(0));
    const std::string text = i % 2 ? jh::ToString(trees.back()) : jh::ToPrettyString(trees.back());
    jh::Document doc;
    jh::ToRapidJson(trees.back(), doc);
    EXPECT_EQ(text, i % 2 ? jh::ToString(doc) : jh::ToPrettyString(doc));
    EXPECT_EQ(Tree(text), trees.back()) << text;
    nytest::WriteFileBytes(dir.Native(std::to_string(i) + ".json"), {text.begin(), text.end()});
  }
  // Python reads every text we wrote and writes it back its own way (sorted, \u escapes,
  // its float forms); our reader must see the same values in python's text.
  std::ofstream(dir.Native("check.py")) <<
      "import sys, json\n"
      "for i in range(300):\n"
      "    v = json.load(open(sys.argv[1] + '/%d.json' % i, encoding='utf-8'))\n"
      "    open(sys.argv[1] + '/%d.py' % i, 'w').write(json.dumps(v, sort_keys=True))\n"
      "open(sys.argv[1] + '/extra.py', 'w').write(json.dumps([2**63, -2**63, 1e300, 1.5e-7, '\\u00e9\\U0001F600', [[[{'a': None}]]]]))\n";
  ASSERT_EQ(nytest::Run("/usr/bin/python3 '" + dir.Native("check.py") + "' '" + dir.Native() + "'"), 0);
  for (int i = 0; i < 300; ++i) {
    const auto bytes = nytest::ReadFileBytes(dir.Native(std::to_string(i) + ".py"));
    EXPECT_EQ(Tree(std::string(bytes.begin(), bytes.end())), trees[i]) << jh::ToString(trees[i]);
  }
  const auto extra = nytest::ReadFileBytes(dir.Native("extra.py"));
  EXPECT_EQ(jh::ToString(Tree(std::string(extra.begin(), extra.end()))),
            "[9223372036854775808,-9223372036854775808,1e300,1.5e-7,\"\xc3\xa9\xf0\x9f\x98\x80\",[[[{\"a\":null}]]]]");
}

}  // namespace
