// The floats that {fmt} doesn't write.
#pragma once

#include <cstdint>

#include "format_parser.h"

namespace zarn::print {

// Infinities and NaNs are left to {fmt}.
constexpr bool isFinite(std::uint32_t word) { return (word & 0x7F800000) != 0x7F800000; }

// Writes a finite float by a conversion of kind kFixed, kExponent or kGeneral, and returns its end. Needs room for
// kMaxOfNumber characters more than the width.
char* writeFloat(char* at, const Conversion& conversion, std::uint32_t word);

}  // namespace zarn::print
