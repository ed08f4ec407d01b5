#include "value_writer.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>

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

// Whether '*' takes a width that is no int.
bool isSilent(const Conversion& conversion, std::uint32_t word) { return conversion.isWidthValue && word > INT_MAX; }

std::size_t mostCharactersOf(const Conversion& conversion) {
  if (conversion.kind == Kind::kNone) return 0;
  if (conversion.kind == Kind::kByFmt) return INT_MAX;
  const int width = conversion.isWidthValue ? INT_MAX : conversion.width;
  const int precision = conversion.isPrecisionValue ? INT_MAX : conversion.precision;
  return kMaxOfNumber + static_cast<std::size_t>(std::max({width, precision, 0}));
}

}  // namespace

ValueWriter::ValueWriter(const char* format, bool isFloat)
    : parser_({format, std::strlen(format)}, isFloat), hasMore_(parser_.parse(pieces_)) {
  for (const Piece& piece : pieces_) mostCharacters_ += piece.text.size() + mostCharactersOf(piece.conversion);
  if (hasMore_) mostCharacters_ = SIZE_MAX / 2;  // not known, and more than there ever is room for
}

char* ValueWriter::writeOther(char* at, const Conversion& conversion, std::uint32_t word) {
  if (isSilent(conversion, word)) return at;
  return isByFmt(conversion, word) ? nullptr : writeNumber(at, conversion, word);
}

void ValueWriter::appendPieces(Text& out, const Pieces& pieces, std::uint32_t word) {
  for (const auto& [text, conversion] : pieces) {
    out.append(text);
    if (conversion.kind == Kind::kNone || isSilent(conversion, word)) continue;
    if (isByFmt(conversion, word)) {
      appendByFmt(out, conversion, std::bit_cast<float>(word));
    } else {
      out.setEnd(writeNumber(out.makeRoom(numberSize(conversion, word)), conversion, word));
    }
  }
}

void ValueWriter::append(Text& out, std::uint32_t word) const {
  appendPieces(out, pieces_, word);
  FormatParser parser = parser_;
  Pieces pieces;
  for (bool hasMore = hasMore_; hasMore;) {
    hasMore = parser.parse(pieces);
    appendPieces(out, pieces, word);
  }
}

}  // namespace zarn::print
