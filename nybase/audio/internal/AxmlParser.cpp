// The axml walk: wrappers, format, audioFormatExtended and one parser per ADM element.
#include "AxmlParser.h"

#include <cstring>

#include <nybase/audio/NyADM.h>

#include "AdmValues.h"

namespace nybase::audio::detail {
namespace {

using lu::XmlNodeType;

bool IsTextNode(XmlNodeType type) {
  return type == XmlNodeType::Text || type == XmlNodeType::CDATA ||
         type == XmlNodeType::Whitespace || type == XmlNodeType::SignificantWhitespace;
}

bool Is(const char* name, const char* wanted) { return std::strcmp(name, wanted) == 0; }

}  // namespace

bool AxmlParser::Parse() {
  XmlNodeType type = m_reader.MoveToContent();
  if (!m_reader.IsEOF() && type == XmlNodeType::Element && Is(m_reader.GetConstName(), "ebuCoreMain")) {
    m_reader.Read();
  }
  type = m_reader.MoveToContent();
  if (!m_reader.IsEOF() && type == XmlNodeType::Element && Is(m_reader.GetConstName(), "coreMetadata")) {
    m_reader.Read();
  }
  if (!ScanFor("format")) return false;
  m_reader.Read();  // into format
  if (!ScanFor("audioFormatExtended")) return false;
  return ParseAudioFormatExtended();
}

bool AxmlParser::ScanFor(const char* name) {
  for (;;) {
    const XmlNodeType type = m_reader.MoveToContent();
    if (m_reader.IsEOF()) return false;
    if (type == XmlNodeType::Element) {
      if (Is(m_reader.GetConstName(), name)) return true;
      m_reader.Skip();
    } else {
      m_reader.Read();  // end tags and stray text
    }
  }
}

template <class Child>
bool AxmlParser::ForEachChild(Child&& child) {
  if (m_reader.IsEmptyElement()) {
    m_reader.Read();
    return true;
  }
  m_reader.Read();
  for (;;) {
    const XmlNodeType type = m_reader.MoveToContent();
    if (m_reader.IsEOF()) return false;
    if (type == XmlNodeType::EndElement) {
      m_reader.Read();
      return true;
    }
    if (type == XmlNodeType::Element) {
      if (!child()) return false;
    } else {
      m_reader.Read();
    }
  }
}

bool AxmlParser::ReadText(std::string& out) {
  out.clear();
  if (m_reader.IsEmptyElement()) {
    m_reader.Read();
    return true;
  }
  m_reader.Read();
  if (m_reader.IsEOF()) return false;
  if (IsTextNode(m_reader.GetNodeType())) {
    out.assign(m_reader.GetConstValue());
    m_reader.Read();
  }
  // On to this element's end tag: nested elements go whole, anything else node by node.
  while (!m_reader.IsEOF()) {
    const XmlNodeType type = m_reader.GetNodeType();
    if (type == XmlNodeType::EndElement) {
      m_reader.Read();
      return true;
    }
    if (type == XmlNodeType::Element) {
      m_reader.Skip();
    } else {
      m_reader.Read();
    }
  }
  return false;
}

bool AxmlParser::Attribute(const char* name, std::string& out) const {
  const char* value = nullptr;
  if (!m_reader.GetConstAttribute(name, value)) return false;
  out.assign(value != nullptr ? value : "");
  return true;
}

std::string AxmlParser::OptionalAttribute(const char* name) const {
  std::string value;
  Attribute(name, value);
  return value;
}

bool AxmlParser::SkipElement() {
  m_reader.Skip();
  return true;
}

bool AxmlParser::ParseAudioFormatExtended() {
  // An empty element answers with the read that moves past it.
  if (m_reader.IsEmptyElement()) return m_reader.Read();
  return ForEachChild([this] {
    const char* name = m_reader.GetConstName();
    if (std::strncmp(name, "audio", 5) != 0) return SkipElement();
    name += 5;
    if (Is(name, "Programme")) return ParseProgramme();
    if (Is(name, "Content")) return ParseContent();
    if (Is(name, "Object")) return ParseObject();
    if (Is(name, "PackFormat")) return ParsePackFormat();
    if (Is(name, "ChannelFormat")) return ParseChannelFormat();
    if (Is(name, "StreamFormat")) return ParseStreamFormat();
    if (Is(name, "TrackFormat")) return ParseTrackFormat();
    if (Is(name, "TrackUID")) return ParseTrackUID();
    return SkipElement();
  });
}

bool AxmlParser::ParseProgramme() {
  NyADM::Programme programme;
  if (!Attribute("audioProgrammeID", programme.audioProgrammeID) ||
      !Attribute("audioProgrammeName", programme.audioProgrammeName)) {
    return false;
  }
  const bool ok = ForEachChild([&] {
    if (!Is(m_reader.GetConstName(), "audioContentIDRef")) return SkipElement();
    return ReadText(programme.audioContentIDRef.emplace_back());
  });
  m_adm.m_programme = std::move(programme);
  return ok;
}

bool AxmlParser::ParseContent() {
  std::string id;
  std::string name;
  if (!Attribute("audioContentID", id) || !Attribute("audioContentName", name)) return false;
  NyADM::Content& content = m_adm.m_contents.emplace_back();
  content.audioContentID = std::move(id);
  content.audioContentName = std::move(name);
  return ForEachChild([&] {
    if (!Is(m_reader.GetConstName(), "audioObjectIDRef")) return SkipElement();
    return ReadText(content.audioObjectIDRef.emplace_back());
  });
}

bool AxmlParser::ParseObject() {
  std::string id;
  std::string name;
  if (!Attribute("audioObjectID", id) || !Attribute("audioObjectName", name)) return false;
  NyADM::Object& object = m_adm.m_objects.emplace_back();
  object.audioObjectID = std::move(id);
  object.audioObjectName = std::move(name);
  return ForEachChild([&] {
    const char* child = m_reader.GetConstName();
    if (Is(child, "audioPackFormatIDRef")) return ReadText(object.audioPackFormatIDRef.emplace_back());
    if (Is(child, "audioTrackUIDRef")) return ReadText(object.audioTrackUIDRef.emplace_back());
    return SkipElement();
  });
}

bool AxmlParser::ParsePackFormat() {
  std::string id;
  std::string name;
  if (!Attribute("audioPackFormatID", id) || !Attribute("audioPackFormatName", name)) return false;
  NyADM::PackFormat& pack = m_adm.m_packFormats.emplace_back();
  pack.audioPackFormatID = std::move(id);
  pack.audioPackFormatName = std::move(name);
  pack.type = AdmFormatType(OptionalAttribute("typeLabel"), OptionalAttribute("typeDefinition"));
  return ForEachChild([&] {
    if (!Is(m_reader.GetConstName(), "audioChannelFormatIDRef")) return SkipElement();
    return ReadText(pack.audioChannelFormatIDRef.emplace_back());
  });
}

bool AxmlParser::ParseChannelFormat() {
  std::string id;
  std::string name;
  if (!Attribute("audioChannelFormatID", id) || !Attribute("audioChannelFormatName", name)) {
    return false;
  }
  NyADM::ChannelFormat& channel = m_adm.m_channelFormats.emplace_back();
  channel.audioChannelFormatID = std::move(id);
  channel.audioChannelFormatName = std::move(name);
  channel.type = AdmFormatType(OptionalAttribute("typeLabel"), OptionalAttribute("typeDefinition"));
  return ForEachChild([&] {
    if (!Is(m_reader.GetConstName(), "audioBlockFormat")) return SkipElement();
    return ParseBlockFormat(channel);
  });
}

bool AxmlParser::ParseBlockFormat(NyADM::ChannelFormat& channel) {
  std::string id;
  if (!Attribute("audioBlockFormatID", id)) return false;
  NyADM::BlockFormat& block = channel.audioBlockFormat.emplace_back();
  block.audioBlockFormatID = std::move(id);
  block.positions.reserve(3);  // the usual azimuth, elevation, distance or X, Y, Z: one allocation
  Attribute("rtime", block.rtime);
  Attribute("duration", block.duration);
  float width = 0.0f;
  float height = 0.0f;
  float depth = 0.0f;
  const bool ok = ForEachChild([&] {
    const char* child = m_reader.GetConstName();
    if (Is(child, "position")) {
      NyADM::Position& position = block.positions.emplace_back();
      Attribute("coordinate", position.coordinate);
      if (!ReadText(m_text)) return false;
      position.value = ParseAdmFloat(m_text);
      return true;
    }
    if (Is(child, "jumpPosition")) {
      const char* length = nullptr;
      if (m_reader.GetConstAttribute("interpolationLength", length) && length != nullptr) {
        block.interpolationLength = ParseAdmFloat(length);
      }
      if (!ReadText(m_text)) return false;
      if (m_text == "1") block.jumpPosition = true;
      return true;
    }
    float* target = Is(child, "diffuse") ? &block.diffuse
                    : Is(child, "width")  ? &width
                    : Is(child, "height") ? &height
                    : Is(child, "depth")  ? &depth
                                          : nullptr;
    if (target != nullptr) {
      if (!ReadText(m_text)) return false;
      *target = ParseAdmFloat(m_text);
      return true;
    }
    if (Is(child, "cartesian")) {
      if (!ReadText(m_text)) return false;
      if (m_text == "1") block.cartesian = true;
      return true;
    }
    return SkipElement();
  });
  // Sums in double: the extent values are floats, so the mean loses nothing before the final
  // rounding to float.
  if (block.cartesian) {
    block.spread = static_cast<float>((double(width) + double(height) + double(depth)) / 3.0);
  }
  return ok;
}

bool AxmlParser::ParseStreamFormat() {
  std::string id;
  std::string name;
  if (!Attribute("audioStreamFormatID", id) || !Attribute("audioStreamFormatName", name)) {
    return false;
  }
  NyADM::StreamFormat& stream = m_adm.m_streamFormats.emplace_back();
  stream.audioStreamFormatID = std::move(id);
  stream.audioStreamFormatName = std::move(name);
  Attribute("formatLabel", stream.formatLabel);
  Attribute("formatDefinition", stream.formatDefinition);
  return ForEachChild([&] {
    const char* child = m_reader.GetConstName();
    if (Is(child, "audioChannelFormatIDRef")) return ReadText(stream.audioChannelFormatIDRef);
    if (Is(child, "audioPackFormatIDRef")) return ReadText(stream.audioPackFormatIDRef);
    if (Is(child, "audioTrackFormatIDRef")) return ReadText(stream.audioTrackFormatIDRef);
    return SkipElement();
  });
}

bool AxmlParser::ParseTrackFormat() {
  std::string id;
  std::string name;
  if (!Attribute("audioTrackFormatID", id) || !Attribute("audioTrackFormatName", name)) return false;
  NyADM::TrackFormat& track = m_adm.m_trackFormats.emplace_back();
  track.audioTrackFormatID = std::move(id);
  track.audioTrackFormatName = std::move(name);
  Attribute("formatLabel", track.formatLabel);
  Attribute("formatDefinition", track.formatDefinition);
  return ForEachChild([&] {
    if (!Is(m_reader.GetConstName(), "audioStreamFormatIDRef")) return SkipElement();
    return ReadText(track.audioStreamFormatIDRef);
  });
}

bool AxmlParser::ParseTrackUID() {
  std::string uid;
  if (!Attribute("UID", uid)) return false;
  const uint32_t sampleRate = ParseAdmUnsigned32(OptionalAttribute("sampleRate"));
  const uint16_t bitDepth = ParseAdmUnsigned16(OptionalAttribute("bitDepth"));
  std::string packRef;
  std::string trackRef;
  bool hasPackRef = false;
  bool hasTrackRef = false;
  const bool ok = ForEachChild([&] {
    const char* child = m_reader.GetConstName();
    if (Is(child, "audioPackFormatIDRef")) {
      hasPackRef = true;
      return ReadText(packRef);
    }
    if (Is(child, "audioTrackFormatIDRef")) {
      hasTrackRef = true;
      return ReadText(trackRef);
    }
    return SkipElement();
  });
  // A chna read earlier made the entry: complete it. Otherwise this element makes it.
  const size_t index = m_adm.FindTrackUID(uid);
  NyADM::TrackUID& entry =
      index < m_adm.m_trackUIDs.size() ? m_adm.m_trackUIDs[index] : m_adm.AddTrackUID(std::move(uid));
  entry.sampleRate = sampleRate;
  entry.bitDepth = bitDepth;
  if (hasPackRef) entry.audioPackFormatIDRef = std::move(packRef);
  if (hasTrackRef) entry.audioTrackFormatIDRef = std::move(trackRef);
  return ok;
}

}  // namespace nybase::audio::detail
