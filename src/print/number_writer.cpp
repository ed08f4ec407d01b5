#include "number_writer.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "../decimal.h"
#include "format_parser.h"

namespace zarn::print {
namespace {

// A value about to be written: spaces, prefix, zeros, digits, spaces.
struct Field {
  std::size_t spaces = 0;
  std::size_t zeros = 0;
  std::uint64_t number = 0;    // of a float what is in front of the point
  std::uint32_t fraction = 0;  // after it
  unsigned digits = 0;         // with the point of a float
  std::uint32_t prefix = 0;    // its characters, the last in the lowest byte
  unsigned prefixSize = 0;

  void addPrefix(char c) {
    prefix = prefix << 8 | static_cast<unsigned char>(c);
    ++prefixSize;
  }

  void addSign(const Conversion& conversion, bool isNegative) {
    if (isNegative) {
      addPrefix('-');
    } else if (conversion.sign != '\0') {
      addPrefix(conversion.sign);
    }
  }

  // `leastDigits` is the precision of an integer.
  void pad(const Conversion& conversion, std::size_t width, std::size_t leastDigits) {
    const std::size_t least = prefixSize + digits;
    if (conversion.isZeroPadded) {
      if (width > least) zeros = width - least;
      return;
    }
    if (leastDigits > digits) zeros = leastDigits - digits;
    if (width > least + zeros) spaces = width - least - zeros;
  }
};

// Of a digit of base 16, 8 or 2.
unsigned bitsOfDigit(char type) { return type == 'o' ? 3 : type == 'x' || type == 'X' ? 4 : 1; }

inline Field integerField(const Conversion& conversion, std::uint32_t word) {
  Field field;
  const unsigned cut = conversion.cutBits;
  const bool isNegative = conversion.type == 'd' && (word << cut >> 31) != 0;
  const std::uint32_t number = (isNegative ? 0 - word : word) << cut >> cut;
  field.number = number;
  field.addSign(conversion, isNegative);
  const std::size_t width = widthOf(conversion, word);
  std::size_t leastDigits = precisionOf(conversion, word);
  if (conversion.type == 'd' || conversion.type == 'u') {
    field.digits = decimalDigits(number);
  } else if (conversion.type == 'c') {
    field.digits = 1;
    leastDigits = 1;
  } else {
    const unsigned bits = bitsOfDigit(conversion.type);
    field.digits = (static_cast<unsigned>(std::bit_width(number | 1)) + bits - 1) / bits;
    // Deliberate (design.md, "Prefix of a cut zero"): {fmt} looks for a zero before it cuts bits off.
    if (conversion.isAlternate && word != 0) {
      if (conversion.type != 'o') {
        field.addPrefix('0');
        field.addPrefix(conversion.type);
      } else if (number != 0 && leastDigits <= field.digits) {
        field.addPrefix('0');
      }
    }
  }
  field.pad(conversion, width, leastDigits);
  return field;
}

unsigned digitsBelow2To64(std::uint64_t number) {
  constexpr std::uint64_t kTenDigits = 10'000'000'000;
  if (number < kTenDigits / 10) return decimalDigits(static_cast<std::uint32_t>(number));
  if (number < kTenDigits) return 10;
  return 10 + decimalDigits(static_cast<std::uint32_t>(number / kTenDigits));
}

// Rounds to nearest, and halves to even. Nothing is lost on the way: a fraction has at most 24 bits that are not 0, and
// ten to the ninth has 30.
inline Field fixedField(const Conversion& conversion, std::uint32_t word) {
  constexpr std::uint32_t kPowersOf10[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000, 1000000000};
  Field field;
  field.addSign(conversion, word >> 31 != 0);
  const std::uint32_t exponent = word >> 23 & 0xFF;
  const std::uint64_t significand = (word & 0x7FFFFF) | (exponent == 0 ? 0 : 0x800000);
  const int shift = static_cast<int>(std::max(exponent, 1U)) - 150;
  if (shift >= 0) {
    field.number = significand << shift;
  } else {
    const int fractionBits = std::min(-shift, 63);  // the number is 0 to any precision from 56 on
    const std::uint64_t one = std::uint64_t{1} << fractionBits;
    const std::uint64_t power = kPowersOf10[conversion.precision];
    const std::uint64_t scaled = (significand & (one - 1)) * power;
    const std::uint64_t rest = scaled & (one - 1);
    std::uint64_t fraction = scaled >> fractionBits;
    field.number = significand >> fractionBits;
    const bool isOdd = ((field.number * power + fraction) & 1) != 0;
    if (rest > one / 2 || (rest == one / 2 && isOdd)) ++fraction;
    if (fraction == power) {
      fraction = 0;
      ++field.number;
    }
    field.fraction = static_cast<std::uint32_t>(fraction);
  }
  field.digits = digitsBelow2To64(field.number);
  if (conversion.precision != 0) field.digits += 1 + static_cast<unsigned>(conversion.precision);
  field.pad(conversion, static_cast<std::size_t>(conversion.width), 0);
  return field;
}

inline Field fieldOf(const Conversion& conversion, std::uint32_t word) {
  return conversion.kind == Conversion::Kind::kFixed ? fixedField(conversion, word) : integerField(conversion, word);
}

// These write so that the digits end at `end`.

void writeFixed(char* end, const Conversion& conversion, const Field& field) {
  if (conversion.precision != 0) {
    char* const point = end - conversion.precision - 1;
    char* at = writeDecimalBefore(end, field.fraction);
    while (at != point + 1) *--at = '0';
    *point = '.';
    end = point;
  }
  writeDecimalBefore(end, field.number);
}

void writeDigits(char* end, const Conversion& conversion, const Field& field) {
  auto rest = static_cast<std::uint32_t>(field.number);
  if (conversion.type == 'd' || conversion.type == 'u') {
    writeDecimalBefore(end, rest);
  } else if (conversion.type == 'c') {
    end[-1] = static_cast<char>(rest);
  } else {
    const char* const characters = conversion.type == 'x' ? "0123456789abcdef" : "0123456789ABCDEF";
    const unsigned bits = bitsOfDigit(conversion.type);
    for (unsigned i = 0; i < field.digits; ++i, rest >>= bits) *--end = characters[rest & ((1U << bits) - 1)];
  }
}

char* fill(char* at, char c, std::size_t count) {
  std::fill_n(at, count, c);
  return at + count;
}

}  // namespace

char* writeNumber(char* at, const Conversion& conversion, std::uint32_t word) {
  const Field field = fieldOf(conversion, word);
  if (!conversion.isLeft) at = fill(at, ' ', field.spaces);
  for (unsigned i = field.prefixSize; i != 0; --i) *at++ = static_cast<char>(field.prefix >> 8 * (i - 1));
  at = fill(at, '0', field.zeros) + field.digits;
  if (conversion.kind == Conversion::Kind::kFixed) {
    writeFixed(at, conversion, field);
  } else {
    writeDigits(at, conversion, field);
  }
  return conversion.isLeft ? fill(at, ' ', field.spaces) : at;
}

}  // namespace zarn::print
