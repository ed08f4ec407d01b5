#include "float_writer.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "../decimal.h"
#include "../literal.h"
#include "characters.h"
#include "decimal_float.h"
#include "field.h"
#include "format_parser.h"

namespace zarn::print {
namespace {

__extension__ using Uint128 = unsigned __int128;

constexpr std::uint32_t kTenTo8 = 100'000'000;

// The nine digits of a number below 10^9.
struct NineDigits {
  explicit NineDigits(std::uint32_t number)
      : first(static_cast<char>('0' + number / kTenTo8)), others(eightDecimalDigits(number % kTenTo8)) {}
  char first;
  EightCharacters others;
};

char* putNine(char* at, const NineDigits& digits) {
  *at = digits.first;
  return putEight(at + 1, digits.others);
}

constexpr std::uint32_t kPowersOf10[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, kTenTo8, 10 * kTenTo8};

char* writeBelow2To64(char* at, std::uint64_t number) {
  if (number <= UINT32_MAX) return writeDecimal(at, static_cast<std::uint32_t>(number));
  at = writeBelow2To64(at, number / kTenTo8);
  return putEight(at, eightDecimalDigits(static_cast<std::uint32_t>(number % kTenTo8)));
}

// Takes sixteen digits at a time, since each division of this size is a call that takes longer than all the rest.
char* writeBelow2To128(char* at, Uint128 number) {
  constexpr std::uint64_t kTenTo16 = std::uint64_t{kTenTo8} * kTenTo8;
  if (number <= UINT64_MAX) return writeBelow2To64(at, static_cast<std::uint64_t>(number));
  const Uint128 upper = number / kTenTo16;
  const auto lower = static_cast<std::uint64_t>(number - upper * kTenTo16);
  at = writeBelow2To128(at, upper);
  at = putEight(at, eightDecimalDigits(static_cast<std::uint32_t>(lower / kTenTo8)));
  return putEight(at, eightDecimalDigits(static_cast<std::uint32_t>(lower % kTenTo8)));
}

struct FixedFloat {
  std::uint32_t integer;
  std::uint32_t fraction;  // as many digits as the precision says
};

// Rounds significand / 2^shift, where the significand has at most 24 bits, to nearest, ties to even. Nothing overflows:
// ten to the ninth has 30 bits.
FixedFloat roundToPrecision(std::uint64_t significand, int shift, int precision) {
  const int fractionBits = std::min(shift, 63);  // from 56 on, the number is 0 at any precision
  const std::uint64_t one = std::uint64_t{1} << fractionBits;
  const std::uint64_t power = kPowersOf10[precision];
  const std::uint64_t scaled = (significand & (one - 1)) * power;
  const std::uint64_t rest = scaled & (one - 1);
  std::uint64_t integer = significand >> fractionBits;
  std::uint64_t fraction = scaled >> fractionBits;
  const bool isOdd = ((integer * power + fraction) & 1) != 0;
  if (rest > one / 2 || (rest == one / 2 && isOdd)) ++fraction;
  if (fraction == power) {
    fraction = 0;
    ++integer;
  }
  return {static_cast<std::uint32_t>(integer), static_cast<std::uint32_t>(fraction)};
}

template <typename WriteDigits>
[[gnu::always_inline]] inline char* writeMagnitude(char* at, const Conversion& conversion, const Prefix& sign,
                                                   std::size_t size, WriteDigits write) {
  return writeField(at, conversion, static_cast<std::size_t>(conversion.width), 0, sign, size, write);
}

// Writes a point and `precision` digits, or nothing if `precision` is 0.
char* writeFraction(char* at, std::uint32_t fraction, int precision) {
  if (precision == 0) return at;
  *at++ = '.';
  if (precision == 9) {
    putNine(at, NineDigits(fraction));
  } else {
    putEight(at, eightDecimalDigits(fraction * kPowersOf10[8 - precision]));
  }
  return at + precision;
}

char* writeFixed(char* at, const Conversion& conversion, const Prefix& sign, std::uint32_t bits) {
  const int precision = conversion.precision;
  const unsigned fractionSize = precision == 0 ? 0 : 1 + static_cast<unsigned>(precision);
  const std::uint32_t exponent = bits >> 23;
  const std::uint64_t significand = (bits & 0x7FFFFF) | (exponent == 0 ? 0 : 0x800000);
  const int shift = 150 - static_cast<int>(std::max(exponent, 1U));
  if (shift > 0) {
    const FixedFloat number = roundToPrecision(significand, shift, precision);
    return writeMagnitude(at, conversion, sign, decimalDigits(number.integer) + fractionSize, [&](char* place) {
      return writeFraction(writeDecimal(place, number.integer), number.fraction, precision);
    });
  }
  char digits[40];
  const auto count = static_cast<std::size_t>(writeBelow2To128(digits, Uint128{significand} << -shift) - digits);
  return writeMagnitude(at, conversion, sign, count + fractionSize, [&](char* place) {
    std::memcpy(place, digits, sizeof digits);
    return writeFraction(place + count, 0, precision);
  });
}

// Writes "d.ddde+dd" with `count` digits, or "de+dd" with one.
char* writeScientific(char* at, const Conversion& conversion, const Prefix& sign, const NineDigits& digits,
                      unsigned count, int exponent) {
  const auto size = static_cast<unsigned>(exponent < 0 ? -exponent : exponent);
  return writeMagnitude(at, conversion, sign, count + (count > 1 ? 1 : 0) + 4, [&](char* place) {
    *place++ = digits.first;
    if (count > 1) {
      *place = '.';
      putEight(place + 1, digits.others);
      place += count;
    }
    place[0] = conversion.type == 'E' || conversion.type == 'G' ? 'E' : 'e';
    place[1] = exponent < 0 ? '-' : '+';
    place[2] = static_cast<char>('0' + size / 10);
    place[3] = static_cast<char>('0' + size % 10);
    return place + 4;
  });
}

char* writeExponent(char* at, const Conversion& conversion, const Prefix& sign, std::uint32_t bits) {
  const int count = conversion.precision + 1;
  const DecimalFloat number = roundToDigits(bits, count);
  const NineDigits digits(number.digits);
  return writeScientific(at, conversion, sign, digits, static_cast<unsigned>(count), number.exponent);
}

// The number of digits without trailing zeros.
unsigned countSignificant(const NineDigits& digits) {
  const std::uint64_t others = digits.others - '0' * kEach;
  return others == 0 ? 1 : 9 - static_cast<unsigned>(std::countr_zero(others)) / 8;
}

char* writeGeneral(char* at, const Conversion& conversion, const Prefix& sign, std::uint32_t bits) {
  const DecimalFloat number = roundToDigits(bits, conversion.precision);
  const int exponent = number.exponent;
  const NineDigits digits(number.digits);
  const unsigned count = countSignificant(digits);
  if (exponent < -4 || exponent >= conversion.precision) {
    return writeScientific(at, conversion, sign, digits, count, exponent);
  }
  if (exponent < 0) {
    const auto zeros = static_cast<unsigned>(1 - exponent);  // and the point
    return writeMagnitude(at, conversion, sign, zeros + count, [&](char* place) {
      put(place, "0.000");
      putNine(place + zeros, digits);
      return place + zeros + count;
    });
  }
  const auto integer = static_cast<unsigned>(exponent) + 1;
  if (count <= integer) {
    return writeMagnitude(at, conversion, sign, integer, [&](char* place) {
      putNine(place, digits);
      return place + integer;
    });
  }
  return writeMagnitude(at, conversion, sign, count + 1, [&](char* place) {
    putNine(place, digits);
    place[integer] = '.';
    putEight(place + integer + 1, digits.others << 8 * exponent);
    return place + count + 1;
  });
}

}  // namespace

char* writeFloat(char* at, const Conversion& conversion, std::uint32_t word) {
  Prefix sign;
  sign.addSign(conversion, word >> 31 != 0);
  const std::uint32_t bits = word & 0x7FFFFFFF;
  if (conversion.kind == Conversion::Kind::kFixed) return writeFixed(at, conversion, sign, bits);
  if (conversion.kind == Conversion::Kind::kExponent) return writeExponent(at, conversion, sign, bits);
  return writeGeneral(at, conversion, sign, bits);
}

}  // namespace zarn::print
