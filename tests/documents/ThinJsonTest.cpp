// ThinJson: parse results and error texts, views over every value kind, lookups, iterators, moves.
#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include <nybase/documents/ThinJson.h>

namespace {

using namespace lu::ThinJson;
using Type = Variant::Type;

Document MustParse(std::string_view text) {
  auto r = priv::ParseNoComments(lu::BasicStringView<char>(text.data(), text.size()));
  EXPECT_TRUE(r.HasValue()) << text << ": " << (r.HasValue() ? "" : r.Error());
  return r.HasValue() ? std::move(r).Value() : Document();
}

static_assert(sizeof(Variant) == sizeof(void*) && sizeof(ArrayIterator) == sizeof(void*) &&
              sizeof(MapIterator) == sizeof(void*) && sizeof(Map) == sizeof(void*) && sizeof(MapItem) == sizeof(void*));
static_assert(std::is_trivially_copyable_v<Variant> && std::is_trivially_copyable_v<MapIterator>);
static_assert(!std::is_copy_constructible_v<Document> && std::is_nothrow_move_constructible_v<Document>);

TEST(ThinJsonParse, ResultsAndErrorTexts) {
  using namespace std::string_literals;
  const std::string deep = std::string(100000, '[') + std::string(100000, ']');
  const std::string deepest = std::string(Document::k_maxDepth, '[') + std::string(Document::k_maxDepth, ']');
  struct Case {
    std::string text;
    bool comments;
    const char* error;  // nullptr: parses, and the root equals `root`
    const char* root;
  } cases[] = {
      {"// x\n1", false, "Invalid value.", nullptr},
      {"// x\n1", true, nullptr, "1"},
      {"/* a */ [1, /* b */ 2] // end", true, nullptr, "[1,2]"},
      {"", true, "The document is empty.", nullptr},
      {"\xEF\xBB\xBF", true, "The document is empty.", nullptr},
      {"/* only */", true, "The document is empty.", nullptr},
      {"\xEF\xBB\xBF{\"a\":1}", false, nullptr, "{\"a\":1}"},
      {"\xEF\xBF 7", false, nullptr, "7"},  // a partial mark is skipped byte by byte
      {"[1,]", false, "Invalid value.", nullptr},
      {"[1,]", true, "Invalid value.", nullptr},
      {"{\"a\":1,}", false, "Missing a name for object member.", nullptr},
      {"{\"a\":1,}", true, "Missing a name for object member.", nullptr},
      {"1 2", false, "The document root must not be followed by other values.", nullptr},
      {"1\0garbage"s, false, nullptr, "1"},  // a zero byte ends the input
      {"\"a\0b\""s, false, "Missing a closing quotation mark in string.", nullptr},
      {"/ 1", true, "Unspecific syntax error.", nullptr},
      {"1 /* open", true, "Unspecific syntax error.", nullptr},
      {"1e400", false, "Number too big to be stored in double.", nullptr},
      {"[1", false, "Missing a comma or ']' after an array element.", nullptr},
      {"{\"a\" 1}", false, "Missing a colon after a name of object member.", nullptr},
      {"\"\\q\"", false, "Invalid escape character in string.", nullptr},
      {"\"\\uD800x\"", false, "The surrogate pair in string is invalid.", nullptr},
      {"NaN", false, "Invalid value.", nullptr},
      {deepest, false, nullptr, nullptr},
      {"[" + deepest + "]", false, "Terminate parsing due to Handler error.", nullptr},
      {deep, false, "Terminate parsing due to Handler error.", nullptr},
  };
  for (const Case& c : cases) {
    const lu::BasicStringView<char> text(c.text.data(), c.text.size());
    const auto r = c.comments ? priv::ParseAllowComments(text) : priv::ParseNoComments(text);
    ASSERT_EQ(r.HasValue(), c.error == nullptr) << c.text.substr(0, 40);
    if (c.error) {
      EXPECT_EQ(r.Error(), c.error) << c.text.substr(0, 40);
    } else if (c.root) {
      EXPECT_TRUE(r.Value().GetRoot() == MustParse(c.root).GetRoot()) << c.text;
    }
  }
  EXPECT_STREQ(priv::ParseErrorText(17), "Unspecific syntax error.");
  EXPECT_STREQ(priv::ParseErrorText(18), "Unknown error.");
  EXPECT_STREQ(priv::ParseErrorText(-1), "Unknown error.");
}

TEST(ThinJsonViews, EveryValueKind) {
  const Document doc = MustParse(
      R"({"n":null,"f":false,"t":true,"i":-5,"u":4000000000,"l":-9000000000,"ul":18446744073709551615,)"
      R"("d":2.5,"s":"a\u0000b","a":[1,"x"],"o":{}})");
  const Variant root = doc.GetRoot();
  struct Case {
    const char* key;
    Type type;
    bool isInt, isUInt, isInt64, isUInt64, isDouble;
    double asDouble;
  } cases[] = {
      {"n", Type::Null, false, false, false, false, false, 0},
      {"f", Type::False, false, false, false, false, false, 0},
      {"t", Type::True, false, false, false, false, false, 0},
      {"i", Type::Number, true, false, true, false, false, -5},
      {"u", Type::Number, false, true, true, true, false, 4e9},
      {"l", Type::Number, false, false, true, false, false, -9e9},
      {"ul", Type::Number, false, false, false, true, false, 18446744073709551615.0},
      {"d", Type::Number, false, false, false, false, true, 2.5},
      {"s", Type::String, false, false, false, false, false, 0},
      {"a", Type::Array, false, false, false, false, false, 0},
      {"o", Type::Map, false, false, false, false, false, 0},
  };
  for (const Case& c : cases) {
    const Variant v = root[c.key];
    EXPECT_EQ(v.GetType(), c.type) << c.key;
    EXPECT_EQ(v.IsNull(), c.type == Type::Null) << c.key;
    EXPECT_EQ(v.IsBool(), c.type == Type::False || c.type == Type::True) << c.key;
    EXPECT_EQ(v.GetBool(), c.type == Type::True) << c.key;
    EXPECT_EQ(v.IsString(), c.type == Type::String) << c.key;
    EXPECT_EQ(v.IsArray(), c.type == Type::Array) << c.key;
    EXPECT_EQ(v.IsMap(), c.type == Type::Map) << c.key;
    EXPECT_EQ(v.IsNumber(), c.type == Type::Number) << c.key;
    EXPECT_EQ(v.IsInt(), c.isInt) << c.key;
    EXPECT_EQ(v.IsUInt(), c.isUInt) << c.key;
    EXPECT_EQ(v.IsInt64(), c.isInt64) << c.key;
    EXPECT_EQ(v.IsUInt64(), c.isUInt64) << c.key;
    EXPECT_EQ(v.IsDouble(), c.isDouble) << c.key;
    if (c.type == Type::Number) {
      EXPECT_EQ(v.GetDouble(), c.asDouble) << c.key;
    }
  }
  EXPECT_EQ(static_cast<int>(Type::Number), 6);
  EXPECT_EQ(root["i"].GetInt(), -5);
  EXPECT_EQ(root["u"].GetUInt(), 4000000000u);
  EXPECT_EQ(root["l"].GetInt64(), -9000000000LL);
  EXPECT_EQ(root["ul"].GetUInt64(), 18446744073709551615ULL);
  EXPECT_EQ(root["l"].GetInt(), static_cast<int>(-9000000000LL & 0xFFFFFFFF));  // low 32 bits, no conversion
  EXPECT_EQ(root["s"].GetString().view(), std::string_view("a\0b", 3));
  EXPECT_EQ(root["a"].GetArray().GetSize(), 2u);
  EXPECT_EQ(root["a"][1u].GetString().view(), "x");
  EXPECT_TRUE(root["o"].GetMap().IsEmpty());
  EXPECT_FALSE(root["a"].GetArray().IsEmpty());
  EXPECT_EQ(root.GetRapidJson(), &doc.GetRapidJson());
  EXPECT_TRUE(Document().GetRoot().IsNull());
  EXPECT_FALSE(MustParse("1").GetRoot().GetBool());  // GetBool tests for the true value only
}

TEST(ThinJsonViews, LookupsByKeyAndPosition) {
  const Document doc = MustParse(R"({"a":1,"a":2,"A":3,"k\u0000x":4,"k":5})");
  const Map map = doc.GetRoot().GetMap();
  EXPECT_EQ(map.GetSize(), 5u);
  EXPECT_EQ(map["a"].GetInt(), 1);  // the first of duplicates
  EXPECT_EQ(map[1u].GetValue().GetInt(), 2);
  EXPECT_EQ(map[2u].GetKey().view(), "A");
  EXPECT_EQ(map["A"].GetInt(), 3);
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
  EXPECT_TRUE(none.Find("a") == none.end());
  EXPECT_TRUE(none.begin() == none.end());
  EXPECT_FALSE(none.Contains(""));
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
  EXPECT_EQ((it + 2)->GetInt(), 40);
  EXPECT_EQ((arr.end() - 1)->GetInt(), 40);
  EXPECT_EQ(arr.end() - arr.begin(), 4);
  EXPECT_TRUE(arr.begin() < it && it <= it && arr.end() > it && !(it >= arr.end()));
  EXPECT_EQ((it--)->GetInt(), 20);
  EXPECT_TRUE(it == arr.begin() && it != arr.end());
  it += 3;
  it -= 1;
  EXPECT_EQ(it->GetInt(), 30);
  EXPECT_TRUE(doc.GetRoot()["arr"].ArrayBegin() == arr.begin() && doc.GetRoot()["arr"].ArrayEnd() == arr.end());

  std::string keys;
  int sum = 0;
  for (const MapItem& item : doc.GetRoot()["map"].GetMap()) {
    keys += item.GetKey().view();
    sum += item.GetValue().GetInt();
  }
  EXPECT_EQ(keys, "xyz");
  EXPECT_EQ(sum, 6);
  MapIterator m = doc.GetRoot().MapBegin();
  const MapItem& item = *m;
  m++;
  EXPECT_EQ(item.GetKey().view(), "map");
  EXPECT_EQ(m - doc.GetRoot().MapBegin(), 1);
  EXPECT_EQ(doc.GetRoot()["map"].MapBegin()[2].GetKey().view(), "z");
}

TEST(ThinJsonViews, DeepComparison) {
  struct Case {
    const char* a;
    const char* b;
    bool equal;
  } cases[] = {
      {R"({"x":1,"y":2})", R"({"y":2,"x":1})", true}, {"[1,2]", "[2,1]", false}, {"1", "1.0", true},
      {R"({"x":1})", R"({"x":1,"y":2})", false},     {"\"a\"", "\"a\"", true},   {"null", "false", false},
      {"[[1],{}]", "[[1],{}]", true},
      {"-1", "18446744073709551615", true},  // integers compare by their 64-bit storage, on purpose
  };
  for (const Case& c : cases) {
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
  EXPECT_EQ(before[1u].GetInt(), 2);
  EXPECT_TRUE(second.GetRoot()["k"] == before);
  EXPECT_EQ(second.GetRoot()["k"].GetRapidJson(), before.GetRapidJson());

  Document third = MustParse("[3]");
  third = std::move(second);  // destroys the old tree at once
  EXPECT_EQ(second.GetRoot().GetRapidJson(), nullptr);
  EXPECT_EQ(third.GetRoot()["k"].GetRapidJson(), before.GetRapidJson());
  Document& alias = third;
  third = std::move(alias);
  EXPECT_EQ(third.GetRoot()["k"][0u].GetInt(), 1);
}

}  // namespace
