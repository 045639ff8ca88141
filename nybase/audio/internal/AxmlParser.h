// AxmlParser: walks an axml document with a pull reader and adds its ADM elements to a NyADM.
#pragma once

#include <string>

#include <nybase/audio/NyADM.h>
#include <nybase/documents/IXmlReader.h>

namespace nybase::audio::detail {

// One parse of one document. Each element parser starts on its element and, when it succeeds,
// leaves the reader past the element's end tag. Text values are copied out of the reader at once;
// nothing of the document is kept but the elements' fields.
class AxmlParser {
 public:
  AxmlParser(lu::IConstXmlReader& reader, NyADM& adm) : m_reader(reader), m_adm(adm) {}

  // Finds ebuCoreMain/coreMetadata (both optional), then format, then audioFormatExtended, and
  // parses that. False when it is missing, an element lacks a required attribute, or the input
  // ends early (malformed or truncated XML).
  bool Parse();

 private:
  // Moves to the next element named name at or after the reader, skipping other elements whole
  // and reading past end tags. False at the end of the input.
  bool ScanFor(const char* name);
  // Calls child() for each child element of the current element (child must consume it), reading
  // past text, and ends past the element's end tag. False when child() is false or the input
  // ends before the end tag.
  template <class Child>
  bool ForEachChild(Child&& child);
  // The current element's first text (empty if none), then past its end tag. False when the input
  // ends first.
  bool ReadText(std::string& out);
  // The attribute's value copied into out; false (out untouched) when the element lacks it.
  bool Attribute(const char* name, std::string& out) const;
  // The attribute's value or the empty text.
  std::string OptionalAttribute(const char* name) const;
  // Skips the current element and its subtree: always true, for the element parsers' tables.
  bool SkipElement();

  bool ParseAudioFormatExtended();
  bool ParseProgramme();
  bool ParseContent();
  bool ParseObject();
  bool ParsePackFormat();
  bool ParseChannelFormat();
  bool ParseBlockFormat(NyADM::ChannelFormat& channel);
  bool ParseStreamFormat();
  bool ParseTrackFormat();
  bool ParseTrackUID();

  lu::IConstXmlReader& m_reader;
  NyADM& m_adm;
  std::string m_text;  // scratch for numeric element text
};

}  // namespace nybase::audio::detail
