// lu::ThinJson::Document and its two parsers over rapidjson's recursive reader.
#include <nybase/documents/ThinJson.h>

#include <nybase/documents/internal/DepthLimitedHandler.h>

namespace lu::ThinJson {

namespace {

constexpr size_t k_parseStackCapacity = 1024;

// Runs the reader as the document's event source (rapidjson moves the finished root into place).
template <unsigned Flags>
struct Generator {
  rapidjson::MemoryStream& stream;
  rapidjson::ParseResult result;

  bool operator()(RapidJsonDocument& doc) {
    rapidjson::GenericReader<rapidjson::UTF8<char>, rapidjson::UTF8<char>, rapidjson::CrtAllocator> reader;
    lu::detail::DepthLimitedHandler<RapidJsonDocument> guard(doc, Document::k_maxDepth);
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
