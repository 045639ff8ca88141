// Helpers shared by the Variant sources: type validity and the text of a String.
#pragma once

#include <cstddef>

#include <nybase/data/Variant.h>

namespace lu::detail {

// True for the thirteen numbers of VariantType; every other number is no type.
bool IsVariantType(VariantType type);

// The characters of a String variant and their count: the whole owned string when the payload
// points at it, the text up to the NUL for a foreign pointer, "" for a null pointer.
const wchar_t* StringText(const Variant& v, size_t& length);

}  // namespace lu::detail
