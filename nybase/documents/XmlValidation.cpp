// XML Schema validation against schemas compiled once per path and kept for the process.
#include <nybase/documents/XmlValidation.h>

#include <string>

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlschemas.h>

#include <nybase/documents/internal/XmlGlobals.h>

namespace lu {

namespace {

// No network access for imports and includes; line numbers beyond 65535 kept exact.
constexpr int k_readOptions = XML_PARSE_NONET | XML_PARSE_BIG_LINES;
static_assert(k_readOptions == 0x400800);

// The compiled schema for the path, loading it on first use. Null on failure, with info's code set.
xmlSchemaPtr LoadSchema(const CStdStr<wchar_t>& schemaPath, XmlValidationErrorInfo& info) {
  auto& cache = detail::GetXmlSchemaCache();
  auto found = cache.find(schemaPath);
  if (found != cache.end()) {
    // A schema that failed once is never retried, whatever the first failure was.
    if (found->second.m_schema == nullptr) info.m_code = XmlValidationErrorInfo::k_schemaInvalid;
    return found->second.m_schema;
  }
  // The entry stays, with whatever handles were made, even when loading fails below.
  detail::XmlSchemaHandles& entry = cache[schemaPath];

  std::string native;
  if (detail::ToXmlNativePath(schemaPath.c_str(), schemaPath.size(), native)) {
    entry.m_doc = xmlReadFile(native.c_str(), nullptr, k_readOptions);
  }
  if (entry.m_doc == nullptr) {
    info.m_code = XmlValidationErrorInfo::k_schemaUnreadable;
    return nullptr;
  }
  entry.m_parserContext = xmlSchemaNewDocParserCtxt(entry.m_doc);
  if (entry.m_parserContext == nullptr) {
    info.m_code = XmlValidationErrorInfo::k_schemaUnreadable;
    return nullptr;
  }
  entry.m_schema = xmlSchemaParse(entry.m_parserContext);
  if (entry.m_schema == nullptr) {
    info.m_code = XmlValidationErrorInfo::k_schemaInvalid;
    return nullptr;
  }
  return entry.m_schema;
}

}  // namespace

bool ValidateXmlDoc(_xmlDoc* doc, const CStdStr<wchar_t>& schemaPath, XmlValidationErrorInfo& info) {
  xmlSchemaValidCtxtPtr context = nullptr;
  if (xmlSchemaPtr schema = LoadSchema(schemaPath, info); schema != nullptr) {
    context = xmlSchemaNewValidCtxt(schema);
    if (context == nullptr) {
      info.m_code = XmlValidationErrorInfo::k_schemaUnreadable;
    } else if (xmlSchemaValidateDoc(context, doc) == 0) {
      xmlSchemaFreeValidCtxt(context);
      return true;
    } else {
      info.m_code = XmlValidationErrorInfo::k_documentInvalid;
    }
  }
  // The last libxml2 error of the process: this failure's own, or an older one if it raised none.
  const detail::XmlErrorStore& store = detail::GetXmlErrorStore();
  info.m_message = store.m_message;
  info.m_line = store.m_line;
  info.m_column = store.m_column;
  if (context != nullptr) xmlSchemaFreeValidCtxt(context);
  return false;
}

bool ValidateXmlFile(const CStdStr<wchar_t>& docPath, const CStdStr<wchar_t>& schemaPath,
                     XmlValidationErrorInfo& info) {
  std::string native;
  xmlDocPtr doc = nullptr;
  if (detail::ToXmlNativePath(docPath.c_str(), docPath.size(), native)) {
    doc = xmlReadFile(native.c_str(), nullptr, k_readOptions);
  }
  if (doc == nullptr) {
    info.m_code = XmlValidationErrorInfo::k_documentUnreadable;
    info.m_filePath = docPath;
    return false;
  }
  const bool valid = ValidateXmlDoc(doc, schemaPath, info);
  xmlFreeDoc(doc);
  return valid;
}

}  // namespace lu
