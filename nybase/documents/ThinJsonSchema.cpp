// lu::ThinJson::Schema: screening, compilation through rapidjson 1.1.0 and remote resolution.
#include <nybase/documents/ThinJsonSchema.h>

#include <set>
#include <string_view>

#include "internal/PatternScreen.h"

namespace lu::ThinJson {

namespace detail {

// What a Schema keeps beside the three members every Schema has.
struct SchemaExtras {
  struct Ref {
    const char* text;
    size_t length;
  };
  // Remote references ("$ref" not starting with '#') in the tree that was compiled, in tree order.
  std::vector<Ref> refs;
  std::vector<Schema::Issue> issues;
  // The private copy compiled instead of the caller's JSON, when one was needed.
  std::unique_ptr<RapidJsonDocument> copy;
};

}  // namespace detail

namespace {

using Pointer = rapidjson::GenericPointer<RapidJsonValue, rapidjson::CrtAllocator>;

struct Findings {
  bool needsCopy = false;   // an additionalProperties false beside patternProperties
  bool refused = false;     // a pattern, a reference or a keyword value was refused
};

// Longest chain of local references (a "$ref" to an object whose own "$ref" is local, ...) that
// rapidjson 1.1.0 is let follow: it follows them recursively, without end on a cycle.
constexpr int k_maxLocalRefHops = 32;

// The first member named key (rapidjson's compiler reads the first of duplicates too), or null.
RapidJsonValue* FindFirst(RapidJsonValue& object, BasicStringView<char> key) {
  const MapIterator it = Variant(object).GetMap().Find(key);
  return it == Variant(object).MapEnd() ? nullptr : const_cast<RapidJsonValue*>(it->GetValue().GetRapidJson());
}

// Walks every object of the tree, as rapidjson 1.1.0 compiles every object anywhere in a schema
// (even inside "enum"). Records remote references and refused patterns; with an allocator, also
// rewrites additionalProperties false beside patternProperties to {"not": {}}. Iterative, so a
// deep tree cannot overflow the stack.
Findings Walk(RapidJsonValue& root, detail::SchemaExtras& extras, rapidjson::MemoryPoolAllocator<>* rewrite) {
  Findings found;
  auto screen = [&](const RapidJsonValue& s) {
    if (!lu::detail::IsSafePattern(s.GetString(), s.GetStringLength())) {
      found.refused = true;
      extras.issues.push_back({Schema::k_csPatternRefused, CStdStr<char>(s.GetString(), s.GetStringLength())});
    }
  };
  std::vector<const RapidJsonValue*> localRefs;
  std::vector<RapidJsonValue*> stack{&root};
  while (!stack.empty()) {
    RapidJsonValue& v = *stack.back();
    stack.pop_back();
    // Children go on in reverse, so they come off (and issues are listed) in document order.
    if (v.IsArray()) {
      for (auto e = v.End(); e != v.Begin();) stack.push_back(--e);
      continue;
    }
    if (!v.IsObject()) continue;
    if (const RapidJsonValue* ref = FindFirst(v, "$ref"); ref && ref->IsString() && ref->GetStringLength() > 0 &&
                                                          ref->GetString()[0] != '#') {
      extras.refs.push_back({ref->GetString(), ref->GetStringLength()});
    } else if (ref && ref->IsString() && ref->GetStringLength() > 0) {
      localRefs.push_back(ref);
    }
    // 1.1.0 leaves a null schema (which its validator then follows) where these keywords hold
    // something other than objects, and reads a non-object "patternProperties" as an object.
    auto notSchema = [&](const char* keyword) {
      found.refused = true;
      extras.issues.push_back({Schema::k_csSchemaInvalid, keyword});
    };
    auto allObjects = [](const RapidJsonValue& a) {
      for (const RapidJsonValue& e : a.GetArray()) {
        if (!e.IsObject()) return false;
      }
      return true;
    };
    if (const RapidJsonValue* x = FindFirst(v, "not"); x && !x->IsObject()) notSchema("not");
    for (const char* keyword : {"allOf", "anyOf", "oneOf", "items"}) {
      if (const RapidJsonValue* x = FindFirst(v, keyword); x && x->IsArray() && !allObjects(*x)) notSchema(keyword);
    }
    if (const RapidJsonValue* x = FindFirst(v, "patternProperties"); x && !x->IsObject()) notSchema("patternProperties");
    // 1.1.0 allocates a table per array dependency and loses the first of a duplicated name, and
    // reads every element of such an array as a string.
    if (const RapidJsonValue* x = FindFirst(v, "dependencies"); x && x->IsObject()) {
      std::set<std::string_view> names;
      for (const auto& m : x->GetObject()) {
        if (!m.value.IsArray()) continue;
        bool strings = names.insert({m.name.GetString(), m.name.GetStringLength()}).second;
        for (const RapidJsonValue& e : m.value.GetArray()) strings = strings && e.IsString();
        if (!strings) notSchema("dependencies");
      }
    }
    if (const RapidJsonValue* pattern = FindFirst(v, "pattern"); pattern && pattern->IsString()) screen(*pattern);
    if (const RapidJsonValue* props = FindFirst(v, "patternProperties"); props && props->IsObject()) {
      for (const auto& m : props->GetObject()) {
        screen(m.name);
        if (!m.value.IsObject()) notSchema("patternProperties");
      }
      if (RapidJsonValue* additional = FindFirst(v, "additionalProperties"); additional && additional->IsFalse()) {
        found.needsCopy = true;
        if (rewrite) {
          additional->SetObject();
          additional->AddMember("not", RapidJsonValue(rapidjson::kObjectType), *rewrite);
        }
      }
    }
    RapidJsonMember* const first = v.MemberBegin().operator->();
    for (RapidJsonMember* m = v.MemberEnd().operator->(); m != first;) stack.push_back(&(--m)->value);
  }
  // 1.1.0 reads a local reference's target as an object without looking, and follows chains of
  // them recursively: a target that is not an object, or a chain too long (or a cycle), is refused.
  for (const RapidJsonValue* ref : localRefs) {
    const RapidJsonValue* hop = ref;
    for (int hops = 0;; ++hops) {
      const Pointer pointer(hop->GetString(), hop->GetStringLength());
      if (!pointer.IsValid()) break;  // 1.1.0 ignores the $ref
      // A missing target leaves a null schema in 1.1.0 where no default stands (as under "not").
      const RapidJsonValue* target = pointer.Get(root);
      const RapidJsonValue* next = target && target->IsObject() ? FindFirst(const_cast<RapidJsonValue&>(*target), "$ref") : nullptr;
      if (!target || !target->IsObject() || (hops >= k_maxLocalRefHops && next)) {
        found.refused = true;
        extras.issues.push_back({Schema::k_csRefInvalid, CStdStr<char>(ref->GetString(), ref->GetStringLength())});
        break;
      }
      if (!next || !next->IsString() || next->GetStringLength() == 0 || next->GetString()[0] != '#') break;
      hop = next;
    }
  }
  return found;
}

}  // namespace

const RapidJsonSchemaDocument* Schema::RemoteSchemaProvider::GetRemoteDocument(const char* uri, rapidjson::SizeType length) {
  CStdStr<char> text = uri ? CStdStr<char>(uri, length) : CStdStr<char>();
  const detail::SchemaExtras::Ref* ref = nullptr;
  if (m_extras) {
    // rapidjson 1.1.0 passes the text before the '#' minus one character; restore it.
    for (const auto& r : m_extras->refs) {
      if (r.text == uri && size_t{length} + 1 <= r.length && (size_t{length} + 1 == r.length || r.text[length + 1] == '#')) {
        ref = &r;
        text.assign(uri, size_t{length} + 1);
        break;
      }
    }
  }
  const Schema* const target = m_resolver(text);
  bool resolved = target && target->m_compiled;
  if (resolved && ref) {
    // The fragment must name an object of the other schema, or 1.1.0 drops the reference silently.
    const Pointer pointer(ref->text + text.size(), ref->length - text.size());
    const RapidJsonValue* found = pointer.IsValid() ? pointer.Get(*target->GetData().GetRapidJson()) : nullptr;
    resolved = found && found->IsObject();
  }
  if (!resolved && m_extras) {
    m_extras->issues.push_back({k_csRefNoRemoteSchema, ref ? CStdStr<char>(ref->text, ref->length) : text});
  }
  return target && target->m_compiled ? target->m_compiled.get() : nullptr;
}

Schema::Schema(const Document& document, std::optional<Resolver> resolver)
    : Schema(document.GetRoot(), std::move(resolver)) {}

Schema::Schema(Variant data, std::optional<Resolver> resolver) : m_data(data), m_extras(new detail::SchemaExtras) {
  if (resolver) m_provider = std::make_unique<RemoteSchemaProvider>(std::move(*resolver));
  resolver.reset();

  // Screen the caller's JSON; it is only read (no allocator is given, so nothing is rewritten).
  RapidJsonValue* source = const_cast<RapidJsonValue*>(data.GetRapidJson());
  const Findings found = Walk(*source, *m_extras, nullptr);
  if (found.refused) {
    // Refused cleanly: compile a schema that accepts nothing ({"not": {}}).
    m_extras->refs.clear();
    m_extras->copy = std::make_unique<RapidJsonDocument>();
    m_extras->copy->SetObject().AddMember("not", RapidJsonValue(rapidjson::kObjectType), m_extras->copy->GetAllocator());
    source = m_extras->copy.get();
  } else if (found.needsCopy) {
    m_extras->refs.clear();
    m_extras->copy = std::make_unique<RapidJsonDocument>();
    m_extras->copy->CopyFrom(*source, m_extras->copy->GetAllocator());
    source = m_extras->copy.get();
    Walk(*source, *m_extras, &m_extras->copy->GetAllocator());
  }

  if (m_provider) m_provider->m_extras = m_extras.get();
  m_compiled = std::make_unique<RapidJsonSchemaDocument>(*source, m_provider.get());
  if (m_provider) {
    m_provider->m_extras = nullptr;
  } else {
    for (const auto& r : m_extras->refs) m_extras->issues.push_back({k_csRefNoRemoteSchema, CStdStr<char>(r.text, r.length)});
  }
}

Schema::Schema(Schema&& other) noexcept
    : m_data(other.m_data),
      m_extras(std::move(other.m_extras)),
      m_provider(std::move(other.m_provider)),
      m_compiled(std::move(other.m_compiled)) {}

Schema& Schema::operator=(Schema&& other) noexcept {
  if (this == &other) return *this;
  m_data = other.m_data;
  std::unique_ptr<RemoteSchemaProvider> oldProvider = std::exchange(m_provider, std::move(other.m_provider));
  oldProvider.reset();
  std::unique_ptr<RapidJsonSchemaDocument> oldCompiled = std::exchange(m_compiled, std::move(other.m_compiled));
  oldCompiled.reset();
  // The old compiled schema may have pointed into the old private copy: it went first.
  m_extras = std::move(other.m_extras);
  return *this;
}

Schema::~Schema() {
  m_compiled.reset();
  m_provider.reset();
}

const std::vector<Schema::Issue>& Schema::GetIssues() const noexcept {
  static const std::vector<Issue> k_none;
  return m_extras ? m_extras->issues : k_none;
}

}  // namespace lu::ThinJson
