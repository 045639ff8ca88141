// xmllint runner for the XML tests.
#include "XmlTestSupport.h"

#include <fstream>
#include <sstream>

#include "tests/support/TestSupport.h"

namespace xmltest {

std::string BillionLaughs(const std::string& root) {
  std::string doc = "<?xml version=\"1.0\"?>\n<!DOCTYPE " + root + " [\n <!ENTITY l0 \"lol\">\n";
  for (int i = 1; i <= 9; ++i) {
    doc += " <!ENTITY l" + std::to_string(i) + " \"";
    for (int j = 0; j < 10; ++j) doc += "&l" + std::to_string(i - 1) + ";";
    doc += "\">\n";
  }
  return doc + "]>\n<" + root + ">&l9;</" + root + ">\n";
}

LintResult RunXmllint(const std::string& arguments, const std::string& file, const std::string& scratchDir) {
  const std::string out = scratchDir + "/xmllint.out";
  LintResult result;
  result.exitCode = nytest::Run("xmllint " + arguments + " '" + file + "' >'" + out + "' 2>&1");
  std::ifstream in(out);
  const std::string prefix = file + ":";
  std::string line;
  while (std::getline(in, line)) {
    if (line.rfind(prefix, 0) != 0) continue;
    std::istringstream rest(line.substr(prefix.size()));
    LintError e;
    char colon = 0;
    if (!(rest >> e.line >> colon) || colon != ':') continue;
    std::string tail;
    std::getline(rest, tail);
    const size_t sep = tail.find(" error : ");
    if (sep == std::string::npos) continue;
    // "element b: Schemas validity" or "parser": the kind is what stands before " error : ".
    std::string head = tail.substr(0, sep);
    const size_t lastColon = head.rfind(": ");
    e.kind = lastColon == std::string::npos ? head.substr(head.find_first_not_of(' ')) : head.substr(lastColon + 2);
    e.message = tail.substr(sep + 9);
    result.errors.push_back(e);
  }
  return result;
}

}  // namespace xmltest
