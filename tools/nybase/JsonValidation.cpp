// JSON validation for `nybase validate`: a loader that compiles each schema file once, and the report.
#include "JsonValidation.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <sstream>

#include <nybase/documents/ThinJsonSchema.h>
#include <rapidjson/stringbuffer.h>

#include "FileCheck.h"

namespace nybase::tool {
namespace {

namespace fs = std::filesystem;
using lu::ThinJson::Document;
using lu::ThinJson::Schema;

std::optional<std::string> ReadWhole(const std::string& native) {
  std::ifstream in(native, std::ios::binary);
  if (!in) return std::nullopt;
  std::ostringstream text;
  text << in.rdbuf();
  if (in.bad()) return std::nullopt;
  return text.str();
}

// Compiles every schema file once, keyed by its normal path. A reference back to a file still
// compiling (a cycle between files) is left unresolved rather than followed for ever.
class SchemaLoader {
 public:
  struct Entry {
    std::string native;
    std::unique_ptr<Document> doc;
    std::unique_ptr<Schema> schema;
    std::string parseError;  // set when the file is unreadable or not JSON
  };

  const Entry& Load(const fs::path& path) {
    const std::string key = path.lexically_normal().string();
    if (auto it = m_entries.find(key); it != m_entries.end()) return *it->second;
    Entry& e = *m_entries.emplace(key, std::make_unique<Entry>()).first->second;
    e.native = key;
    const std::optional<std::string> text = ReadWhole(key);
    if (!text) {
      e.parseError = "cannot be read";
      return e;
    }
    auto parsed = lu::ThinJson::priv::ParseAllowComments(*text);
    if (!parsed) {
      e.parseError = "not valid JSON: " + parsed.Error();
      return e;
    }
    e.doc = std::make_unique<Document>(std::move(parsed).Value());
    const fs::path base = fs::path(key).parent_path();
    e.schema = std::make_unique<Schema>(*e.doc, [this, base](const CStdStr<char>& uri) { return Resolve(base, uri); });
    return e;
  }

  const std::map<std::string, std::unique_ptr<Entry>>& Entries() const { return m_entries; }

 private:
  const Schema* Resolve(const fs::path& base, std::string uri) {
    if (uri.rfind("file://", 0) == 0) uri.erase(0, 7);
    if (uri.find("://") != std::string::npos || uri.empty()) return nullptr;
    const fs::path target = fs::path(uri).is_absolute() ? fs::path(uri) : base / uri;
    if (m_entries.count(target.lexically_normal().string()) != 0 && !m_entries[target.lexically_normal().string()]->schema) {
      return nullptr;  // still compiling, or failed to load
    }
    return Load(target).schema.get();
  }

