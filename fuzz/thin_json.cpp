// Fuzz target: ThinJson parsing and view walks over arbitrary bytes, or schema compilation of them.
#include <cstddef>
#include <cstdint>
#include <vector>

#include <nybase/documents/ThinJsonSchema.h>

namespace {

using namespace lu::ThinJson;

// Visits every value through the views (iteratively), reading each as its kind.
size_t Walk(Variant root) {
  size_t sink = 0;
  std::vector<Variant> stack{root};
  while (!stack.empty()) {
    const Variant v = stack.back();
    stack.pop_back();
    switch (v.GetType()) {
      case Variant::Type::Map:
        for (const MapItem& item : v.GetMap()) {
          sink += item.GetKey().size();
          // Lookup by key finds the first member of that name.
          sink += v.Contains(item.GetKey()) && v[item.GetKey()].IsNull();
          stack.push_back(item.GetValue());
        }
        break;
      case Variant::Type::Array:
        for (ArrayIterator it = v.ArrayBegin(); it != v.ArrayEnd(); ++it) stack.push_back(*it);
        break;
      case Variant::Type::String:
        sink += v.GetString().size();
        break;
      case Variant::Type::Number:
        sink += static_cast<size_t>(v.GetDouble() != 0) + (v.IsInt64() ? static_cast<size_t>(v.GetInt64()) : 0);
        break;
      default:
        sink += v.GetBool();
        break;
    }
  }
  return sink + (root == root);
}

// True when every string and key is well-formed UTF-8 (the validator's precondition, which
// `nybase validate` checks before validating).
bool AllUtf8(Variant root) {
  auto ok = [](lu::BasicStringView<char> s) {
    const auto* p = reinterpret_cast<const unsigned char*>(s.data());
    for (size_t i = 0; i < s.size();) {
      const unsigned c = p[i];
      const size_t n = c < 0x80 ? 1 : (c >= 0xC2 && c <= 0xDF) ? 2 : (c >= 0xE0 && c <= 0xEF) ? 3 : (c >= 0xF0 && c <= 0xF4) ? 4 : 0;
      if (n == 0 || n > s.size() - i) return false;
      for (size_t k = 1; k < n; ++k) {
        if ((p[i + k] & 0xC0) != 0x80) return false;
      }
      i += n;
    }
    return true;
  };
  std::vector<Variant> stack{root};
  while (!stack.empty()) {
    const Variant v = stack.back();
    stack.pop_back();
    if (v.IsString() && !ok(v.GetString())) return false;
    if (v.IsArray()) {
      for (const Variant& e : v.GetArray()) stack.push_back(e);
    } else if (v.IsMap()) {
      for (const MapItem& m : v.GetMap()) {
        if (!ok(m.GetKey())) return false;
        stack.push_back(m.GetValue());
      }
    }
  }
  return true;
}

}  // namespace

// First byte: bit 0 picks the mode (0 parse and walk, 1 compile as a schema), bit 1 allows
// comments. In schema mode a reference resolves to a small fixed schema when bit 2 is set, and to
// nothing otherwise; with bit 3 the schema's own JSON is then validated against it, as
// `nybase validate` would (well-formed UTF-8 only).
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const uint8_t mode = data[0];
  const lu::BasicStringView<char> text(reinterpret_cast<const char*>(data + 1), size - 1);
  auto parsed = (mode & 2) ? priv::ParseAllowComments(text) : priv::ParseNoComments(text);
  if (!parsed) return 0;
  if ((mode & 1) == 0) {
    volatile size_t sink = Walk(parsed->GetRoot());
    (void)sink;
    return 0;
  }
  static const Document* const k_target = [] {
    static Document d = std::move(priv::ParseNoComments(R"({"definitions":{"a":{"type":"integer"}},"type":"array"})")).Value();
    return &d;
  }();
  static const Schema k_targetSchema(*k_target, std::nullopt);
  const Schema schema(*parsed, [&](const CStdStr<char>&) { return (mode & 4) ? &k_targetSchema : nullptr; });
  volatile size_t sink = schema.GetIssues().size();
  (void)sink;
  if ((mode & 8) && AllUtf8(parsed->GetRoot())) {
    rapidjson::GenericSchemaValidator<RapidJsonSchemaDocument> validator(schema.GetRapidJson());
    sink = parsed->GetRapidJson().Accept(validator);
  }
  return 0;
}
