#include "value_writer.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstddef>
#include <cstdint>

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

}  // namespace

ValueWriter::ValueWriter(const char* format, bool isFloat) {
  parseFormat(format, isFloat, pieces_);
  for (const Piece& piece : pieces_) mostCharacters_ += piece.text.size() + mostCharactersOf(piece.conversion);
}

char* ValueWriter::writeOther(char* at, const Conversion& conversion, std::uint32_t word) {
  if (hasFaultyCount(conversion, word)) return at;
  return isByFmt(conversion, word) ? nullptr : writeNumber(at, conversion, word);
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
