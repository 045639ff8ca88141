// libxml2's start-up and shutdown for the library, the error store it reports to, the schema cache.
#include <nybase/documents/internal/XmlGlobals.h>

#include <libxml/globals.h>
#include <libxml/parser.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlschemas.h>

#include <nybase/platform/NativePath.h>

namespace lu::detail {

namespace {

// Overwrites the store with libxml2's error: message (UTF-8), line, and int2, the column.
void OnXmlError(void* context, xmlErrorPtr error) {
  auto* store = static_cast<XmlErrorStore*>(context);
  if (store == nullptr || error == nullptr) return;
  store->m_message = CStdStr<wchar_t>(error->message);
  store->m_line = error->line;
  store->m_column = error->int2;
}

// Constructed in this order and destroyed in reverse: the library object below frees the cached
// handles and shuts libxml2 down before the cache and the store go away.
XmlErrorStore g_errorStore;
std::map<CStdStr<wchar_t>, XmlSchemaHandles> g_schemaCache;

struct XmlLibrary {
  XmlLibrary() {
    // Runs while the library loads, before any thread of the application can call in.
    xmlInitParser();
    // The handler is per thread in libxml2's threaded build: set it for this thread and as the
    // default that every later thread starts with.
    xmlSetStructuredErrorFunc(&g_errorStore, &OnXmlError);
    xmlThrDefSetStructuredErrorFunc(&g_errorStore, &OnXmlError);
  }
  ~XmlLibrary() {
    for (auto& entry : g_schemaCache) {
      XmlSchemaHandles& h = entry.second;
      if (h.m_schema != nullptr) xmlSchemaFree(h.m_schema);
      if (h.m_parserContext != nullptr) xmlSchemaFreeParserCtxt(h.m_parserContext);
      if (h.m_doc != nullptr) xmlFreeDoc(h.m_doc);
      h = XmlSchemaHandles{};
    }
    xmlCleanupParser();
  }
  XmlLibrary(const XmlLibrary&) = delete;
  XmlLibrary& operator=(const XmlLibrary&) = delete;
};
XmlLibrary g_library;

}  // namespace

XmlErrorStore& GetXmlErrorStore() { return g_errorStore; }

std::map<CStdStr<wchar_t>, XmlSchemaHandles>& GetXmlSchemaCache() { return g_schemaCache; }

bool ToXmlNativePath(const wchar_t* path, size_t len, std::string& native) {
  return lu::platform::ToNativePath(path, len, native);
}

}  // namespace lu::detail
