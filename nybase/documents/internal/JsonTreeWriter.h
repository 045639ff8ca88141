// The compact JSON text of a tree, written straight into a string.
#pragma once

#include <string>

#include <nybase/documents/NyJson.h>

namespace lu::detail {

// The same text, byte for byte, as rapidjson's Writer (default flags and precision) gives when
// the tree is walked into it as ToRapidJson would convert it: members in map order, a NaN or an
// infinity ends the text at that value (after the comma or colon before it), a variant tag above
// 13 writes null and closes the open containers, as do containers nested deeper than
// lu::JsonHelpers::k_maxDepth (written empty). The text holds no NUL byte: a NUL in a string is
// escaped.
std::string CompactTreeText(const NyJson& tree);

}  // namespace lu::detail
