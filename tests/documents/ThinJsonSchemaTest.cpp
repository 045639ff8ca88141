// ThinJson::Schema: resolution through the caller's resolver, moves, the screens that keep
// rapidjson 1.1.0 from crashing, and the draft-4 conformance suite.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <nybase/documents/ThinJsonSchema.h>

#include "../../nybase/documents/internal/PatternScreen.h"

namespace {

using namespace lu::ThinJson;

Document MustParse(const std::string& text) {
  auto r = priv::ParseNoComments(text);
  EXPECT_TRUE(r.HasValue()) << text;
  return r.HasValue() ? std::move(r).Value() : Document();
}

bool Valid(const Schema& schema, const Variant& data) {
  rapidjson::GenericSchemaValidator<RapidJsonSchemaDocument> validator(schema.GetRapidJson());
  return data.GetRapidJson()->Accept(validator);
}
bool Valid(const Schema& schema, const std::string& json) { return Valid(schema, MustParse(json).GetRoot()); }

TEST(ThinJsonSchema, ResolverSeesTheUriAsWrittenBeforeTheFragment) {
  const Document integer = MustParse(R"({"type":"integer","definitions":{"s":{"type":"string"}}})");
  const Schema target(integer, std::nullopt);
  struct Case {
    const char* ref;
    const char* uri;        // what the resolver must see
    bool resolvable;        // the fragment exists in the target
    bool acceptsString;     // validation of "x" and of 1 through the referring schema
    bool acceptsInteger;
  } cases[] = {
      {"a.json", "a.json", true, false, true},
      {"a.json#", "a.json", true, false, true},
      {"http://h/dir/b.json#/definitions/s", "http://h/dir/b.json", true, true, false},
      {"c#/definitions/missing", "c", false, true, true},  // unresolved: 1.1.0 then ignores the $ref
      {"x", "x", true, false, true},
  };
  for (const Case& c : cases) {
    std::vector<std::string> seen;
    const Document doc = MustParse(std::string(R"({"$ref":")") + c.ref + "\"}");
    const Schema schema(doc, [&](const CStdStr<char>& uri) {
      seen.push_back(uri);
      return &target;
    });
    EXPECT_EQ(seen, std::vector<std::string>{c.uri}) << c.ref;
    EXPECT_EQ(schema.GetIssues().size(), c.resolvable ? 0u : 1u) << c.ref;
    EXPECT_EQ(Valid(schema, "\"x\""), c.acceptsString) << c.ref;
    EXPECT_EQ(Valid(schema, "1"), c.acceptsInteger) << c.ref;
  }
  // A direct call from elsewhere is passed on as given.
  std::string direct;
  Schema::RemoteSchemaProvider provider([&](const CStdStr<char>& uri) { direct = uri; return nullptr; });
  EXPECT_EQ(provider.GetRemoteDocument("abc", 2), nullptr);
  EXPECT_EQ(direct, "ab");
}

TEST(ThinJsonSchema, UnresolvedReferencesAreListedAndNeverFatal) {
  const Document local = MustParse(R"({"definitions":{"i":{"type":"integer"}},"$ref":"#/definitions/i"})");
  int calls = 0;
  const Schema noRef(local, [&](const CStdStr<char>&) { ++calls; return nullptr; });
  EXPECT_EQ(calls, 0);
  EXPECT_TRUE(noRef.GetIssues().empty());
  EXPECT_FALSE(Valid(noRef, "\"x\""));

  const Document remote = MustParse(R"({"properties":{"p":{"$ref":"other.json#/x"}}})");
  const Schema withoutResolver(remote, std::nullopt);
  const Schema nullResolver(remote, [&](const CStdStr<char>&) { ++calls; return nullptr; });
  EXPECT_EQ(calls, 1);
  for (const Schema* s : {&withoutResolver, &nullResolver}) {
    ASSERT_EQ(s->GetIssues().size(), 1u);
    EXPECT_EQ(s->GetIssues()[0].key, "RefNoRemoteSchema");
    EXPECT_EQ(s->GetIssues()[0].detail, "other.json#/x");
    EXPECT_TRUE(Valid(*s, R"({"p":"anything"})"));
  }
}

TEST(ThinJsonSchema, MovesTransferTheCompiledSchema) {
  const Document doc = MustParse(R"({"type":"string"})");
  Schema a(doc, std::nullopt);
  const RapidJsonSchemaDocument* compiled = &a.GetRapidJson();
  Schema b(std::move(a));
  EXPECT_EQ(&b.GetRapidJson(), compiled);
  EXPECT_TRUE(b.GetData() == a.GetData());  // the source keeps its view
  EXPECT_EQ(b.GetData().GetRapidJson(), doc.GetRoot().GetRapidJson());
  const Document other = MustParse(R"({"type":"integer"})");
  Schema c(other, [](const CStdStr<char>&) { return nullptr; });
  c = std::move(b);
  EXPECT_EQ(&c.GetRapidJson(), compiled);
  EXPECT_TRUE(Valid(c, "\"s\""));
  EXPECT_FALSE(Valid(c, "1"));
}

TEST(ThinJsonSchema, PatternScreen) {
  struct Case {
    std::string pattern;
    bool safe;
  } cases[] = {
      {"", true},          {"^a*$", true},        {"^\xC3\xA1+", true},      {"[0-9]{2,}", true},
      {"(ab)+|c?", true},  {"(a*)?", true},       {"a{0,1000}", true},       {"\\(\\)*", true},
      {"\xF0", false},     {"a\xC3", false},      {std::string("a\0b", 3), false},
      {"(a*)*", false},    {"(a?)+", false},      {"(a|)*", false},          {"(a?){2,}", false},
      {"a**", false},      {"*a", false},         {"a{5000}", false},        {"((a{100}){100})", false},
      {"[a-", false},      {"(a", false},         {"a)", false},             {"a\\", false},
      {"^||a", false},     {"a|", false},         {"()", false},             {"(|a)", false},
      {"a|b$", true},      {"a^*", true},         {"^$", true},
  };
  for (const Case& c : cases) EXPECT_EQ(lu::detail::IsSafePattern(c.pattern.data(), c.pattern.size()), c.safe) << c.pattern;
}

TEST(ThinJsonSchema, UnsafePatternsAreRefusedAndPatternPropertiesDoNotCrash) {
  const Document refused = MustParse(R"({"properties":{"a":{"pattern":"(x*)*"}},"patternProperties":{"\u00e1|(b?)+":{}}})");
  const Schema r(refused, std::nullopt);
  ASSERT_EQ(r.GetIssues().size(), 2u);
  EXPECT_EQ(r.GetIssues()[0].key, "PatternRefused");
  EXPECT_EQ(r.GetIssues()[0].detail, "\xC3\xA1|(b?)+");  // in document order
  EXPECT_EQ(r.GetIssues()[1].detail, "(x*)*");
  EXPECT_FALSE(Valid(r, "{}"));  // a refused schema accepts nothing

  // Local references that 1.1.0 would read as objects, or follow for ever, are refused the same way.
  for (const char* text : {R"({"$ref":"#/type","type":"string"})", R"({"$ref":"#"})",
                           R"({"d":{"a":{"$ref":"#/d/b"},"b":{"$ref":"#/d/a"}},"items":{"$ref":"#/d/a"}})"}) {
    const Document bad = MustParse(text);
    const Schema refusedRef(bad, std::nullopt);
    ASSERT_FALSE(refusedRef.GetIssues().empty()) << text;
    EXPECT_EQ(refusedRef.GetIssues()[0].key, "RefInvalid") << text;
    EXPECT_FALSE(Valid(refusedRef, "[]")) << text;
  }

  // rapidjson 1.1.0 alone crashes validating {"amele":1} here; the caller's JSON stays as written.
  const Document doc = MustParse(R"({"patternProperties":{"^\u00e1|^a":{"type":"integer"}},"additionalProperties":false})");
  const Schema s(doc, std::nullopt);
  EXPECT_TRUE(s.GetIssues().empty());
  EXPECT_TRUE(doc.GetRoot()["additionalProperties"].GetType() == Variant::Type::False);
  EXPECT_TRUE(Valid(s, R"({"amele":1,"\u00e1b":2})"));
  EXPECT_FALSE(Valid(s, R"({"amele":"one"})"));
  EXPECT_FALSE(Valid(s, R"({"other":1})"));
}

// The draft-4 suite of the json-schema-test-suite package, remote schemas served from its remotes/
// folder through the resolver. The floor is the pass count measured when this test was written.
TEST(ThinJsonSchema, Draft4ConformanceSuite) {
  namespace fs = std::filesystem;
  const fs::path root = "/usr/share/json-schema-test-suite";
  if (!fs::is_directory(root / "tests/draft4")) GTEST_SKIP() << "json-schema-test-suite is not installed";
  auto read = [](const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
  };
  std::map<std::string, std::pair<std::unique_ptr<Document>, std::unique_ptr<Schema>>> remotes;
  std::function<const Schema*(const CStdStr<char>&)> resolver = [&](const CStdStr<char>& uri) -> const Schema* {
    const std::string prefix = "http://localhost:1234/";
    if (uri.compare(0, prefix.size(), prefix) != 0 || !fs::is_regular_file(root / "remotes" / uri.substr(prefix.size()))) return nullptr;
    auto& slot = remotes[uri];
    if (!slot.second) {
      auto parsed = priv::ParseNoComments(read(root / "remotes" / uri.substr(prefix.size())));
      if (!parsed) return nullptr;
      slot.first = std::make_unique<Document>(std::move(parsed).Value());
      slot.second = std::make_unique<Schema>(*slot.first, resolver);
    }
    return slot.second.get();
  };
  std::vector<fs::path> files;
  for (const auto& e : fs::recursive_directory_iterator(root / "tests/draft4"))
    if (e.path().extension() == ".json") files.push_back(e.path());
  std::sort(files.begin(), files.end());
  int passed = 0, total = 0;
  for (const fs::path& file : files) {
    const Document suite = MustParse(read(file));
    for (const Variant& group : suite.GetRoot().GetArray()) {
      const Schema schema(group["schema"], resolver);
      for (const Variant& test : group["tests"].GetArray()) {
        ++total;
        if (Valid(schema, test["data"]) == test["valid"].GetBool()) {
          ++passed;
        } else {
          std::cout << "  draft4 miss: " << file.filename().string() << ": " << group["description"].GetString().view()
                    << ": " << test["description"].GetString().view() << "\n";
        }
      }
    }
  }
  std::cout << "draft4 suite: " << passed << " of " << total << " passed\n";
  constexpr int k_floor = 343;  // measured: the misses are "format", bignums, "id" scopes and unserved URIs
  EXPECT_GE(passed, k_floor);
  EXPECT_GE(total, 374);
}

}  // namespace
