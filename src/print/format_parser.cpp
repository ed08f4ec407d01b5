#include "format_parser.h"

#include <climits>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "../little_endian.h"

namespace zarn::print {
namespace {

constexpr std::uint32_t kMaxInt = INT_MAX;

// Larger than any index: {fmt} ignores an index beyond INT_MAX.
constexpr std::uint32_t kNoIndex = UINT32_MAX;

bool isDigit(char c) { return '0' <= c && c <= '9'; }

bool isPlain(const Conversion& conversion) {
  if (conversion.isAlternate || conversion.sign != '\0' || conversion.cutBits != 0) return false;
  if (conversion.isWidthValue || conversion.isPrecisionValue) return false;
  if (conversion.type == 'd' || conversion.type == 'u') return conversion.width == 0 && conversion.precision == 0;
  if (conversion.type != 'x') return false;
  constexpr int kMaxHexDigits = 8;
  return conversion.isZeroPadded ? conversion.width <= kMaxHexDigits
                                 : conversion.width == 0 && conversion.precision <= kMaxHexDigits;
}

void settleInteger(Conversion& to, char type, bool isWide) {
  if (std::string_view("diuLxXobBc").find(type) == std::string_view::npos) return;
  to.kind = Conversion::Kind::kInteger;
  to.type = type;
  if (type == 'L') to.type = 'u';  // {fmt}'s locale-specific form; the host's locale must not show
  // Deliberate (design.md, "Wide integers"): the argument is unsigned, and {fmt} widens it before it looks at the sign.
  if (type == 'd' || type == 'i') to.type = isWide ? 'u' : 'd';
  if (type == 'c') to.sign = '\0';
  const bool hasPrecision = to.precision != Conversion::kNoPrecision;
  if (to.isLeft || hasPrecision || type == 'c') to.isZeroPadded = false;
  if (!hasPrecision || type == 'c') {
    to.precision = 0;
    to.isPrecisionValue = false;
  }
  if (isPlain(to)) {
    to.kind = Conversion::Kind::kPlain;
    if (to.isZeroPadded) to.precision = to.width;
  }
}

// Deliberate (design.md, "Floats by %g"): {fmt} writes a float by %g if the type is missing or does not suit one, such
// as %d and %s. "%L" would make it use the host's locale.
void settleFloat(Conversion& to, char type) {
  // snprintf() of a hexadecimal float fails if the text would be longer than INT_MAX, and {fmt} tries again and again
  // with more memory. "0x1." and an exponent like "p-149" must fit as well.
  constexpr int kMaxHexFloatPrecision = INT_MAX - 9;
  if ((type == 'a' || type == 'A') && to.precision > kMaxHexFloatPrecision) return;
  const bool suits = std::string_view("eEfFgGaA").find(type) != std::string_view::npos;
  to.kind = Conversion::Kind::kByFmt;
  to.type = suits ? type : 'g';
  if (to.isLeft) to.isZeroPadded = false;
  if (to.type == 'a' || to.type == 'A') return;

  // Left to {fmt}: more than nine digits; '#' if it adds characters; "%.0g", which it turns into 00 and the like; and
  // "%5.0f", which it sometimes miscounts.
  const int precision = to.precision == Conversion::kNoPrecision ? 6 : to.precision;
  const bool isGeneral = to.type == 'g' || to.type == 'G';
  const bool isFixed = to.type == 'f' || to.type == 'F';
  const int digitsInFront = isFixed || isGeneral ? 0 : 1;
  if (precision > Conversion::kMaxFloatDigits - digitsInFront) return;
  if (to.isAlternate && (isGeneral || precision == 0)) return;
  if (precision == 0 && (isGeneral || (isFixed && to.width != 0))) return;
  to.kind = isGeneral ? Conversion::Kind::kGeneral : isFixed ? Conversion::Kind::kFixed : Conversion::Kind::kExponent;
  to.precision = precision;
}

}  // namespace

bool FormatParser::ArgumentIds::takeNext() {
  if (state_ == State::kUnused) {
    state_ = State::kTaken;
    return true;
  }
  return state_ == State::kIndexed;
}

bool FormatParser::ArgumentIds::takeIndexed(std::uint32_t index) {
  if (state_ == State::kUnused) state_ = State::kIndexed;
  return index == 1;
}

bool FormatParser::parse(Pieces& pieces) {
  pieces.clear();
  while (at_ < format_.size() && !pieces.isFull()) {
    auto& [text, conversion] = pieces.next();
    conversion = {};
    const std::size_t begin = at_;
    const std::size_t percent = format_.find('%', begin);
    if (percent == std::string_view::npos) {
      text = format_.substr(begin);
      at_ = format_.size();
    } else {
      at_ = percent + 1;
      const bool isPercent = skip('%');
      text = format_.substr(begin, percent - begin + (isPercent ? 1 : 0));
      if (!isPercent) parseConversion(conversion);
    }
    if (!text.empty() || conversion.kind != Conversion::Kind::kNone) pieces.keepNext();
  }
  return at_ < format_.size();
}

// Returns NUL at the end.
char FormatParser::peek() const {
  return at_ < format_.size() ? static_cast<char>(fetched(static_cast<unsigned char>(format_[at_]))) : '\0';
}

bool FormatParser::skip(char c) {
  if (peek() != c) return false;
  ++at_;
  return true;
}

bool FormatParser::isAtDigit() const { return isDigit(peek()); }

// Deliberate (design.md, "Numbers beyond INT_MAX"): {fmt} notices that a number gets too large only at the next digit,
// and leaves that digit and the following ones to be parsed as whatever comes next.
std::uint32_t FormatParser::parseNumber() {
  std::uint32_t number = 0;
  for (char c = peek(); isDigit(c); c = peek()) {
    if (number > kMaxInt / 10) return kMaxInt + 1;
    number = number * 10 + static_cast<std::uint32_t>(c - '0');
    ++at_;
  }
  return number;
}

void FormatParser::parseConversion(Conversion& to) {
  isSilent_ = false;
  const std::uint32_t index = parseIndexFlagsAndWidth(to);
  parsePrecision(to);
  const bool getsValue = index == kNoIndex ? ids_.takeNext() : ids_.takeIndexed(index);
  const Length length = parseLength();
  if (length == Length::kChar) to.cutBits = 24;
  if (length == Length::kShort) to.cutBits = 16;
  const char type = peek();
  if (at_ < format_.size()) ++at_;
  if (!getsValue || isSilent_) return;
  if (isFloat_) {
    settleFloat(to, type);
  } else {
    settleInteger(to, type, length == Length::kWide);
  }
}

// A number at the start that is neither an index nor zero is the width; then neither flags nor another width are
// parsed.
std::uint32_t FormatParser::parseIndexFlagsAndWidth(Conversion& to) {
  std::uint32_t index = kNoIndex;
  if (const char first = peek(); isDigit(first)) {
    const std::uint32_t number = parseNumber();
    if (skip('$')) {
      if (number <= kMaxInt) index = number;
    } else {
      to.isZeroPadded = first == '0';
      setWidth(to, number);
      if (number != 0) return index;
    }
  }
  while (parseFlag(to)) ++at_;
  if (isAtDigit()) {
    setWidth(to, parseNumber());
  } else if (skip('*')) {
    to.isWidthValue = countIsValue();
  }
  return index;
}

bool FormatParser::parseFlag(Conversion& to) {
  switch (peek()) {
    case '-':
      to.isLeft = true;
      return true;
    case '+':
      to.sign = '+';
      return true;
    case ' ':
      if (to.sign == '\0') to.sign = ' ';
      return true;
    case '0':
      to.isZeroPadded = true;
      return true;
    case '#':
      to.isAlternate = true;
      return true;
    default:
      return false;
  }
}

void FormatParser::setWidth(Conversion& to, std::uint32_t width) {
  if (width > kMaxInt) {
    isSilent_ = true;
  } else {
    to.width = static_cast<int>(width);
  }
}

void FormatParser::parsePrecision(Conversion& to) {
  to.precision = Conversion::kNoPrecision;
  if (!skip('.')) return;
  to.precision = 0;
  if (isAtDigit()) {
    const std::uint32_t precision = parseNumber();
    to.precision = precision > kMaxInt ? Conversion::kNoPrecision : static_cast<int>(precision);
  } else if (skip('*')) {
    to.isPrecisionValue = countIsValue();
  }
}

// Whether a '*' takes the value. {fmt} reads a float as 0, and a missing argument, too.
bool FormatParser::countIsValue() { return ids_.takeNext() && !isFloat_; }

FormatParser::Length FormatParser::parseLength() {
  Length length = Length::kInt;
  if (skip('h')) {
    length = skip('h') ? Length::kChar : Length::kShort;
  } else if (skip('l')) {
    skip('l');
    length = Length::kWide;
  } else if (skip('j') || skip('z') || skip('t') || skip('L')) {
    length = Length::kWide;
  }
  if (length != Length::kInt && at_ == format_.size()) isSilent_ = true;
  return length;
}

}  // namespace zarn::print
