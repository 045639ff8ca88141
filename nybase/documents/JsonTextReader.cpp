// lu::JsonTextReader: the reader interface as a navigator over a NyJson tree.
#include <nybase/documents/JsonTextReader.h>

#include <nybase/text/StringHelp.h>

namespace lu {
namespace {

// The key names the reader knows, interned once. "@Children" is reserved: interned, not read.
const ROString& KeyName() {
  static const ROString key("Name");
  return key;
}
const ROString& KeyType() {
  static const ROString key("@type");
  return key;
}
[[maybe_unused]] const ROString& KeyChildren() {
  static const ROString key("@Children");
  return key;
}

void FreeNothing(const char*) {}

}  // namespace

JsonTextReader::JsonTextReader(NyJson& root) : m_root(&root), m_current(root) {
  KeyChildren();
  m_history.push_back(root);
}

void JsonTextReader::Reset() { m_current = *m_root; }

XmlNodeType JsonTextReader::GetNodeType() const {
  return m_arrays.empty() ? None : m_arrays.back().nodeType;
}

bool JsonTextReader::IsEmptyElement() const {
  if (m_current.IsMap()) {
    for (const auto& entry : m_current.GetMap()) {
      if (entry.second.IsArray() && !entry.second.GetArray().empty()) return false;
    }
    return true;
  }
  if (m_current.IsArray()) return m_current.GetArray().empty();
  return true;
}

const NyJson* JsonTextReader::Find(const ROString& key) const {
  if (!m_current.IsMap()) return nullptr;
  auto it = m_current.GetMap().find(key);
  return it == m_current.GetMap().end() ? nullptr : &it->second;
}

const char* JsonTextReader::GetConstName() const {
  const NyJson* entry = Find(KeyType());
  if (!entry) entry = Find(KeyName());
  if (entry && entry->IsVariant() && entry->GetVariant().IsString()) return entry->GetVariant().GetString().c_str();
  return "";
}

bool JsonTextReader::GetConstAttribute(const char* name, const char*& value) const {
  const NyJson* entry = Find(ROString(name));
  if (!entry) return false;
  if (entry->IsVariant() && entry->GetVariant().IsString()) {
    value = entry->GetVariant().GetString().c_str();
  } else if (entry->IsVariant() && entry->GetVariant().IsGuid()) {
    char text[39];
    StringHelp::ConvertNyGuidToString(entry->GetVariant().GetGuid(), text);
    m_guidText.assign(text, 38);
    value = m_guidText.c_str();
  }
  return true;
}

std::unique_ptr<const char, void (*)(const char*)> JsonTextReader::ReadInnerXmlToBuffer() {
  return {"", &FreeNothing};
}

std::unique_ptr<const char, void (*)(const char*)> JsonTextReader::ReadOuterXmlToBuffer() {
  return {"", &FreeNothing};
}

bool JsonTextReader::MoveTo(const CStdStr<wchar_t>& name) const {
  const NyJson* entry = Find(ROString(name));
  if (!entry) return false;
  NyJson next(*entry);  // copied before the current node moves to the history
  m_history.push_back(std::move(m_current));
  m_current = std::move(next);
  if (m_current.IsArray()) m_arrays.push_back({m_current, 0, None});
  return true;
}

void JsonTextReader::MoveToPrevious() const {
  if (m_history.empty()) return;
  m_current = std::move(m_history.back());
  m_history.pop_back();
}

void JsonTextReader::Next() const {
  if (m_arrays.empty() || !m_arrays.back().array.IsArray()) return;
  ArrayWalk& walk = m_arrays.back();
  if (walk.position < walk.array.GetArray().size()) {
    m_current = walk.array.GetArray()[walk.position++];
  } else {
    walk.nodeType = EndElement;
  }
}

void JsonTextReader::CleanArray() const {
  if (!m_arrays.empty()) m_arrays.pop_back();
}

bool JsonTextReader::IsParentArray() const { return !m_arrays.empty() && m_arrays.back().array.IsArray(); }

bool JsonTextReader::HasAttribute(const CStdStr<wchar_t>& name) const { return Find(ROString(name)) != nullptr; }

CStdStr<wchar_t> JsonTextReader::GetAttribute(const CStdStr<wchar_t>& name) {
  const NyJson* entry = Find(ROString(name));
  if (!entry || !entry->IsVariant()) return {};
  if (entry->GetVariant().IsString()) return CStdStr<wchar_t>(entry->GetVariant().GetString().c_str());
  if (entry->GetVariant().IsGuid()) {
    CStdStr<wchar_t> text;
    StringHelp::ConvertNyGuidToString(entry->GetVariant().GetGuid(), text);
    return text;
  }
  return {};
}

}  // namespace lu
