// ThinJson::Schema: resolution through the caller's resolver, moves, the screens that keep
// rapidjson 1.1.0 from crashing, and the draft-4 conformance suite.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <nybase/documents/ThinJsonSchema.h>

#include "ThinJsonTestSupport.h"

#include "../../nybase/documents/internal/PatternScreen.h"

namespace {

using namespace lu::ThinJson;

bool Valid(const Schema& schema, const Variant& data) {
  rapidjson::GenericSchemaValidator<RapidJsonSchemaDocument> validator(schema.GetRapidJson());
  return data.GetRapidJson()->Accept(validator);
}
bool Valid(const Schema& schema, const std::string& json) { return Valid(schema, MustParse(json).GetRoot()); }

TEST(ThinJsonSchema, ResolverSeesTheUriAsWrittenBeforeTheFragment) {
  const Document integer = MustParse(R"({"type":"integer","definitions":{"s":{"type":"string"}}})");
  const Schema target(integer, std::nullopt);
  // uri: what the resolver must see; resolvable: the fragment exists in the target; then whether
  // "x" and 1 are valid through the referring schema.
  const struct {
    const char *ref, *uri;
    bool resolvable, acceptsString, acceptsInteger;
  } cases[] = {
      {"a.json", "a.json", true, false, true},
      {"a.json#", "a.json", true, false, true},
      {"http://h/dir/b.json#/definitions/s", "http://h/dir/b.json", true, true, false},
      {"c#/definitions/missing", "c", false, true, true},  // unresolved: 1.1.0 then ignores the $ref
      {"x", "x", true, false, true},
  };
  for (const auto& c : cases) {
    std::vector<std::string> seen;
    const Document doc = MustParse(std::string(R"({"$ref":")") + c.ref + "\"}");
    const Schema schema(doc, [&](const CStdStr<char>& uri) { return seen.push_back(uri), &target; });
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
    EXPECT_EQ(s->GetIssues()[0].key + " " + s->GetIssues()[0].detail, "RefNoRemoteSchema other.json#/x");
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
  const Document other = MustParse(R"({"type":"integer"})");
  Schema c(other, [](const CStdStr<char>&) { return nullptr; });
  c = std::move(b);
  EXPECT_EQ(&c.GetRapidJson(), compiled);
  EXPECT_TRUE(Valid(c, "\"s\"") && !Valid(c, "1"));
}

TEST(ThinJsonSchema, PatternScreen) {
  using namespace std::string_literals;
  for (const std::string& p : {""s, "^a*$"s, "^\xC3\xA1+"s, "[0-9]{2,}"s, "(ab)+|c?"s, "(a*)?"s, "a{0,1000}"s, "\\(\\)*"s,
                               "a|b$"s, "a^*"s, "^$"s}) {
    EXPECT_TRUE(lu::detail::IsSafePattern(p.data(), p.size())) << p;
  }
  for (const std::string& p : {"\xF0"s, "a\xC3"s, "a\0b"s, "(a*)*"s, "(a?)+"s, "(a|)*"s, "(a?){2,}"s, "a**"s, "*a"s, "a{5000}"s,
                               "((a{100}){100})"s, "[a-"s, "(a"s, "a)"s, "a\\"s, "^||a"s, "a|"s, "()"s, "(|a)"s}) {
    EXPECT_FALSE(lu::detail::IsSafePattern(p.data(), p.size())) << p;
  }
}

TEST(ThinJsonSchema, UnsafePatternsAreRefusedAndPatternPropertiesDoNotCrash) {
  const Document refused = MustParse(R"({"properties":{"a":{"pattern":"(x*)*"}},"patternProperties":{"\u00e1|(b?)+":{}}})");
  const Schema r(refused, std::nullopt);
  ASSERT_EQ(r.GetIssues().size(), 2u);
  EXPECT_EQ(r.GetIssues()[0].key + r.GetIssues()[0].detail, "PatternRefused\xC3\xA1|(b?)+");  // in document order
  EXPECT_EQ(r.GetIssues()[1].detail, "(x*)*");
  EXPECT_FALSE(Valid(r, "{}"));  // a refused schema accepts nothing

  // Local references that 1.1.0 would read as objects, or follow for ever, are refused the same way.
  for (const char* text : {R"({"$ref":"#/type","type":"string"})", R"({"$ref":"#"})", R"({"not":{"$ref":"#/none"}})",
                           R"({"d":{"a":{"$ref":"#/d/b"},"b":{"$ref":"#/d/a"}},"items":{"$ref":"#/d/a"}})"}) {
    const Document bad = MustParse(text);
    const Schema refusedRef(bad, std::nullopt);
    EXPECT_EQ(refusedRef.GetIssues().at(0).key, "RefInvalid") << text;
    EXPECT_FALSE(Valid(refusedRef, "[]")) << text;
  }

  // Keywords that must hold schemas and do not: 1.1.0 would leave null schemas behind.
  for (const char* text : {R"({"not":3})", R"({"anyOf":[{},[]]})", R"({"items":[{},1]})", R"({"patternProperties":[]})",
                           R"({"patternProperties":{"a":null}})", R"({"dependencies":{"a":["b"],"a":["c"]}})",
                           R"({"dependencies":{"a":["b",5]}})"}) {
    const Document bad = MustParse(text);
    EXPECT_EQ(Schema(bad, std::nullopt).GetIssues().at(0).key, "SchemaInvalid") << text;
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
  auto read = [](const fs::path& p) { return (std::ostringstream() << std::ifstream(p, std::ios::binary).rdbuf()).str(); };
  // Remote schemas, compiled once each and kept for the whole run.
  std::map<std::string, std::pair<std::unique_ptr<Document>, std::unique_ptr<Schema>>> remotes;
  std::function<const Schema*(const CStdStr<char>&)> resolver = [&](const CStdStr<char>& uri) -> const Schema* {
    const std::string prefix = "http://localhost:1234/";
    const fs::path file = root / "remotes" / uri.substr(std::min(uri.size(), prefix.size()));
    if (uri.rfind(prefix, 0) != 0 || !fs::is_regular_file(file)) return nullptr;
    auto& [doc, schema] = remotes[uri];
    if (!schema) {
      doc = std::make_unique<Document>(MustParse(read(file)));
      schema = std::make_unique<Schema>(*doc, resolver);
    }
    return schema.get();
  };
  std::vector<fs::path> files(fs::recursive_directory_iterator(root / "tests/draft4"), {});
  std::erase_if(files, [](const fs::path& p) { return p.extension() != ".json"; });
  std::sort(files.begin(), files.end());
  int passed = 0, total = 0;
  for (const fs::path& file : files) {
    const Document suite = MustParse(read(file));
    for (const Variant& group : suite.GetRoot().GetArray()) {
      const Schema schema(group["schema"], resolver);
      for (const Variant& test : group["tests"].GetArray()) {
        const bool ok = Valid(schema, test["data"]) == test["valid"].GetBool();
        passed += ok, ++total;
        if (!ok) std::cout << "  draft4 miss: " << file.filename().string() << ": " << group["description"].GetString().view()
                           << ": " << test["description"].GetString().view() << "\n";
      }
    }
  }
  std::cout << "draft4 suite: " << passed << " of " << total << " passed\n";
  constexpr int k_floor = 343;  // measured: the misses are "format", bignums, "id" scopes and unserved URIs
  EXPECT_GE(passed, k_floor);
}

}  // namespace
