// Fuzz target: lu::XmlReader over arbitrary bytes, driven through every reading operation.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <nybase/documents/XmlReader.h>

namespace {

class FuzzReader : public lu::XmlReader {
 public:
  using lu::XmlReader::XmlReader;
  using lu::XmlReader::PostGetElementString;
  using lu::XmlReader::PreGetElementString;
};

void FreeBuffer(const char* p) { std::free(const_cast<char*>(p)); }

}  // namespace

// The first byte picks the operations to mix into the walk; the rest is the document.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const uint8_t mode = data[0];
  ++data;
  --size;
  char* copy = static_cast<char*>(std::malloc(size + 1));
  if (copy == nullptr) return 0;
  std::memcpy(copy, data, size);
  copy[size] = '\0';
  FuzzReader r(std::unique_ptr<const char, void (*)(const char*)>(copy, &FreeBuffer));

  CStdStr<wchar_t> text;
  size_t sink = 0;
  for (int step = 0; step < 100000; ++step) {
    const bool more = r.Read();
    if (!more) break;
    sink += std::strlen(r.GetConstName()) + std::strlen(r.GetConstValue());
    sink += static_cast<size_t>(r.GetLineNumber() + r.GetLinePosition());
    const char* value = nullptr;
    if (r.GetConstAttribute("id", value)) sink += std::strlen(value);
    switch ((mode + step) % 8) {
      case 0:
        text = r.ReadElementString();
        break;
      case 1:
        r.ReadInnerXml(text);
        break;
      case 2:
        r.ReadOuterXml(text);
        break;
      case 3: {
        auto markup = (mode & 0x80) ? r.ReadOuterXmlToBuffer() : r.ReadInnerXmlToBuffer();
        if (markup) sink += std::strlen(markup.get());
        break;
      }
      case 4: {
        const auto [found, inPlace] = r.PreGetElementString();
        if (found && inPlace) sink += std::strlen(inPlace);
        r.PostGetElementString(inPlace);
        break;
      }
      case 5:
        r.MoveToContent();
        r.Skip();
        break;
      case 6:
        text = r.GetAttribute(L"name") + r.GetName() + r.GetValue();
        break;
      default:
        sink += r.IsEmptyElement() ? 1 : 0;
        break;
    }
    sink += text.size();
  }
  return sink == static_cast<size_t>(-1) ? 1 : 0;
}
