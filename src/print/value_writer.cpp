#include "value_writer.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "field.h"
#include "float_writer.h"
#include "fmt_float.h"
#include "format_parser.h"
#include "integer_writer.h"
#include "text.h"

namespace zarn::print {
namespace {

using Kind = Conversion::Kind;

// Whether '*' takes a width that does not fit an int.
bool isSilent(const Conversion& conversion, std::uint32_t word) { return conversion.isWidthValue && word > INT_MAX; }

// {fmt} writes infinities and NaNs into room that was made for other floats.
static_assert(kMaxOfNumber >= kMaxByFmt);

// The room that a value needs; `count` is the value of '*'.
std::size_t maxCharactersOf(const Conversion& conversion, std::uint32_t count, bool isFinite) {
  if (conversion.kind == Kind::kNone) return 0;
  if (conversion.kind == Kind::kByFmt) return maxCharactersByFmt(conversion, isFinite);
  const std::size_t width = widthOf(conversion, count);
  return kMaxOfNumber + std::max(width, precisionOf(conversion, count));
}

}  // namespace

ValueWriter::ValueWriter(const char* format, bool isFloat)
    : parser_({format, std::strlen(format)}, isFloat), hasMore_(parser_.parse(pieces_)) {
  for (const auto& [text, conversion] : pieces_) {
    maxCharacters_ += text.size() + maxCharactersOf(conversion, INT_MAX, true);
  }
  if (hasMore_) maxCharacters_ = SIZE_MAX / 2;  // unknown: more than there ever is room for
}

char* ValueWriter::writeOther(char* at, const Conversion& conversion, std::uint32_t word) {
  switch (conversion.kind) {
    case Kind::kNone:
      return at;
    case Kind::kPlain:
      return writePlain(at, conversion, word);
    case Kind::kInteger:
      return isSilent(conversion, word) ? at : writeInteger(at, conversion, word);
    case Kind::kFixed:
    case Kind::kExponent:
    case Kind::kGeneral:
      if (isFinite(word)) return writeFloat(at, conversion, word);
      break;
    case Kind::kByFmt:
      break;
  }
  return writeByFmt(at, conversion, std::bit_cast<float>(word));
}

void ValueWriter::appendPieces(Text& out, const Pieces& pieces, std::uint32_t word) {
  for (const auto& [text, conversion] : pieces) {
    out.append(text);
    if (isSilent(conversion, word)) continue;
    out.append(maxCharactersOf(conversion, word, isFinite(word)),
               [&to = conversion, word](char* at) { return writeOther(at, to, word); });
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
