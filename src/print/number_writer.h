// Integers and fixed floats in the text.
#pragma once

#include <cstddef>
#include <cstdint>

#include "format_parser.h"

namespace zarn::print {

// What follows is for conversions of the kinds kInteger and kFixed.

// Whether this library has text for the value: floats from 2^64 on, infinities and NaNs are {fmt}'s.
inline bool isInRange(const Conversion& conversion, std::uint32_t word) {
  constexpr std::uint32_t kTwoTo64 = (127 + 64) << 23;
  return conversion.kind != Conversion::Kind::kFixed || (word & 0x7F800000) < kTwoTo64;
}

// The characters that such a value takes besides those that a width or a precision asks for.
inline constexpr std::size_t kMostOfNumber =
    40;  // binary has a prefix of three and 32 digits, a float a sign, 20, a point and 9

std::size_t numberSize(const Conversion& conversion, std::uint32_t word);

// Writes exactly that many characters, and returns their end.
char* writeNumber(char* at, const Conversion& conversion, std::uint32_t word);

}  // namespace zarn::print
