// NYRESULT: the result number of the library's lower layers.
#pragma once

// The values are fixed by the interface (they are the application's stored and logged codes);
// never renumber them.
using NYRESULT = int;

inline constexpr NYRESULT NYRESULT_SUCCESS = 1;
inline constexpr NYRESULT NYRESULT_FAILURE = 2;
inline constexpr NYRESULT NYRESULT_INVALID_FILE = 7;
inline constexpr NYRESULT NYRESULT_INVALID_PARAMETER = 31;
inline constexpr NYRESULT NYRESULT_OUT_OF_MEMORY = 52;
inline constexpr NYRESULT NYRESULT_FILE_NOT_FOUND = 66;

// True only for NYRESULT_SUCCESS.
constexpr bool NySucceeded(NYRESULT r) { return r == NYRESULT_SUCCESS; }
