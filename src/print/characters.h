// Writes several characters at once with stores of a fixed size. The surplus is overwritten later, or falls into room
// that the caller has made.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zarn::print {

// Eight characters in one word, the first in the highest byte, so that shifts move them along the text.
using EightCharacters = std::uint64_t;

inline constexpr EightCharacters kEach = 0x0101010101010101;

// Written one character at a time, GCC 12 makes this one store in some places and some twenty instructions in others.
inline char* putEight(char* at, EightCharacters characters) {
  if constexpr (std::endian::native == std::endian::little) characters = __builtin_bswap64(characters);
  std::memcpy(at, &characters, sizeof characters);
  return at + sizeof characters;
}

// All eight digits of a hexadecimal number; `ten` is 'a' or 'A'.
constexpr EightCharacters hexDigits(std::uint32_t number, char ten) {
  std::uint64_t digits = number;
  digits = (digits | digits << 16) & 0x0000FFFF0000FFFF;
  digits = (digits | digits << 8) & 0x00FF00FF00FF00FF;
  digits = (digits | digits << 4) & 0x0F0F0F0F0F0F0F0F;
  const std::uint64_t isLetter = (digits + 6 * kEach) >> 4 & kEach;
  return digits + '0' * kEach + static_cast<unsigned>(ten - '9' - 1) * isLetter;
}
static_assert(hexDigits(0x09AF10C5, 'a') == 0x3039616631306335 && hexDigits(0x9A, 'A') == 0x3030303030303941);

// All eight digits of a decimal number below 10^8. It is split into halves, these into pairs, and these into digits.
// The factors are the inverses of 100 and 10, rounded up, which is exact for numbers of four and two digits.
constexpr EightCharacters eightDecimalDigits(std::uint32_t number) {
  const std::uint64_t halves = std::uint64_t{number / 10000} << 32 | number % 10000;
  const std::uint64_t hundreds = halves * 10486 >> 20 & 0x0000007F0000007F;
  const std::uint64_t pairs = hundreds << 16 | (halves - 100 * hundreds);
  const std::uint64_t tens = pairs * 103 >> 10 & 0x000F000F000F000F;
  return (tens << 8 | (pairs - 10 * tens)) + '0' * kEach;
}
static_assert(eightDecimalDigits(12345678) == 0x3132333435363738 && eightDecimalDigits(99999999) == '9' * kEach);

// The most characters that pad() writes beyond `count`.
inline constexpr std::size_t kPadStep = 16;

// Writes `c` `count` times. Most padding is shorter than a step. With std::fill_n(), which calls memset(), "%-8u" took
// 1.1 times as long.
inline char* pad(char* at, char c, std::size_t count) {
  std::memset(at, c, kPadStep);
  if (count > kPadStep) std::memset(at + kPadStep, c, count - kPadStep);
  return at + count;
}

}  // namespace zarn::print
