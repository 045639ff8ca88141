// nybase validate: documents checked against a schema, with the reason and position of a failure.
#include <gtest/gtest.h>

#include <rapidjson/document.h>

#include <string>

#include "../support/TestSupport.h"
#include "ToolRunner.h"

namespace {

using nytest::Quote;
using nytest::RunTool;

void WriteText(const std::string& path, const std::string& text) {
  nytest::WriteFileBytes(path, std::vector<uint8_t>(text.begin(), text.end()));
}

constexpr const char* k_schema = R"(<?xml version="1.0"?>
<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema">
  <xs:element name="take">
    <xs:complexType>
      <xs:sequence>
        <xs:element name="marker" type="xs:unsignedInt" maxOccurs="unbounded"/>
      </xs:sequence>
      <xs:attribute name="rate" type="xs:unsignedInt" use="required"/>
    </xs:complexType>
  </xs:element>
</xs:schema>
)";

TEST(ToolValidate, ValidInvalidAndUnreadableDocuments) {
  nytest::TempDir dir;
  const std::string schema = dir.Native("take.xsd");
  WriteText(schema, k_schema);
  WriteText(dir.Native("good.xml"), "<take rate=\"48000\"><marker>10</marker><marker>20</marker></take>\n");
  WriteText(dir.Native("bad.xml"), "<take rate=\"48000\">\n<marker>10</marker>\n<marker>minus one</marker>\n</take>\n");
  WriteText(dir.Native("broken.xml"), "<take rate=\"48000\"><marker>10</take>\n");
  WriteText(dir.Native("notaschema.xsd"), "<nothing/>\n");

  struct Case {
    std::string doc, schema;
    int exitCode;
    int code;             // the JSON code, 0 when valid
    std::string message;  // beginning of the error line after "nybase validate: "
  } cases[] = {
      {"good.xml", "take.xsd", 0, 0, ""},
      {"bad.xml", "take.xsd", 1, 7, dir.Native("bad.xml") + ":3:"},
      {"broken.xml", "take.xsd", 1, 5, dir.Native("broken.xml") + ": cannot be read, or is not well-formed"},
      {"missing.xml", "take.xsd", 1, 5, dir.Native("missing.xml") + ": no such file"},
      {"good.xml", "missing.xsd", 1, 1, dir.Native("missing.xsd") + ": no such file"},
      {"good.xml", "notaschema.xsd", 1, 3, dir.Native("notaschema.xsd") + ": not a valid XML Schema"},
  };
  for (const Case& c : cases) {
    const std::string args = Quote(dir.Native(c.doc)) + " " + Quote(dir.Native(c.schema));
    const auto text = RunTool("validate " + args);
    EXPECT_EQ(text.exitCode, c.exitCode) << c.doc << " " << c.schema << "\n" << text.err;
    if (c.exitCode == 0) {
      EXPECT_EQ(text.err, "");
      EXPECT_NE(text.out.find(": valid against "), std::string::npos) << text.out;
    } else {
      ASSERT_EQ(text.ErrLines().size(), 1u) << text.err;
      EXPECT_EQ(text.ErrLines()[0].rfind("nybase validate: " + c.message, 0), 0u) << text.err;
      EXPECT_EQ(text.out, "");
    }

    const auto json = RunTool("validate --json " + args);
    EXPECT_EQ(json.exitCode, c.exitCode);
    ASSERT_EQ(json.OutLines().size(), 1u) << json.out;
    const auto d = nytest::ParseLine(json.OutLines()[0]);
    EXPECT_EQ(d["valid"].GetBool(), c.exitCode == 0);
    EXPECT_EQ(std::string(d["document"].GetString()), dir.Native(c.doc));
    if (c.code != 0) {
      EXPECT_EQ(d["code"].GetInt(), c.code) << c.doc << " " << c.schema;
    }
  }
}

}  // namespace

namespace {

TEST(ToolValidate, JsonDocumentsAgainstJsonSchemasWithFileReferences) {
  nytest::TempDir dir;
  nytest::Run("mkdir -p " + Quote(dir.Native("defs")));
  WriteText(dir.Native("take.schema.json"),
            R"({"type":"object","required":["take"],"properties":{"take":{"$ref":"defs/take.json#/definitions/take"}}})");
  WriteText(dir.Native("defs/take.json"),
            R"({"definitions":{"take":{"properties":{"rate":{"type":"integer"}},"additionalProperties":{"$ref":"marks.json"}}}})");
  WriteText(dir.Native("defs/marks.json"), R"({"type":"array","items":{"type":"integer"}})");
  WriteText(dir.Native("dangling.json"), "\xEF\xBB\xBF {\"$ref\":\"nowhere.json#/x\"}");
  WriteText(dir.Native("good.json"), R"({"take":{"rate":48000,"m":[1,2]}})");
  WriteText(dir.Native("bad.json"), R"({"take":{"rate":48000,"m":[1,"x"]}})");
  WriteText(dir.Native("broken.json"), "[1,]");
  WriteText(dir.Native("badutf.json"), "{\"take\":{\"n\":\"\xF0\"}}");
  struct Case {
    std::string doc, schema;
    int exitCode, code;
    std::string message, pointer, keyword;
  } cases[] = {
      {"good.json", "take.schema.json", 0, 0, "", "", ""},
      {"bad.json", "take.schema.json", 1, 7, dir.Native("bad.json") + "#/take/m/1: not valid against", "/take/m/1", "type"},
      {"good.json", "dangling.json", 1, 3, dir.Native("dangling.json") + ": $ref \"nowhere.json#/x\" cannot be resolved", "",
       "RefNoRemoteSchema"},
      {"broken.json", "take.schema.json", 1, 5, dir.Native("broken.json") + ": not valid JSON: Invalid value.", "", ""},
      {"badutf.json", "take.schema.json", 1, 5, dir.Native("badutf.json") + ": not valid JSON: a string is not", "", ""},
  };
  for (const Case& c : cases) {
    const std::string args = Quote(dir.Native(c.doc)) + " " + Quote(dir.Native(c.schema));
    const auto text = RunTool("validate " + args);
    EXPECT_EQ(text.exitCode, c.exitCode) << c.doc << "\n" << text.err;
    if (c.exitCode != 0) {
      ASSERT_EQ(text.ErrLines().size(), 1u) << text.err;
      EXPECT_EQ(text.ErrLines()[0].rfind("nybase validate: " + c.message, 0), 0u) << text.err;
    }
    const auto json = RunTool("validate --json " + args);
    ASSERT_EQ(json.OutLines().size(), 1u) << json.out;
    const auto d = nytest::ParseLine(json.OutLines()[0]);
    EXPECT_EQ(d["valid"].GetBool(), c.exitCode == 0);
    if (c.code != 0) {
      EXPECT_EQ(d["code"].GetInt(), c.code) << c.doc;
      ASSERT_EQ(d["errors"].Size(), 1u);
      EXPECT_EQ(std::string(d["errors"][0]["pointer"].GetString()), c.pointer);
      EXPECT_EQ(std::string(d["errors"][0]["keyword"].GetString()), c.keyword);
    }
  }
}

}  // namespace
