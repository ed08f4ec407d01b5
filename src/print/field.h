// A number with its prefix and padding.
#pragma once

#include <cstddef>

#include "characters.h"
#include "format_parser.h"

namespace zarn::print {

// What precedes the digits: a sign, "0x" and the like. It is kept in one word: with an array, which is read while it is
// still being written, "%#x" and "%010u" took 1.1 times as long.
struct Prefix {
  EightCharacters characters = 0;
  unsigned size = 0;

  void add(char c) { characters |= static_cast<EightCharacters>(c) << (56 - 8 * size++); }

  void addSign(const Conversion& conversion, bool isNegative) {
    if (isNegative) {
      add('-');
    } else if (conversion.sign != '\0') {
      add(conversion.sign);
    }
  }
};

// The room that a number may need beyond its width or precision, whichever is larger: at most a sign, the 39 digits of
// a float, a point and nine decimals, plus what pad() may write beyond their end.
inline constexpr std::size_t kMaxOfNumber = 50 + kPadStep;

// Writes spaces, prefix, zeros, the `digits` characters of `writeDigits`, and spaces. Returns the end.
template <typename WriteDigits>
[[gnu::always_inline]] inline char* writeField(char* at, const Conversion& conversion, std::size_t width,
                                               std::size_t minDigits, const Prefix& prefix, std::size_t digits,
                                               WriteDigits writeDigits) {
  const std::size_t least = prefix.size + digits;
  std::size_t zeros = 0;
  std::size_t spaces = 0;
  if (conversion.isZeroPadded) {
    if (width > least) zeros = width - least;
  } else {
    if (minDigits > digits) zeros = minDigits - digits;
    if (width > least + zeros) spaces = width - least - zeros;
  }
  if (spaces != 0 && !conversion.isLeft) at = pad(at, ' ', spaces);
  putEight(at, prefix.characters);
  at += prefix.size;
  if (zeros != 0) at = pad(at, '0', zeros);
  at = writeDigits(at);
  return spaces != 0 && conversion.isLeft ? pad(at, ' ', spaces) : at;
}

}  // namespace zarn::print
