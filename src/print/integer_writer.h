// Writes integers.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

#include "../decimal.h"
#include "characters.h"
#include "format_parser.h"

namespace zarn::print {

inline unsigned countHexDigits(std::uint32_t number) {
  return (static_cast<unsigned>(std::bit_width(number | 1)) + 3) / 4;
}

// Writes the last `count` hexadecimal digits of a number, 1 to 8.
inline char* writeHex(char* at, std::uint32_t number, unsigned count, char ten) {
  putEight(at, hexDigits(number, ten) << (64 - 8 * count));
  return at + count;
}

// Writes `word` by a conversion of kind kPlain, and returns its end. Needs room for kMaxOfNumber characters. With 'X'
// handled here, too, at the cost of one more comparison, prints of all threads and pads took 1.1 times as long.
inline char* writePlain(char* at, const Conversion& conversion, std::uint32_t word) {
  if (conversion.type == 'x') {
    const unsigned count = std::max(countHexDigits(word), static_cast<unsigned>(conversion.precision));
    return writeHex(at, word, count, 'a');
  }
  if (conversion.type == 'd' && word >> 31 != 0) {
    *at++ = '-';
    word = 0 - word;
  }
  return writeDecimal(at, word);
}

// The same for kInteger. Needs room for kMaxOfNumber characters more than the width or the precision.
char* writeInteger(char* at, const Conversion& conversion, std::uint32_t word);

}  // namespace zarn::print
