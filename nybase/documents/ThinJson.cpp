// lu::ThinJson::Document and its two parsers over rapidjson's recursive reader.
#include <nybase/documents/ThinJson.h>

namespace lu::ThinJson {

namespace {

constexpr size_t k_parseStackCapacity = 1024;

// Forwards every SAX event to the document, refusing to open a container beyond k_maxDepth. The
// refusal ends the parse with the handler-error code, before the recursive reader goes deeper.
class DepthGuard {
 public:
  explicit DepthGuard(RapidJsonDocument& doc) : m_doc(doc) {}

  bool Null() { return m_doc.Null(); }
  bool Bool(bool b) { return m_doc.Bool(b); }
  bool Int(int i) { return m_doc.Int(i); }
  bool Uint(unsigned u) { return m_doc.Uint(u); }
  bool Int64(int64_t i) { return m_doc.Int64(i); }
  bool Uint64(uint64_t u) { return m_doc.Uint64(u); }
  bool Double(double d) { return m_doc.Double(d); }
  bool RawNumber(const char* s, rapidjson::SizeType n, bool copy) { return m_doc.RawNumber(s, n, copy); }
  bool String(const char* s, rapidjson::SizeType n, bool copy) { return m_doc.String(s, n, copy); }
  bool Key(const char* s, rapidjson::SizeType n, bool copy) { return m_doc.Key(s, n, copy); }
  bool StartObject() { return ++m_depth <= Document::k_maxDepth && m_doc.StartObject(); }
  bool EndObject(rapidjson::SizeType members) { --m_depth; return m_doc.EndObject(members); }
  bool StartArray() { return ++m_depth <= Document::k_maxDepth && m_doc.StartArray(); }
  bool EndArray(rapidjson::SizeType elements) { --m_depth; return m_doc.EndArray(elements); }

 private:
  RapidJsonDocument& m_doc;
  unsigned m_depth = 0;
};

// Runs the reader as the document's event source (rapidjson moves the finished root into place).
template <unsigned Flags>
struct Generator {
  rapidjson::MemoryStream& stream;
  rapidjson::ParseResult result;

  bool operator()(RapidJsonDocument& doc) {
    rapidjson::GenericReader<rapidjson::UTF8<char>, rapidjson::UTF8<char>, rapidjson::CrtAllocator> reader;
    DepthGuard guard(doc);
    result = reader.Parse<Flags>(stream, guard);
    return !result.IsError();
  }
};

template <unsigned Flags>
Expected<Document, CStdStr<char>> Parse(BasicStringView<char> text) {
  Expected<Document, CStdStr<char>> result{Document()};
  rapidjson::MemoryStream stream(text.data(), text.size());
  // Each byte of the mark is skipped on its own, so a partial mark goes too (on purpose).
  if (stream.Peek() == '\xEF') stream.Take();
  if (stream.Peek() == '\xBB') stream.Take();
  if (stream.Peek() == '\xBF') stream.Take();
  Generator<Flags> generator{stream, {}};
  result->GetRapidJson().Populate(generator);
  if (generator.result.IsError()) {
    result = Expected<Document, CStdStr<char>>(Unexpected(CStdStr<char>(priv::ParseErrorText(generator.result.Code()))));
  }
  return result;
}

}  // namespace

Document::Document() : m_doc(new RapidJsonDocument(nullptr, k_parseStackCapacity)) {}

Document& Document::operator=(Document&& other) noexcept {
  RapidJsonDocument* const taken = other.m_doc;
  other.m_doc = nullptr;
  RapidJsonDocument* const previous = m_doc;
  m_doc = taken;
  delete previous;
  return *this;
}

Document::~Document() { delete m_doc; }

namespace priv {

const char* ParseErrorText(int code) noexcept {
  if (code < rapidjson::kParseErrorNone || code > rapidjson::kParseErrorUnspecificSyntaxError) return "Unknown error.";
  return rapidjson::GetParseError_En(static_cast<rapidjson::ParseErrorCode>(code));
}

Expected<Document, CStdStr<char>> ParseAllowComments(BasicStringView<char> text) {
  return Parse<rapidjson::kParseCommentsFlag>(text);
}

Expected<Document, CStdStr<char>> ParseNoComments(BasicStringView<char> text) {
  return Parse<rapidjson::kParseDefaultFlags>(text);
}

}  // namespace priv

}  // namespace lu::ThinJson
