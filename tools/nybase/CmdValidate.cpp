// nybase validate: checks an XML document against an XML Schema.
#include <string>

#include <nybase/documents/XmlValidation.h>

#include "AudioInput.h"
#include "Commands.h"
#include "FileCheck.h"
#include "Json.h"

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
      "check an XML document against an XML Schema (.xsd)",
      "Exits 0 when DOC is valid, 1 when it is not (or cannot be read), with the reason and\n"
      "position on stderr.",
      {k_jsonOption},
      "  nybase validate project.xml project.xsd",
      2,
      2};
  return cmdSpec;
}

int RunValidate(int argc, char** argv) {
  const CommandSpec& cmdSpec = ValidateSpec();
  const ParseResult parsed = ParseArgs(cmdSpec, argc, argv);
  if (!parsed.args) return parsed.exitCode;
  const bool json = parsed.args->Has("json");
  const std::string doc = parsed.args->Positional()[0];
  const std::string schema = parsed.args->Positional()[1];

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
