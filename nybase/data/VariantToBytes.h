// lu::VariantToBytes: the bytes of a variant's value fed into a hashing sink.
#pragma once

#include <nybase/data/HashBytes.h>
#include <nybase/data/Variant.h>

namespace lu {

// Writes the value's bytes into `sink` through WriteBytes: 1 for Int8, UInt8 and Bool; 2, 4 or 8
// little-endian for the other numbers; for a String 2 per UTF-16 unit without the terminator (the
// low 16 bits of each element), and one zero byte for an empty string. True; false, with nothing
// written, for Empty and any other type.
bool VariantToBytes(const lu::Variant& value, HashBytes* sink);

}  // namespace lu
