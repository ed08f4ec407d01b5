// The floats that {fmt} doesn't write.
#pragma once

#include <cstdint>

#include "format_parser.h"

namespace zarn::print {

// Infinities and NaNs are left to {fmt}.
constexpr bool isFinite(std::uint32_t word) { return (word & 0x7F800000) != 0x7F800000; }

// Writes what a conversion of the kinds kFixed, kExponent and kGeneral makes of a finite float, where there is room for
// kMaxOfNumber characters more than the width. Returns its end.
char* writeFloat(char* at, const Conversion& conversion, std::uint32_t word);

}  // namespace zarn::print
