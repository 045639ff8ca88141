// ThinJson: parse results and error texts, views over every value kind, lookups, iterators, moves.
#include <string>
#include <type_traits>

#include <nybase/documents/ThinJson.h>

#include "ThinJsonTestSupport.h"

namespace {

using namespace lu::ThinJson;
using Type = Variant::Type;

static_assert(sizeof(Variant) == sizeof(void*) && sizeof(MapIterator) == sizeof(void*) && std::is_trivially_copyable_v<MapIterator>);
static_assert(!std::is_copy_constructible_v<Document> && std::is_nothrow_move_constructible_v<Document>);

TEST(ThinJsonParse, ResultsAndErrorTexts) {
  using namespace std::string_literals;
  const std::string deepest = std::string(Document::k_maxDepth, '[') + std::string(Document::k_maxDepth, ']');
  const struct {
    std::string text;
    int parsers;         // 1 without comments, 2 with, 3 both
    std::string result;  // the error text, or "=" and JSON the root must equal
  } cases[] = {
      {"// x\n1", 1, "Invalid value."},
      {"// x\n1", 2, "=1"},
      {"", 3, "The document is empty."},
      {"\xEF\xBB\xBF", 2, "The document is empty."},
      {"/* only */", 2, "The document is empty."},
      {"\xEF\xBB\xBF{\"a\":1}", 3, "={\"a\":1}"},
      {"\xEF\xBF 7", 1, "=7"},  // a partial mark is skipped byte by byte
      {"[1,]", 3, "Invalid value."},
      {"{\"a\":1,}", 3, "Missing a name for object member."},
      {"1 2", 3, "The document root must not be followed by other values."},
      {"1\0garbage"s, 1, "=1"},  // a zero byte ends the input
      {"\"a\0b\""s, 1, "Missing a closing quotation mark in string."},
      {"/ 1", 2, "Unspecific syntax error."},
      {"1 /* open", 2, "Unspecific syntax error."},
      {"1e400", 1, "Number too big to be stored in double."},
      {deepest, 1, "=" + deepest},
      {"[" + deepest + "]", 1, "Terminate parsing due to Handler error."},
      {std::string(100000, '[') + std::string(100000, ']'), 3, "Terminate parsing due to Handler error."},
  };
  for (const auto& c : cases) {
    for (int parser : {1, 2}) {
      if ((c.parsers & parser) == 0) continue;
      const auto r = parser == 2 ? priv::ParseAllowComments(c.text) : priv::ParseNoComments(c.text);
      ASSERT_EQ(r.HasValue(), c.result[0] == '=') << c.text.substr(0, 40);
      if (!r.HasValue()) {
        EXPECT_EQ(r.Error(), c.result) << c.text.substr(0, 40);
      } else {
        EXPECT_TRUE(r.Value().GetRoot() == MustParse(c.result.substr(1)).GetRoot()) << c.text.substr(0, 40);
      }
    }
  }
  EXPECT_STREQ(priv::ParseErrorText(18), "Unknown error.");
}

// The tests a value passes, as letters: n null, b bool, s string, a array, m map, # number, then
// the number tests i IsInt, u IsUInt, l IsInt64, L IsUInt64, d IsDouble.
std::string Tests(Variant v) {
  std::string t;
  for (auto [test, letter] : {std::pair{&Variant::IsNull, 'n'}, {&Variant::IsBool, 'b'}, {&Variant::IsString, 's'},
                              {&Variant::IsArray, 'a'}, {&Variant::IsMap, 'm'}, {&Variant::IsNumber, '#'},
                              {&Variant::IsInt, 'i'}, {&Variant::IsUInt, 'u'}, {&Variant::IsInt64, 'l'},
                              {&Variant::IsUInt64, 'L'}, {&Variant::IsDouble, 'd'}}) {
    if ((v.*test)()) t += letter;
  }
  return t;
}

TEST(ThinJsonViews, EveryValueKind) {
  const Document doc = MustParse(
      R"({"n":null,"f":false,"t":true,"i":-5,"u":4000000000,"l":-9000000000,"ul":18446744073709551615,)"
      R"("d":2.5,"three":3,"s":"a\u0000b","a":[1,"x"],"o":{}})");
  const Variant root = doc.GetRoot();
  const struct {
    const char* key;
    Type type;
    const char* tests;
    double asDouble;  // GetDouble, for numbers
  } cases[] = {
      {"n", Type::Null, "n", 0},      {"f", Type::False, "b", 0},           {"t", Type::True, "b", 0},
      {"i", Type::Number, "#il", -5}, {"u", Type::Number, "#ulL", 4e9},     {"l", Type::Number, "#l", -9e9},
      {"d", Type::Number, "#d", 2.5}, {"three", Type::Number, "#iulL", 3},  {"s", Type::String, "s", 0},
      {"a", Type::Array, "a", 0},     {"o", Type::Map, "m", 0},             {"ul", Type::Number, "#L", 18446744073709551615.0},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(root[c.key].GetType(), c.type) << c.key;
    EXPECT_EQ(Tests(root[c.key]), c.tests) << c.key;
    EXPECT_EQ(root[c.key].GetBool(), c.type == Type::True) << c.key;  // true only for the true value
    if (c.type == Type::Number) {
      EXPECT_EQ(root[c.key].GetDouble(), c.asDouble) << c.key;
    }
  }
  EXPECT_EQ(root["i"].GetInt(), -5);
  EXPECT_EQ(root["u"].GetUInt(), 4000000000u);
  EXPECT_EQ(root["l"].GetInt64(), -9000000000LL);
  EXPECT_EQ(root["ul"].GetUInt64(), 18446744073709551615ULL);
  EXPECT_EQ(root["l"].GetInt(), static_cast<int>(-9000000000LL & 0xFFFFFFFF));  // low 32 bits, no conversion
  EXPECT_EQ(root["s"].GetString().view(), std::string_view("a\0b", 3));
  EXPECT_TRUE(root["o"].GetMap().IsEmpty() && !root["a"].GetArray().IsEmpty() && root["a"].GetArray().GetSize() == 2);
  EXPECT_EQ(root.GetRapidJson(), &doc.GetRapidJson());
  EXPECT_TRUE(Document().GetRoot().IsNull());
}

TEST(ThinJsonViews, LookupsByKeyAndPosition) {
  const Document doc = MustParse(R"({"a":1,"a":2,"A":3,"k\u0000x":4,"k":5})");
  const Map map = doc.GetRoot().GetMap();
  EXPECT_EQ(map.GetSize(), 5u);
  EXPECT_EQ(map["a"].GetInt(), 1);  // the first of duplicates
  EXPECT_EQ(map[1u].GetValue().GetInt(), 2);
  EXPECT_EQ(map[2u].GetKey().view(), "A");
  EXPECT_EQ(map[lu::BasicStringView<char>("k\0x", 3)].GetInt(), 4);
  EXPECT_EQ(map["k"].GetInt(), 5);
  EXPECT_FALSE(map.Contains("K"));
  EXPECT_FALSE(map.Contains(lu::BasicStringView<char>("k\0", 2)));
  EXPECT_TRUE(map.Find("b") == map.end());
  EXPECT_EQ(map.Find("A") - map.begin(), 2);
  EXPECT_TRUE(doc.GetRoot().Contains("a"));
  // A missing key gives the value slot one past the last member (not to be read).
  EXPECT_EQ(map["zz"].GetRapidJson(), map.end()->GetValue().GetRapidJson());

  const Document empty = MustParse("{}");
  const Map none = empty.GetRoot().GetMap();
  EXPECT_TRUE(none.Find("a") == none.end() && none.begin() == none.end() && !none.Contains(""));
}

TEST(ThinJsonViews, IteratorsAreRandomAccessAndHandOutTheirOwnStorage) {
  const Document doc = MustParse(R"({"arr":[10,20,30,40],"map":{"x":1,"y":2,"z":3}})");
  const Array arr = doc.GetRoot()["arr"].GetArray();
  ArrayIterator it = arr.begin();
  const Variant& ref = *it;
  const Variant copy = *it;
  ++it;
  EXPECT_EQ(ref.GetInt(), 20);  // the reference follows the iterator
  EXPECT_EQ(copy.GetInt(), 10);
  EXPECT_EQ(it[2].GetInt(), 40);
  EXPECT_EQ((arr.end() - 1)->GetInt(), (it + 2)->GetInt());
  EXPECT_EQ(doc.GetRoot()["arr"].ArrayEnd() - doc.GetRoot()["arr"].ArrayBegin(), 4);
  EXPECT_TRUE(arr.begin() < it && it <= it && arr.end() > it && !(it >= arr.end()));
  EXPECT_EQ((it--)->GetInt(), 20);
  EXPECT_TRUE(it == arr.begin() && it != arr.end());
  EXPECT_EQ(((it += 3) -= 1)->GetInt(), 30);

  std::string walked;
  for (const MapItem& item : doc.GetRoot()["map"].GetMap()) walked += std::string(item.GetKey().view()) + std::to_string(item.GetValue().GetInt());
  EXPECT_EQ(walked, "x1y2z3");
  MapIterator m = doc.GetRoot().MapBegin();
  const MapItem& item = *m;
  m++;
  EXPECT_EQ(item.GetKey().view(), "map");
  EXPECT_EQ(m - doc.GetRoot().MapBegin(), 1);
  EXPECT_EQ(doc.GetRoot()["map"].MapBegin()[2].GetKey().view(), "z");
}

TEST(ThinJsonViews, DeepComparison) {
  const struct {
    const char *a, *b;
    bool equal;
  } cases[] = {
      {R"({"x":1,"y":2})", R"({"y":2,"x":1})", true}, {"[1,2]", "[2,1]", false}, {"1", "1.0", true},
      {R"({"x":1})", R"({"x":1,"y":2})", false},     {"\"a\"", "\"a\"", true},   {"null", "false", false},
      {"[[1],{}]", "[[1],{}]", true},
      {"-1", "18446744073709551615", true},  // integers compare by their 64-bit storage, on purpose
  };
  for (const auto& c : cases) {
    const Document a = MustParse(c.a), b = MustParse(c.b);
    EXPECT_EQ(a.GetRoot() == b.GetRoot(), c.equal) << c.a << " " << c.b;
    EXPECT_EQ(a.GetRoot() != b.GetRoot(), !c.equal) << c.a << " " << c.b;
  }
}

TEST(ThinJsonDocument, MovesKeepViewsValid) {
  Document first = MustParse(R"({"k":[1,2]})");
  const Variant before = first.GetRoot()["k"];
  Document second(std::move(first));
  EXPECT_EQ(first.GetRoot().GetRapidJson(), nullptr);
  EXPECT_TRUE(second.GetRoot()["k"] == before);

  Document third = MustParse("[3]");
  third = std::move(second);  // destroys the old tree at once
  EXPECT_EQ(second.GetRoot().GetRapidJson(), nullptr);
  EXPECT_EQ(third.GetRoot()["k"].GetRapidJson(), before.GetRapidJson());
  EXPECT_EQ(third.GetRoot()["k"][1u].GetInt(), 2);
}

}  // namespace