  std::map<std::string, std::unique_ptr<Entry>> m_entries;
};

// True when s is well-formed UTF-8 (JSON text must be). rapidjson 1.1.0's validator decodes
// strings for lengths and patterns and reads past the end of a truncated sequence.
bool IsUtf8(const char* s, size_t n) {
  const auto* p = reinterpret_cast<const unsigned char*>(s);
  for (size_t i = 0; i < n;) {
    const unsigned c = p[i];
    const size_t len = c < 0x80 ? 1 : (c >= 0xC2 && c <= 0xDF) ? 2 : (c >= 0xE0 && c <= 0xEF) ? 3 : (c >= 0xF0 && c <= 0xF4) ? 4 : 0;
    if (len == 0 || len > n - i) return false;
    for (size_t k = 1; k < len; ++k) {
      if ((p[i + k] & 0xC0) != 0x80) return false;
    }
    i += len;
  }
  return true;
}

// True when every string and key of the tree is well-formed UTF-8 (walked without recursion).
bool AllUtf8(lu::ThinJson::Variant root) {
  std::vector<lu::ThinJson::Variant> stack{root};
  while (!stack.empty()) {
    const lu::ThinJson::Variant v = stack.back();
    stack.pop_back();
    if (v.IsString() && !IsUtf8(v.GetString().data(), v.GetString().size())) return false;
    if (v.IsArray()) {
      for (const lu::ThinJson::Variant& e : v.GetArray()) stack.push_back(e);
    } else if (v.IsMap()) {
      for (const lu::ThinJson::MapItem& m : v.GetMap()) {
        if (!IsUtf8(m.GetKey().data(), m.GetKey().size())) return false;
        stack.push_back(m.GetValue());
      }
    }
  }
  return true;
}

std::string UriFragment(const rapidjson::GenericPointer<lu::ThinJson::RapidJsonValue>& p) {
  rapidjson::StringBuffer out;
  p.Stringify(out);
  return out.GetString();
}

}  // namespace

bool LooksLikeJson(const std::string& native) {
  std::unique_ptr<FILE, int (*)(FILE*)> f(std::fopen(native.c_str(), "rb"), &std::fclose);
  if (!f) return true;
  int c = std::fgetc(f.get());
  if (c == 0xEF && std::fgetc(f.get()) == 0xBB && std::fgetc(f.get()) == 0xBF) c = std::fgetc(f.get());
  while (c == ' ' || c == '\t' || c == '\r' || c == '\n') c = std::fgetc(f.get());
  return c != '<';
}

JsonValidationResult ValidateJsonFile(const std::string& doc, const std::string& schema) {
  JsonValidationResult result;
  auto fail = [&](int code, std::string pointer, std::string keyword, std::string where, std::string message) {
    result.code = code;
    result.errors.push_back({std::move(pointer), std::move(keyword), std::move(where), std::move(message)});
  };

  SchemaLoader loader;
  const SchemaLoader::Entry& root = loader.Load(fs::absolute(schema));
  if (!root.schema) {
    fail(root.parseError == "cannot be read" ? 1 : 3, "", "", "", schema + ": " + root.parseError);
    return result;
  }
  for (const auto& [path, entry] : loader.Entries()) {
    const std::string shown = entry.get() == &root ? schema : path;
    // A file that is there but is not JSON says why; a missing one shows as the unresolved $ref.
    if (!entry->schema && entry->parseError.rfind("not valid", 0) == 0) {
      fail(3, "", "RefNoRemoteSchema", path, schema + ": referenced schema " + path + " " + entry->parseError);
    }
    if (!entry->schema) continue;
    for (const Schema::Issue& issue : entry->schema->GetIssues()) {
      const std::string what =
          issue.key == Schema::k_csPatternRefused ? "pattern \"" + issue.detail + "\" is refused (unsafe for the pattern engine)"
          : issue.key == Schema::k_csRefInvalid  ? "$ref \"" + issue.detail + "\" does not lead to a schema object (or loops)"
          : issue.key == Schema::k_csSchemaInvalid ? "\"" + issue.detail + "\" holds something other than a schema object"
                                                 : "$ref \"" + issue.detail + "\" cannot be resolved";
      fail(3, "", issue.key, issue.detail, shown + ": " + what);
    }
  }
  if (!result.errors.empty()) return result;

  const std::string why = CheckReadableFile(doc);
  const std::optional<std::string> text = why.empty() ? ReadWhole(doc) : std::nullopt;
  if (!text) {
    fail(5, "", "", "", doc + ": " + (why.empty() ? "cannot be read" : why));
    return result;
  }
  auto parsed = lu::ThinJson::priv::ParseAllowComments(*text);
  if (!parsed) {
    fail(5, "", "", "", doc + ": not valid JSON: " + parsed.Error());
    return result;
  }
  if (!AllUtf8(parsed->GetRoot())) {
    fail(5, "", "", "", doc + ": not valid JSON: a string is not well-formed UTF-8");
    return result;
  }
  rapidjson::GenericSchemaValidator<lu::ThinJson::RapidJsonSchemaDocument> validator(root.schema->GetRapidJson());
  if (!parsed->GetRapidJson().Accept(validator)) {
    const std::string pointer = UriFragment(validator.GetInvalidDocumentPointer());
    const std::string keyword = validator.GetInvalidSchemaKeyword();
    const std::string where = UriFragment(validator.GetInvalidSchemaPointer());
    fail(7, pointer, keyword, where,
         doc + "#" + pointer + ": not valid against " + schema + ": keyword \"" + keyword + "\" at #" + where);
  }
  return result;
}

}  // namespace nybase::tool
