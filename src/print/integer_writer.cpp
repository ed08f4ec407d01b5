#include "integer_writer.h"

#include <bit>
#include <cstddef>
#include <cstdint>

#include "../decimal.h"
#include "field.h"
#include "format_parser.h"

namespace zarn::print {
namespace {

// Digits in base 8 or 2.
template <unsigned bits>
unsigned countDigits(std::uint32_t number) {
  return (static_cast<unsigned>(std::bit_width(number | 1)) + bits - 1) / bits;
}

template <unsigned bits>
char* writeDigits(char* at, std::uint32_t number, unsigned count) {
  char* const end = at + count;
  for (at = end; count != 0; --count, number >>= bits) *--at = static_cast<char>('0' + (number & ((1U << bits) - 1)));
  return end;
}

}  // namespace

char* writeInteger(char* at, const Conversion& conversion, std::uint32_t word) {
  const unsigned cut = conversion.cutBits;
  const bool isNegative = conversion.type == 'd' && (word << cut >> 31) != 0;
  const std::uint32_t number = (isNegative ? 0 - word : word) << cut >> cut;
  // Deliberate (design.md, "Prefix of a cut zero"): {fmt} looks for a zero before it cuts bits off.
  const bool isAlternate = conversion.isAlternate && word != 0;
  const std::size_t width = widthOf(conversion, word);
  const std::size_t precision = precisionOf(conversion, word);
  Prefix prefix;
  prefix.addSign(conversion, isNegative);
  if (conversion.type == 'd' || conversion.type == 'u') {
    return writeField(at, conversion, width, precision, prefix, decimalDigits(number),
                      [=](char* place) { return writeDecimal(place, number); });
  }
  if (conversion.type == 'x' || conversion.type == 'X') {
    if (isAlternate) {
      prefix.add('0');
      prefix.add(conversion.type);
    }
    const unsigned digits = countHexDigits(number);
    const char ten = conversion.type == 'x' ? 'a' : 'A';
    return writeField(at, conversion, width, precision, prefix, digits,
                      [=](char* place) { return writeHex(place, number, digits, ten); });
  }
  if (conversion.type == 'c') {
    return writeField(at, conversion, width, precision, prefix, 1, [=](char* place) {
      *place = static_cast<char>(number);
      return place + 1;
    });
  }
  if (conversion.type == 'o') {
    const unsigned digits = countDigits<3>(number);
    if (isAlternate && number != 0 && precision <= digits) prefix.add('0');
    return writeField(at, conversion, width, precision, prefix, digits,
                      [=](char* place) { return writeDigits<3>(place, number, digits); });
  }
  if (isAlternate) {
    prefix.add('0');
    prefix.add(conversion.type);
  }
  const unsigned digits = countDigits<1>(number);
  return writeField(at, conversion, width, precision, prefix, digits,
                    [=](char* place) { return writeDigits<1>(place, number, digits); });
}

}  // namespace zarn::print
