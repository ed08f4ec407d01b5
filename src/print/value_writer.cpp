#include "value_writer.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstddef>
#include <cstdint>

#include "../decimal.h"
#include "fmt_float.h"
#include "format_parser.h"
#include "number_writer.h"
#include "text.h"

namespace zarn::print {
namespace {

using Kind = Conversion::Kind;

bool isByFmt(const Conversion& conversion, std::uint32_t word) {
  return conversion.kind == Kind::kByFmt || !isInRange(conversion, word);
}

// Whether a '*' takes a value that is no int. Such a conversion gives no text.
bool hasFaultyCount(const Conversion& conversion, std::uint32_t word) {
  return word > INT_MAX && (conversion.isWidthValue || conversion.isPrecisionValue);
}

std::size_t mostCharactersOf(const Conversion& conversion) {
  if (conversion.kind == Kind::kNone) return 0;
  if (conversion.kind == Kind::kByFmt) return INT_MAX;
  const int width = conversion.isWidthValue ? INT_MAX : conversion.width;
  const int precision = conversion.isPrecisionValue ? INT_MAX : conversion.precision;
  return kMaxOfNumber + static_cast<std::size_t>(std::max({width, precision, 0}));
}

// All eight digits are found at once, and written behind one another without the leading zeros.
char* writeHex(char* at, std::uint32_t number) {
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

// By a conversion of the kind kPlain, where there is room for kMaxOfNumber characters.
char* writePlain(char* at, char type, std::uint32_t word) {
  if (type == 'x') return writeHex(at, word);
  if (type == 'd' && word >> 31 != 0) {
    *at++ = '-';
    word = 0 - word;
  }
  return writeDecimal(at, word);
}

}  // namespace

ValueWriter::ValueWriter(const char* format, bool isFloat) {
  parseFormat(format, isFloat, pieces_);
  for (const Piece& piece : pieces_) mostCharacters_ += piece.text.size() + mostCharactersOf(piece.conversion);
}

char* ValueWriter::write(char* at, std::uint32_t word) const {
  for (const auto& [text, conversion] : pieces_) {
    at = copy(at, text);
    if (conversion.kind == Kind::kPlain) {
      at = writePlain(at, conversion.type, word);
    } else if (conversion.kind != Kind::kNone && !hasFaultyCount(conversion, word)) {
      if (isByFmt(conversion, word)) return nullptr;
      at = writeNumber(at, conversion, word);
    }
  }
  return at;
}

void ValueWriter::append(Text& out, std::uint32_t word) const {
  for (const auto& [text, conversion] : pieces_) {
    out.append(text);
    if (conversion.kind == Kind::kNone || hasFaultyCount(conversion, word)) continue;
    if (isByFmt(conversion, word)) {
      appendByFmt(out, conversion, std::bit_cast<float>(word));
    } else {
      out.setEnd(writeNumber(out.makeRoom(numberSize(conversion, word)), conversion, word));
    }
  }
}

}  // namespace zarn::print
