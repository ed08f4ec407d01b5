// Decimal digits, written two at a time.
#pragma once

#include <array>
#include <bit>
#include <concepts>
#include <cstdint>
#include <cstring>

namespace zarn {

inline constexpr unsigned kMaxDecimalDigits = 10;  // of a 32-bit number

namespace detail {

// "00", "01" and so on up to "99".
inline constexpr auto kDigitPairs = [] {
  std::array<char, 200> pairs{};
  for (unsigned i = 0; i < 100; ++i) {
    pairs[2 * i] = static_cast<char>('0' + i / 10);
    pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
  }
  return pairs;
}();

// By the bit width of a number: what to add for the upper half of the sum to be its count of digits. Numbers of one
// width differ in that count by one at most; from 10^count on, the sum carries into the upper half.
inline constexpr auto kDigitCountAddends = [] {
  std::array<std::uint64_t, 33> addends{};
  std::uint64_t power = 10;  // the least number of count + 1 digits
  std::uint64_t count = 1;   // of the digits of the least number of the width at hand
  for (unsigned width = 0; width <= 32; ++width) {
    const std::uint64_t least = width == 0 ? 0 : std::uint64_t{1} << (width - 1);
    if (least >= power) {
      power *= 10;
      ++count;
    }
    const bool isLongest = count == kMaxDecimalDigits;
    addends[width] = isLongest ? count << 32 : ((count + 1) << 32) - power;
  }
  return addends;
}();

}  // namespace detail

// How many digits writeDecimal() writes: 1 to 10.
constexpr unsigned decimalDigits(std::uint32_t number) {
  return static_cast<unsigned>((number + detail::kDigitCountAddends[std::bit_width(number)]) >> 32);
}

// Writes a number so that it ends at `end`, and returns its beginning.
template <std::unsigned_integral Number>
char* writeDecimalBefore(char* end, Number number) {
  while (number >= 100) {
    end -= 2;
    std::memcpy(end, &detail::kDigitPairs[2 * (number % 100)], 2);
    number /= 100;
  }
  if (number < 10) {
    *--end = static_cast<char>('0' + number);
    return end;
  }
  end -= 2;
  std::memcpy(end, &detail::kDigitPairs[2 * number], 2);
  return end;
}

// Writes a number at `at`, and returns its end.
inline char* writeDecimal(char* at, std::uint32_t number) {
  char* const end = at + decimalDigits(number);
  writeDecimalBefore(end, number);
  return end;
}

}  // namespace zarn
