// Fuzz target: arbitrary bytes parsed into a NyJson tree, written back as text and read again,
// merged, and walked with lu::JsonTextReader; the parse and the tree's own compact text are
// checked against rapidjson's on the way.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <nybase/documents/JsonHelpers.h>
#include <nybase/documents/JsonTextReader.h>

namespace jh = lu::JsonHelpers;

namespace {

// Moves into every map entry and array element below the reader's node, to a bounded depth.
void Walk(lu::JsonTextReader& reader, const NyJson& node, int depth) {
  if (depth > 8) return;
  reader.IsEmptyElement();
  const char* out = nullptr;
  if (!node.IsMap()) return;
  for (const auto& [key, value] : node.GetMap()) {
    reader.GetConstAttribute(key.c_str(), out);
    reader.GetAttribute(CStdStr<wchar_t>(key.c_str()));
    // Wide names reach only ASCII keys unchanged; others may name another entry.
    bool ascii = true;
    for (const char* p = key.c_str(); *p; ++p) ascii = ascii && static_cast<unsigned char>(*p) < 0x80;
    if (!ascii || !reader.MoveTo(CStdStr<wchar_t>(key.c_str()))) continue;
    reader.GetConstName();
    if (value.IsArray()) {
      for (const NyJson& element : value.GetArray()) {
        reader.Next();
        Walk(reader, element, depth + 1);
      }
      reader.Next();
      if (reader.GetNodeType() != lu::EndElement) std::abort();
      reader.CleanArray();
    } else {
      Walk(reader, value, depth + 1);
    }
    reader.MoveToPrevious();
  }
}

// Whether a number anywhere in the tree is not finite: rapidjson 1.1.0 reads some overlong
// numbers as infinity without an error, and a writer stops at a non-finite number, so such a tree
// cannot be read back whole. Iterative, so deep trees cannot exhaust the stack.
bool HoldsNonFinite(const NyJson& root) {
  std::vector<const NyJson*> pending{&root};
  while (!pending.empty()) {
    const NyJson* node = pending.back();
    pending.pop_back();
    if (node->IsVariant()) {
      const NyVariant& v = node->GetVariant();
      if ((v.GetType() == NyVariant::TypeDouble || v.GetType() == NyVariant::TypeFloat) && !std::isfinite(v.GetDouble())) {
        return true;
      }
    } else if (node->IsArray()) {
      for (const NyJson& element : node->GetArray()) pending.push_back(&element);
    } else if (node->IsMap()) {
      for (const auto& entry : node->GetMap()) pending.push_back(&entry.second);
    }
  }
  return false;
}

// Whether the text, read with rapidjson's own parser as a NUL-terminated string, gives the same
// document and the same error (code and offset) as ReadStream did. Only for text that no depth
// limit can touch (fewer opening brackets than the limit) and that holds no NUL.
void CheckAgainstRapidJson(const char* text, size_t size, bool comments, const jh::Document& doc) {
  size_t opening = 0;
  for (size_t i = 0; i < size; ++i) {
    if (text[i] == '\0') return;
    opening += text[i] == '[' || text[i] == '{';
  }
  if (opening > size_t(jh::k_maxDepth)) return;
  const std::string copy(text, size);
  jh::Document ref;
  if (comments) {
    ref.Parse<rapidjson::kParseCommentsFlag>(copy.c_str());
  } else {
    ref.Parse(copy.c_str());
  }
  if (ref.GetParseError() != doc.GetParseError() || ref.GetErrorOffset() != doc.GetErrorOffset()) std::abort();
  // By their text: rapidjson's == looks members up by name, which duplicate names defeat.
  if (!ref.HasParseError() && jh::ToString(ref) != jh::ToString(doc)) std::abort();
}

}  // namespace

// The first byte: bit 0 allows comments, bit 1 writes the stable form, bit 2 pretty text.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const uint8_t mode = data[0];
  const char* text = reinterpret_cast<const char*>(data + 1);
  jh::Document doc;
  NyError* error = nullptr;
  jh::ReadStream(text, unsigned(size - 1), doc, error, mode & 1);
  CheckAgainstRapidJson(text, size - 1, mode & 1, doc);
  if (error) {
    jh::ToString(error);
    delete error;
    return 0;
  }
  NyJson tree;
  if (!jh::FromRapidJson(doc, tree)) std::abort();  // a parsed document always converts
  jh::Document out;
  if (mode & 2) {
    jh::ToStableRapidJson(tree, out);
  } else {
    jh::ToRapidJson(tree, out);
  }
  const std::string written = mode & 4 ? jh::ToPrettyString(out) : jh::ToString(out);
  // The tree's own compact text is that of the document ToRapidJson makes of it.
  if (!(mode & 2) && jh::ToString(tree) != jh::ToString(out)) std::abort();
  // What we write reads back to a tree of the same shape (numbers may differ in the last digit).
  jh::Document again;
  jh::ReadStream(written.data(), unsigned(written.size()), again, error);
  if (error) {
    delete error;
    // Only "null" alone, or a tree holding a non-finite number, fails to read back.
    if (!(tree.IsVariant() && tree.GetVariant().IsNone()) && !HoldsNonFinite(tree)) std::abort();
    return 0;
  }
  NyJson back;
  jh::FromRapidJson(again, back);
  if (back.GetType() != tree.GetType()) std::abort();
  if (tree.IsMap()) {
    NyJson merged(jh::MergeMaps(tree.GetMap(), back.GetMap(), mode & 8));
    lu::JsonTextReader reader(merged);
    Walk(reader, merged, 0);
  }
  return 0;
}
