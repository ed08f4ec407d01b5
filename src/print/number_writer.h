// Integers and fixed floats in the text.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "../decimal.h"
#include "format_parser.h"

namespace zarn::print {

// Floats from 2^64 on, infinities and NaNs are left to {fmt}.
inline bool isBelow2To64(std::uint32_t word) { return (word & 0x7F800000) < (127 + 64) << 23; }

// The room that a number may need beyond its width or precision, whichever is larger: a sign, the 39 digits of a float,
// a point and nine decimals are the most, and {fmt} has some to spare.
inline constexpr std::size_t kMaxOfNumber = 64;

// Writes what conversions of the kinds kInteger and kFixed make of `word`, and returns its end.
char* writeNumber(char* at, const Conversion& conversion, std::uint32_t word);

// All eight digits are found at once, and written one after the other without the leading zeros.
inline char* writeHex(char* at, std::uint32_t number) {
  constexpr std::uint64_t kEach = 0x0101010101010101;
  std::uint64_t digits = number;
  digits = (digits | digits << 16) & 0x0000FFFF0000FFFF;
  digits = (digits | digits << 8) & 0x00FF00FF00FF00FF;
  digits = (digits | digits << 4) & 0x0F0F0F0F0F0F0F0F;
  const std::uint64_t isLetter = (digits + 6 * kEach) >> 4 & kEach;
  digits += '0' * kEach + ('a' - '9' - 1) * isLetter;
  const unsigned count = (static_cast<unsigned>(std::bit_width(number | 1)) + 3) / 4;
  digits <<= 64 - 8 * count;
  for (int i = 0; i < 8; ++i) at[i] = static_cast<char>(digits >> (56 - 8 * i));
  return at + count;
}

// Writes what a conversion of the kind kPlain makes of `word`, where there is room for kMaxOfNumber characters, and
// returns its end.
inline char* writePlain(char* at, char type, std::uint32_t word) {
  if (type == 'x') return writeHex(at, word);
  if (type == 'd' && word >> 31 != 0) {
    *at++ = '-';
    word = 0 - word;
  }
  return writeDecimal(at, word);
}

}  // namespace zarn::print
