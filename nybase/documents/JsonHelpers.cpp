// lu::JsonHelpers: NyJson to and from rapidjson documents, map merging, JSON text in files and strings.
#include <nybase/documents/JsonHelpers.h>

#include <rapidjson/filereadstream.h>
#include <rapidjson/filewritestream.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

#include <nybase/documents/internal/DepthLimitedHandler.h>
#include <nybase/documents/internal/JsonBlockStream.h>
#include <nybase/documents/internal/JsonTreeWriter.h>
#include <nybase/files/FileOperation.h>
#include <nybase/text/StringHelp.h>

namespace lu::JsonHelpers {
namespace {

constexpr size_t k_fileBufferSize = 65536;

// Wraps an input stream and follows the bracket nesting of the text it hands to the parser
// (skipping strings and, when allowed, comments). Past k_maxDepth it reports the end of input,
// so the recursive parser stops with an error instead of descending further.
template <typename Stream>
class DepthGuardStream {
 public:
  using Ch = typename Stream::Ch;

  DepthGuardStream(Stream& inner, bool comments) : m_inner(inner), m_comments(comments) {}

  Ch Peek() const { return m_tripped ? Ch('\0') : m_inner.Peek(); }
  size_t Tell() const { return m_inner.Tell(); }
  // Write side of the stream concept, used only by in-place parsing, which this is not.
  Ch* PutBegin() { return nullptr; }
  void Put(Ch) {}
  void Flush() {}
  size_t PutEnd(Ch*) { return 0; }
  Ch Take() {
    if (m_tripped) return Ch('\0');
    Ch c = m_inner.Take();
    switch (m_state) {
      case State::Normal:
        if (c == '"') {
          m_state = State::String;
        } else if (c == '[' || c == '{') {
          if (++m_depth > k_maxDepth) m_tripped = true;
        } else if (c == ']' || c == '}') {
          --m_depth;
        } else if (c == '/' && m_comments) {
          m_state = State::Slash;
        }
        break;
      case State::String:
        if (c == '\\') m_state = State::Escape;
        else if (c == '"') m_state = State::Normal;
        break;
      case State::Escape: m_state = State::String; break;
      case State::Slash:
        m_state = c == '*' ? State::Block : c == '/' ? State::Line : State::Normal;
        break;
      case State::Line:
        if (c == '\n') m_state = State::Normal;
        break;
      case State::Block:
        if (c == '*') m_state = State::BlockStar;
        break;
      case State::BlockStar:
        m_state = c == '/' ? State::Normal : c == '*' ? State::BlockStar : State::Block;
        break;
    }
    return c;
  }

