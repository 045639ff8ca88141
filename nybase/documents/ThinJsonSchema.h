// lu::ThinJson::Schema: a compiled JSON schema (draft 4) that can refer to other schemas.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <nybase/documents/ThinJson.h>

// The class compiles; it does not validate. A caller validates with rapidjson's validator on
// GetRapidJson() and reads rapidjson's own error report.
//
// Built on rapidjson 1.1.0, which differs from newer rapidjson in ways this class absorbs:
// - The remote provider interface has only GetRemoteDocument(const char* uri, SizeType length);
//   there is no URI-object overload.
// - 1.1.0 hands a remote reference over one character short: "a.json#/x" arrives as "a.jso".
//   The provider restores the text the schema wrote before the '#' (only for references met in the
//   schema being compiled; any other call is passed on as given) and the resolver sees "a.json".
// - A compiled 1.1.0 schema carries no error object. A remote reference left unresolved (no
//   resolver, a resolver returning null, or a fragment the other schema lacks) is instead listed by
//   GetIssues() under the key k_csRefNoRemoteSchema; the compiled schema then ignores that $ref,
//   as 1.1.0 does.
// - 1.1.0's pattern engine reads past the end of a pattern that is not well-formed UTF-8, and
//   recurses without end on a repeated group that can match nothing ("(a*)*", "(a?)+"), reads
//   outside its operand stack on an empty group or alternative ("a||b", "()"), and expands
//   counted repetitions without limit. Such patterns (in "pattern" or as keys of
//   "patternProperties") are refused before compiling: the schema compiles to one that accepts
//   nothing, and GetIssues() lists each pattern under k_csPatternRefused. Well-formed non-ASCII
//   patterns are accepted: 1.1.0 matches them by code point.
// - 1.1.0 reads the target of a local "$ref" ("#/...") as an object without testing it, follows a
//   chain of local references recursively (without end on a cycle), and leaves a null schema for
//   a target that is missing. A schema with a local reference to a missing value or a value that
//   is not an object, or a chain longer than 32 hops, is refused like an unsafe pattern, listed
//   under k_csRefInvalid.
// - 1.1.0 leaves a null schema, which its validator follows, where "not", an element of "allOf",
//   "anyOf", "oneOf" or an "items" array, or a value of "patternProperties" is not an object, and
//   reads a "patternProperties" that is not an object as one; it reads every element of a
//   "dependencies" array as a string, and leaks when "dependencies" names the same property twice
//   with arrays. Such a schema is refused too, listed under k_csSchemaInvalid with the keyword.
// - 1.1.0's validator follows an unset schema pointer (and crashes) when an object key matches only a
//   "patternProperties" pattern while "additionalProperties" is false. Such schemas are compiled
//   from a private copy in which that false is the equivalent {"not": {}}; a rejected additional
//   property is then reported under the keyword "not" at ".../additionalProperties".
// - 1.1.0's validator decodes the document's strings (for lengths and patterns) and reads past the
//   end of a truncated UTF-8 sequence; the parsers here do not check encoding. Validate only
//   documents whose strings are well-formed UTF-8 (`nybase validate` checks before validating).
namespace lu::ThinJson {

using RapidJsonSchemaDocument = rapidjson::GenericSchemaDocument<RapidJsonValue, rapidjson::CrtAllocator>;

namespace detail {
struct SchemaExtras;
}

class Schema {
 public:
  using Resolver = std::function<const Schema*(const CStdStr<char>&)>;

  // Resolves references into other documents through the caller's resolver, while compiling.
  class RemoteSchemaProvider : public rapidjson::IGenericRemoteSchemaDocumentProvider<RapidJsonSchemaDocument> {
   public:
    explicit RemoteSchemaProvider(Resolver resolver) : m_resolver(std::move(resolver)) {}
    ~RemoteSchemaProvider() override = default;
    // Calls the resolver with the URI (restored as the header says); returns that schema's compiled
    // document, or null when the resolver returns null. An empty resolver throws
    // std::bad_function_call.
    const RapidJsonSchemaDocument* GetRemoteDocument(const char* uri, rapidjson::SizeType length) override;

   private:
    friend class Schema;
    Resolver m_resolver;
    detail::SchemaExtras* m_extras = nullptr;  // set only while the owning Schema compiles
  };

  // One reason a schema compiled incompletely.
  struct Issue {
    CStdStr<char> key;     // one of the k_cs keys below
    CStdStr<char> detail;  // the $ref text, the refused pattern, or the keyword
  };
  static constexpr const char* k_csRefNoRemoteSchema = "RefNoRemoteSchema";
  static constexpr const char* k_csPatternRefused = "PatternRefused";
  static constexpr const char* k_csRefInvalid = "RefInvalid";
  static constexpr const char* k_csSchemaInvalid = "SchemaInvalid";

  // Compiles the document's root (which must outlive this Schema).
  Schema(const Document& document, std::optional<Resolver> resolver);
  // Stores the view, moves the resolver (if any) into a new provider, then compiles the JSON behind
  // the view. Never reports by failing: see GetIssues(). A Schema returned by the resolver must
  // outlive every Schema that refers to it.
  Schema(Variant data, std::optional<Resolver> resolver);
  // Takes the view and the pointers; the source keeps its view and must only be destroyed or
  // assigned to.
  Schema(Schema&& other) noexcept;
  // Replaces the provider (destroying the old one), then the compiled schema (likewise).
  Schema& operator=(Schema&& other) noexcept;
  Schema(const Schema&) = delete;
  Schema& operator=(const Schema&) = delete;
  // Destroys the compiled schema, then the provider.
  ~Schema();

  const Variant& GetData() const noexcept { return m_data; }
  // The compiled schema, for rapidjson's validator. Not to be called on a moved-from Schema.
  const RapidJsonSchemaDocument& GetRapidJson() const noexcept { return *m_compiled; }
  // What did not compile as written (empty for a complete schema or a moved-from one).
  const std::vector<Issue>& GetIssues() const noexcept;

 private:
  Variant m_data;
  std::unique_ptr<detail::SchemaExtras> m_extras;  // issues, and the private copy when one was needed
  std::unique_ptr<RemoteSchemaProvider> m_provider;
  std::unique_ptr<RapidJsonSchemaDocument> m_compiled;
};

}  // namespace lu::ThinJson
