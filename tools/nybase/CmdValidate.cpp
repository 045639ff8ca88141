// nybase validate: checks an XML document against an XML Schema, or a JSON document against a JSON schema.
#include <string>

#include <nybase/documents/XmlValidation.h>

#include "AudioInput.h"
#include "Commands.h"
#include "FileCheck.h"
#include "Json.h"
#include "JsonValidation.h"

namespace nybase::tool {
namespace {

std::string Reason(const lu::XmlValidationErrorInfo& info, const std::string& doc, const std::string& schema) {
  std::string message = Narrow(info.m_message);
  while (!message.empty() && static_cast<unsigned char>(message.back()) <= ' ') message.pop_back();
  std::string where;
  if (info.m_line > 0) {
    where += ':';
    where += std::to_string(info.m_line);
  }
  if (info.m_line > 0 && info.m_column > 0) {
    where += ':';
    where += std::to_string(info.m_column);
  }
  switch (info.m_code) {
    case lu::XmlValidationErrorInfo::k_documentInvalid:
      return doc + where + ": not valid against " + schema + (message.empty() ? "" : ": " + message);
    case lu::XmlValidationErrorInfo::k_documentUnreadable:
      return doc + ": cannot be read, or is not well-formed XML";
    case lu::XmlValidationErrorInfo::k_schemaInvalid:
      return schema + ": not a valid XML Schema" + (message.empty() ? "" : ": " + message);
    default:
      return schema + ": cannot read the schema" + (message.empty() ? "" : ": " + message);
  }
}

}  // namespace

const CommandSpec& ValidateSpec() {
  static const CommandSpec cmdSpec{
      "validate",
      "DOC SCHEMA [--json]",
      "check an XML document against an XML Schema, or JSON against a JSON schema",
      "The schema's content chooses: XML when it starts with '<', JSON (draft 4) otherwise.\n"
      "A JSON schema's \"$ref\"s to other files are resolved relative to the file that holds\n"
      "them; other URIs are not fetched. Exits 0 when DOC is valid, 1 when it is not (or cannot\n"
      "be read), with the reason and position on stderr: for JSON, the document's JSON pointer\n"
      "and the failing schema keyword (the first failure found).",
      {k_jsonOption},
      "  nybase validate project.xml project.xsd\n  nybase validate take.json take.schema.json",
      2,
      2};
  return cmdSpec;
}

namespace {

int RunJsonValidate(const CommandSpec& cmdSpec, const std::string& doc, const std::string& schema, bool json) {
  const JsonValidationResult result = ValidateJsonFile(doc, schema);
  if (json) {
    Json j;
    j.BeginObject().Field("document", doc).Field("schema", schema).Field("valid", result.code == 0);
    if (result.code != 0) {
      j.Field("code", result.code).Key("errors").BeginArray();
      for (const auto& e : result.errors) {
        j.BeginObject().Field("pointer", e.pointer).Field("keyword", e.keyword).Field("schemaPointer", e.schemaPointer)
            .Field("error", e.message).EndObject();
      }
      j.EndArray();
    }
    j.EndObject();
    std::fputs((j.Text() + "\n").c_str(), stdout);
  } else if (result.code == 0) {
    std::printf("%s: valid against %s\n", doc.c_str(), schema.c_str());
  }
  for (const auto& e : result.errors) PrintError(cmdSpec, e.message);
  return result.code == 0 ? k_exitOk : k_exitFailure;
}

}  // namespace

int RunValidate(int argc, char** argv) {
  const CommandSpec& cmdSpec = ValidateSpec();
  const ParseResult parsed = ParseArgs(cmdSpec, argc, argv);
  if (!parsed.args) return parsed.exitCode;
  const bool json = parsed.args->Has("json");
  const std::string doc = parsed.args->Positional()[0];
  const std::string schema = parsed.args->Positional()[1];

  if (CheckReadableFile(schema).empty() && LooksLikeJson(schema)) return RunJsonValidate(cmdSpec, doc, schema, json);

  lu::XmlValidationErrorInfo info;
  std::string error;
  if (const std::string why = CheckReadableFile(doc); !why.empty()) {
    error = doc + ": " + why;
    info.m_code = lu::XmlValidationErrorInfo::k_documentUnreadable;
  } else if (const std::string why2 = CheckReadableFile(schema); !why2.empty()) {
    error = schema + ": " + why2;
    info.m_code = lu::XmlValidationErrorInfo::k_schemaUnreadable;
  } else if (!lu::ValidateXmlFile(ToLibraryPath(doc), ToLibraryPath(schema), info)) {
    error = Reason(info, doc, schema);
  }
  if (json) {
    Json j;
    j.BeginObject().Field("document", doc).Field("schema", schema).Field("valid", error.empty());
    if (!error.empty()) {
      j.Field("code", info.m_code).Field("line", info.m_line).Field("column", info.m_column)
          .Field("error", error);
    }
    j.EndObject();
    std::fputs((j.Text() + "\n").c_str(), stdout);
  } else if (error.empty()) {
    std::printf("%s: valid against %s\n", doc.c_str(), schema.c_str());
  }
  if (!error.empty()) {
    PrintError(cmdSpec, error);
    return k_exitFailure;
  }
  return k_exitOk;
}

}  // namespace nybase::tool
