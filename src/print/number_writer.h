// Integers and fixed floats in the text.
#pragma once

#include <cstddef>
#include <cstdint>

#include "format_parser.h"

namespace zarn::print {

// All of these are for conversions of the kinds kPlain, kInteger and kFixed.

// Whether this library writes the value. Floats from 2^64 on, infinities and NaNs are left to {fmt}.
inline bool isInRange(const Conversion& conversion, std::uint32_t word) {
  constexpr std::uint32_t kTwoTo64 = (127 + 64) << 23;
  return conversion.kind != Conversion::Kind::kFixed || (word & 0x7F800000) < kTwoTo64;
}

// What a number may need beyond its width or precision, whichever is larger: 32 binary digits with a prefix of three
// characters are the most.
inline constexpr std::size_t kMaxOfNumber = 40;

std::size_t numberSize(const Conversion& conversion, std::uint32_t word);

// Writes exactly that many characters, and returns their end.
char* writeNumber(char* at, const Conversion& conversion, std::uint32_t word);

}  // namespace zarn::print
