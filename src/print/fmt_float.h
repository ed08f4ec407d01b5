// Floats that {fmt} writes.
#pragma once

#include <cstddef>

#include "format_parser.h"

namespace zarn::print {

// Enough for a sign, the 39 digits of the largest float, a point and six digits, or for a prefix or leading zeros and
// an exponent, with some to spare; {fmt} asks for one more than the width.
inline constexpr std::size_t kMaxByFmt = 64;

// The room that writeByFmt() needs.
std::size_t maxCharactersByFmt(const Conversion& conversion, bool isFinite);

char* writeByFmt(char* at, const Conversion& conversion, float value);

}  // namespace zarn::print
