// nybase validate: checks an XML document against an XML Schema.
#include "Commands.h"

namespace nybase::tool {

const CommandSpec& ValidateSpec() {
  static const CommandSpec spec{
      "validate",
      "DOC SCHEMA [--json]",
      "check an XML document against an XML Schema (.xsd)",
      "Exits 0 when DOC is valid, 1 when it is not (or cannot be read), with the reason and\n"
      "position on stderr.",
      {k_jsonOption},
      "  nybase validate project.xml project.xsd",
      2,
      2};
  return spec;
}

int RunValidate(int argc, char** argv) {
  const ParseResult parsed = ParseArgs(ValidateSpec(), argc, argv);
  if (!parsed.args) return parsed.exitCode;
  return NotAvailable(ValidateSpec(), "schema validation needs the XML reader, which is not built yet");
}

}  // namespace nybase::tool