 private:
  enum class State { Normal, String, Escape, Slash, Line, Block, BlockStar };
  Stream& m_inner;
  bool m_comments;
  bool m_tripped = false;
  State m_state = State::Normal;
  int m_depth = 0;
};

template <typename Stream>
void ParseGuarded(Stream& stream, Document& document, bool allowComments) {
  DepthGuardStream<Stream> guarded(stream, allowComments);
  if (allowComments) {
    document.ParseStream<rapidjson::kParseCommentsFlag, rapidjson::UTF8<char>>(guarded);
  } else {
    document.ParseStream<rapidjson::kParseDefaultFlags, rapidjson::UTF8<char>>(guarded);
  }
}

// Parses the block through the counting handler instead of the guard, when that can only end as
// the guarded parse would: the document holds no error from an earlier parse (a successful parse
// leaves the same clean result), and the parse succeeds. False leaves the document as it was
// (its pool may keep the strings of the failed attempt) for the guarded parse to run.
bool ParseCounted(const char* data, size_t size, Document& document, bool allowComments) {
  if (document.HasParseError() || document.GetErrorOffset() != 0) return false;
  bool parsed = false;
  auto generate = [&](Document& handler) {
    // For text that parses, this counts exactly what the guard counts, without its look at every
    // character: a container deeper than k_maxDepth stops the parse before it is entered.
    detail::DepthLimitedHandler<Document> counting(handler, k_maxDepth);
    detail::JsonBlockStream stream(data, size);
    rapidjson::GenericReader<rapidjson::UTF8<char>, rapidjson::UTF8<char>, rapidjson::CrtAllocator> reader;
    parsed = allowComments ? !reader.Parse<rapidjson::kParseCommentsFlag>(stream, counting).IsError()
                           : !reader.Parse<rapidjson::kParseDefaultFlags>(stream, counting).IsError();
    return parsed;
  };
  document.Populate(generate);
  return parsed;
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// The exact GUID form {8-4-4-4-12} in either case; false leaves `out` alone.
bool ParseGuidText(const char* text, size_t length, NyGuid& out) {
  if (length != 38 || text[0] != '{' || text[37] != '}') return false;
  uint8_t digits[16];
  int count = 0;
  for (size_t i = 1; i < 37; ++i) {
    if (i == 9 || i == 14 || i == 19 || i == 24) {
      if (text[i] != '-') return false;
      continue;
    }
    int high = HexDigit(text[i]);
    int low = HexDigit(text[++i]);
    if (high < 0 || low < 0) return false;
    digits[count++] = static_cast<uint8_t>(high << 4 | low);
  }
  // The first three groups are little-endian numbers; the last two are bytes in text order.
  static constexpr int k_order[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
  uint8_t bytes[16];
  for (int i = 0; i < 16; ++i) bytes[k_order[i]] = digits[i];
  std::memcpy(&out, bytes, sizeof(out));
  return true;
}

NyVariant ScalarFromValue(const Value& source) {
  if (source.IsBool()) return NyVariant(source.IsTrue());
  if (source.IsInt()) return NyVariant(int32_t(source.GetInt()));
  if (source.IsUint()) return NyVariant(uint32_t(source.GetUint()));
  if (source.IsInt64()) return NyVariant(int64_t(source.GetInt64()));
  if (source.IsUint64()) return NyVariant(uint64_t(source.GetUint64()));
  if (source.IsNumber()) return NyVariant(source.GetDouble());
  if (source.IsString()) {
    const char* text = source.GetString();
    size_t length = ::strnlen(text, source.GetStringLength());
    NyGuid guid{};
    if (ParseGuidText(text, length, guid)) return NyVariant(guid);
    return NyVariant(std::string(text, length));
  }
  return NyVariant();
}

bool FromValue(const Value& source, NyJson& target, int depth) {
  if (source.IsObject()) {
    if (depth >= k_maxDepth) return false;
    NyJson::Map& map = target.MakeMap();
    for (auto it = source.MemberBegin(); it != source.MemberEnd(); ++it) {
      // Keys first interned in document order lie in ascending order in memory, so the end is the
      // usual place of a new one; a wrong hint costs one comparison before the normal search.
      NyJson& entry = map.try_emplace(map.end(), ROString(it->name.GetString()))->second;
      entry.Reset();
      if (!FromValue(it->value, entry, depth + 1)) return false;
    }
    return true;
  }
  if (source.IsArray()) {
    if (depth >= k_maxDepth) return false;
    NyJson::Array& array = target.MakeArray();
    if (array.empty()) array.reserve(source.Size());  // appending to elements already there grows as usual
    for (auto it = source.Begin(); it != source.End(); ++it) {
      array.emplace_back();
      // emplace_back may move the array's storage: convert into the element just made.
      if (!FromValue(*it, array.back(), depth + 1)) return false;
    }
    return true;
  }
  if (source.IsNull()) {
    target.MakeVariant() = NyVariant();
    return true;
  }
  NyVariant& made = target.MakeVariant();
  made = ScalarFromValue(source);
  return !made.IsNone();
}

// Sets a number through the constructor of its width so that rapidjson's kind flags match those
// of a parsed number.
bool ScalarToValue(const NyVariant& variant, Value& value, Allocator& allocator) {
  switch (variant.GetType()) {
    case NyVariant::TypeNone: value.SetNull(); return true;
    case NyVariant::TypeUInt8:
    case NyVariant::TypeUInt16:
    case NyVariant::TypeUInt32: value = Value(unsigned(variant.GetUInt64())); return true;
    case NyVariant::TypeUInt64: value = Value(uint64_t(variant.GetUInt64())); return true;
    case NyVariant::TypeInt8:
    case NyVariant::TypeInt16:
    case NyVariant::TypeInt32: value = Value(int(variant.GetInt64())); return true;
    case NyVariant::TypeInt64: value = Value(int64_t(variant.GetInt64())); return true;
    case NyVariant::TypeFloat:
    case NyVariant::TypeDouble: value = Value(variant.GetDouble()); return true;
    case NyVariant::TypeBool: value.SetBool(variant.GetBool()); return true;
    case NyVariant::TypeString: {
      const std::string& text = variant.GetString();
      value.SetString(text.data(), rapidjson::SizeType(text.size()), allocator);
      return true;
    }
    case NyVariant::TypeGuid: {
      char text[39];
      StringHelp::ConvertNyGuidToString(variant.GetGuid(), text);
      value.SetString(text, 38, allocator);
      return true;
    }
    default: return false;
  }
}

// Key text order: unsigned bytes, a null text first.
bool KeyTextLess(const char* a, const char* b) {
  if (!a || !b) return !a && b;
  return std::strcmp(a, b) < 0;
}

bool ToValue(const NyJson& tree, Value& value, Allocator& allocator, bool stable, int depth) {
  switch (tree.GetType()) {
    case NyJson::TypeEmpty: value.SetNull(); return true;
    case NyJson::TypeVariant: return ScalarToValue(tree.GetVariant(), value, allocator);
    case NyJson::TypeArray: {
      value.SetArray();
      if (depth >= k_maxDepth) return false;
      for (const NyJson& element : tree.GetArray()) {
        Value converted;
        bool ok = ToValue(element, converted, allocator, stable, depth + 1);
        value.PushBack(converted, allocator);
        if (!ok) return false;
      }
      return true;
    }
    case NyJson::TypeMap: {
      value.SetObject();
      if (depth >= k_maxDepth) return false;
      const NyJson::Map& map = tree.GetMap();
      auto add = [&](const ROString& key, const NyJson& entry) {
        Value converted;
        bool ok = ToValue(entry, converted, allocator, stable, depth + 1);
        value.AddMember(Value(key.c_str(), allocator), converted, allocator);
        return ok;
      };
      if (!stable) {
        for (const auto& entry : map) {
          if (!add(entry.first, entry.second)) return false;
        }
        return true;
      }
      // Sorted views of the entries; the output is the same as from a copy sorted by key text.
      std::vector<const NyJson::Map::value_type*> sorted;
      sorted.reserve(map.size());
      for (const auto& entry : map) sorted.push_back(&entry);
      std::sort(sorted.begin(), sorted.end(),
                [](auto* a, auto* b) { return KeyTextLess(a->first.c_str(), b->first.c_str()); });
      for (const auto* entry : sorted) {
        if (!add(entry->first, entry->second)) return false;
      }
      return true;
    }
    default: return false;
  }
}

template <typename Writer>
CStdStr<char> WriteToString(const Value& value) {
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  value.Accept(writer);  // false at a NaN or infinity: the text ends there, on purpose
  return CStdStr<char>(buffer.GetString());
}

}  // namespace

bool FromRapidJson(const Value& source, NyJson& target) { return FromValue(source, target, 0); }

bool ToRapidJson(const NyJson& tree, Value& value, Allocator& allocator) {
  return ToValue(tree, value, allocator, false, 0);
}

void ToRapidJson(const NyJson& tree, Document& document) {
  ToValue(tree, document, document.GetAllocator(), false, 0);
}

bool ToStableRapidJson(const NyJson& tree, Value& value, Allocator& allocator) {
  return ToValue(tree, value, allocator, true, 0);
}

void ToStableRapidJson(const NyJson& tree, Document& document) {
  ToValue(tree, document, document.GetAllocator(), true, 0);
}

NyJson::Map MergeMaps(const NyJson::Map& first, const NyJson::Map& second, bool appendArrays) {
  NyJson::Map result(first);
  MergeMapsInPlace(result, second, appendArrays);
  return result;
}

void MergeMapsInPlace(NyJson::Map& target, const NyJson::Map& source, bool appendArrays) {
  for (const auto& [key, value] : source) {
    NyJson& entry = target[key];
    if (appendArrays && entry.IsArray() && value.IsArray()) {
      NyJson::Array& array = entry.GetArray();
      if (&array == &value.GetArray()) {  // a map merged into itself: copy before growing
        NyJson::Array copy(array);
        array.insert(array.end(), copy.begin(), copy.end());
      } else {
        array.insert(array.end(), value.GetArray().begin(), value.GetArray().end());
      }
      continue;
    }
    entry = value;
  }
}

const NyJson& MapOrDefault(const NyJson::Map& map, const ROString& key, const NyJson& fallback) {
  auto it = map.find(key);
  return it == map.end() ? fallback : it->second;
}

void ReadFile(const wchar_t* path, Document& document, NyError*& error, bool allowComments) {
  CStdStr<wchar_t> name(path ? path : L"");
  auto fail = [&] {
    error = new NyError(NyError::k_csFileErrorUri, "Could not read json file " + CStdStr<char>(name));
  };
  FILE* file = lu::FileOperation::OpenFile(name, L"rb");
  if (!file) {
    fail();
    return;
  }
  std::vector<char> buffer(k_fileBufferSize);
  rapidjson::FileReadStream stream(file, buffer.data(), buffer.size());
  ParseGuarded(stream, document, allowComments);
  std::fclose(file);
  if (document.IsNull()) fail();
}

void ReadStream(const char* data, unsigned int length, Document& document, NyError*& error,
                bool allowComments) {
  const size_t size = data ? length : 0;
  // Text that parses is read without the guard's look at every character; anything else is
  // parsed again under the guard, which leaves the error, its offset and the root as always.
  if (!ParseCounted(data, size, document, allowComments)) {
    rapidjson::MemoryStream stream(data, size);
    ParseGuarded(stream, document, allowComments);
  }
  if (document.IsNull()) error = new NyError(NyError::k_csInvalidJsonUri, "Could not parse json stream.");
}

bool ToPrettyFile(const CStdStr<wchar_t>& path, const Value& value) {
  FILE* file = lu::FileOperation::OpenFile(path, L"wb");
  if (!file) return false;
  {
    std::vector<char> buffer(k_fileBufferSize);
    rapidjson::FileWriteStream stream(file, buffer.data(), buffer.size());
    rapidjson::PrettyWriter<rapidjson::FileWriteStream> writer(stream);
    value.Accept(writer);  // a NaN stops the text there; the result is ignored on purpose
    stream.Flush();
  }
  std::fclose(file);
  return true;
}

namespace {

// How a direct walk of a tree into a writer ended: the writer refused a value (a NaN or an
// infinity), which ends all output as Accept does; or the conversion failed (a variant tag
// above 13, nesting past k_maxDepth), which closes the open containers as a partly converted
// document would be written.
enum class WalkEnd { Done, Refused, Failed };

// Writes the tree with the same handler calls that ToRapidJson followed by Value::Accept would
// make, so the text is the same, without building the temporary document.
template <typename Writer>
WalkEnd WriteTree(const NyJson& tree, Writer& writer, int depth) {
  auto put = [](bool accepted) { return accepted ? WalkEnd::Done : WalkEnd::Refused; };
  switch (tree.GetType()) {
    case NyJson::TypeEmpty: return put(writer.Null());
    case NyJson::TypeVariant: {
      const NyVariant& v = tree.GetVariant();
      switch (v.GetType()) {
        case NyVariant::TypeNone: return put(writer.Null());
        case NyVariant::TypeUInt8:
        case NyVariant::TypeUInt16:
        case NyVariant::TypeUInt32: return put(writer.Uint(unsigned(v.GetUInt64())));
        case NyVariant::TypeUInt64: return put(writer.Uint64(v.GetUInt64()));
        case NyVariant::TypeInt8:
        case NyVariant::TypeInt16:
        case NyVariant::TypeInt32: return put(writer.Int(int(v.GetInt64())));
        case NyVariant::TypeInt64: return put(writer.Int64(v.GetInt64()));
        case NyVariant::TypeFloat:
        case NyVariant::TypeDouble: return put(writer.Double(v.GetDouble()));
        case NyVariant::TypeBool: return put(writer.Bool(v.GetBool()));
        case NyVariant::TypeString:
          return put(writer.String(v.GetString().data(), rapidjson::SizeType(v.GetString().size())));
        case NyVariant::TypeGuid: {
          char text[39];
          StringHelp::ConvertNyGuidToString(v.GetGuid(), text);
          return put(writer.String(text, 38));
        }
        default: return writer.Null() ? WalkEnd::Failed : WalkEnd::Refused;
      }
    }
    case NyJson::TypeArray: {
      if (!writer.StartArray()) return WalkEnd::Refused;
      WalkEnd end = depth >= k_maxDepth ? WalkEnd::Failed : WalkEnd::Done;
      for (size_t i = 0; end == WalkEnd::Done && i < tree.GetArray().size(); ++i) {
        end = WriteTree(tree.GetArray()[i], writer, depth + 1);
        if (end == WalkEnd::Refused) return end;
      }
      return writer.EndArray() ? end : WalkEnd::Refused;
    }
    case NyJson::TypeMap: {
      if (!writer.StartObject()) return WalkEnd::Refused;
      WalkEnd end = depth >= k_maxDepth ? WalkEnd::Failed : WalkEnd::Done;
      for (auto it = tree.GetMap().begin(); end == WalkEnd::Done && it != tree.GetMap().end(); ++it) {
        if (!writer.Key(it->first.c_str(), rapidjson::SizeType(it->first.GetLength()))) return WalkEnd::Refused;
        end = WriteTree(it->second, writer, depth + 1);
        if (end == WalkEnd::Refused) return end;
      }
      return writer.EndObject() ? end : WalkEnd::Refused;
    }
    default: return WalkEnd::Failed;  // not reached: a tree has four kinds
  }
}

template <typename Writer>
CStdStr<char> TreeToString(const NyJson& tree) {
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  WriteTree(tree, writer, 0);
  return CStdStr<char>(buffer.GetString());
}

}  // namespace

bool ToPrettyFile(const CStdStr<wchar_t>& path, const NyJson& tree) {
  FILE* file = lu::FileOperation::OpenFile(path, L"wb");
  if (!file) return false;
  {
    std::vector<char> buffer(k_fileBufferSize);
    rapidjson::FileWriteStream stream(file, buffer.data(), buffer.size());
    rapidjson::PrettyWriter<rapidjson::FileWriteStream> writer(stream);
    WriteTree(tree, writer, 0);
    stream.Flush();
  }
  std::fclose(file);
  return true;
}

CStdStr<char> ToPrettyString(const Value& value) {
  return WriteToString<rapidjson::PrettyWriter<rapidjson::StringBuffer>>(value);
}

CStdStr<char> ToPrettyString(const NyJson& tree) {
  return TreeToString<rapidjson::PrettyWriter<rapidjson::StringBuffer>>(tree);
}

CStdStr<char> ToString(const Value& value) { return WriteToString<rapidjson::Writer<rapidjson::StringBuffer>>(value); }

// Straight into the string: the same text as the writer's (the tests hold the two together).
CStdStr<char> ToString(const NyJson& tree) { return CStdStr<char>(detail::CompactTreeText(tree)); }

CStdStr<char> ToString(const NyError* error) {
  NyJson tree;
  NyJson::Map& map = tree.MakeMap();
  map[ROString("uri")] = NyVariant(std::string(error->uri));
  map[ROString("message")] = NyVariant(std::string(error->message));
  map[ROString("details")] = error->details;
  return ToString(tree);
}

}  // namespace lu::JsonHelpers
