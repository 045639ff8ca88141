// The one place the library includes rapidjson from: fixes its configuration before the first include.
#pragma once

// rapidjson's own assertions are switched off: the views check nothing on purpose (misuse is
// undefined, not reported), and an assertion would turn a caller's misuse into an abort.
// The sizeof keeps asserted expressions "used" without evaluating them. Every translation unit
// that sees rapidjson together with this library must see the same definition.
#ifndef RAPIDJSON_ASSERT
#define RAPIDJSON_ASSERT(x) static_cast<void>(sizeof(!(x)))
#endif

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/pointer.h>
#include <rapidjson/reader.h>
#include <rapidjson/schema.h>
