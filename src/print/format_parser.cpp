#include "format_parser.h"

#include <climits>
#include <cstddef>
#include <optional>
#include <string_view>

namespace zarn::print {
namespace {

bool isDigit(char c) { return '0' <= c && c <= '9'; }

// Which references get the argument. There is only one, so of the automatic references the first gets it.
// Deliberate (design.md, "Index first"): once an index came first, every automatic reference is to argument 1, because
// {fmt}'s report about mixing the two is compiled out.
class ArgumentIds {
 public:
  bool takeNext() {
    if (state_ == State::kUnused) {
      state_ = State::kTaken;
      return true;
    }
    return state_ == State::kIndexed;
  }

  bool takeIndexed(int index) {
    if (state_ == State::kUnused) state_ = State::kIndexed;
    return index == 1;
  }

 private:
  enum class State { kUnused, kTaken, kIndexed };
  State state_ = State::kUnused;
};

class FormatParser {
 public:
  FormatParser(std::string_view format, bool isFloat, Pieces& pieces)
      : format_(format), isFloat_(isFloat), pieces_(pieces) {}

  void parse() {
    std::size_t begin = 0;  // of the text that is in no piece so far
    for (at_ = format_.find('%'); at_ < format_.size(); at_ = format_.find('%', at_)) {
      const std::size_t percent = at_++;
      if (skip('%')) {
        add(format_.substr(begin, percent + 1 - begin));
      } else {
        parseConversion(add(format_.substr(begin, percent - begin)));
      }
      begin = at_;
    }
    if (begin < format_.size()) add(format_.substr(begin));
  }

 private:
  enum class Length { kInt, kChar, kShort, kWide };

  // snprintf() of a hexadecimal float fails where the text would be longer than INT_MAX, and {fmt} tries again and
  // again with more memory. "0x1." and an exponent like "p-149" have to fit as well.
  static constexpr int kMaxHexFloatPrecision = INT_MAX - 9;

  // The conversion of a new piece, which gives no text so far. Pieces are filled in where they are: to copy what has
  // just been written member by member takes longer than all the rest of the parsing.
  Conversion& add(std::string_view text) {
    pieces_.resize(pieces_.size() + 1);
    Piece& piece = pieces_[pieces_.size() - 1];
    piece.text = text;
    piece.conversion = {};
    return piece.conversion;
  }

  char peek() const { return at_ < format_.size() ? format_[at_] : '\0'; }

  bool skip(char c) {
    if (at_ == format_.size() || format_[at_] != c) return false;
    ++at_;
    return true;
  }

  void parseConversion(Conversion& to) {
    isFaulty_ = false;
    const auto index = parseIndexFlagsAndWidth(to);
    parsePrecision(to);
    const bool getsValue = index ? ids_.takeIndexed(*index) : ids_.takeNext();
    const Length length = parseLength();
    const char type = peek();
    if (at_ < format_.size()) ++at_;
    if (!getsValue || isFaulty_) return;
    if (isFloat_) {
      settleFloat(to, type);
    } else {
      settleInteger(to, type, length);
    }
  }

  // A number at the start that is neither an index nor zero is the width, and then neither flags nor width are looked
  // for any more.
  std::optional<int> parseIndexFlagsAndWidth(Conversion& to) {
    std::optional<int> index;
    if (isDigit(peek())) {
      const bool isZeroPadded = peek() == '0';
      const int value = parseNumber();
      if (skip('$')) {
        index = value;
        if (value == 0) isFaulty_ = true;
      } else {
        to.isZeroPadded = isZeroPadded;
        to.width = value;
        if (value != 0) return index;
      }
    }
    while (parseFlag(to)) ++at_;
    if (isDigit(peek())) {
      to.width = parseNumber();
    } else if (skip('*')) {
      to.isWidthValue = countIsValue();
    }
    return index;
  }

  bool parseFlag(Conversion& to) {
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

  void parsePrecision(Conversion& to) {
    to.precision = Conversion::kNoPrecision;
    if (!skip('.')) return;
    to.precision = 0;
    if (isDigit(peek())) {
      to.precision = parseNumber();
    } else if (skip('*')) {
      to.isPrecisionValue = countIsValue();
    }
  }

  // The number at hand; INT_MAX, in a faulty conversion, where it does not fit an int.
  int parseNumber() {
    long long value = 0;
    for (; isDigit(peek()); ++at_) {
      value = value * 10 + (peek() - '0');
      if (value > INT_MAX) {
        isFaulty_ = true;
        value = INT_MAX;
      }
    }
    return static_cast<int>(value);
  }

  // Whether a '*' stands for the value. To {fmt}, a float counts as 0, and so does an argument that is missing.
  bool countIsValue() { return ids_.takeNext() && !isFloat_; }

  Length parseLength() {
    Length length = Length::kInt;
    if (skip('h')) {
      length = skip('h') ? Length::kChar : Length::kShort;
    } else if (skip('l')) {
      skip('l');
      length = Length::kWide;
    } else if (skip('j') || skip('z') || skip('t') || skip('L')) {
      length = Length::kWide;
    }
    if (length != Length::kInt && at_ == format_.size()) isFaulty_ = true;
    return length;
  }

  static void settleInteger(Conversion& to, char type, Length length) {
    if (std::string_view("diuLxXobBc").find(type) == std::string_view::npos) return;
    to.kind = Conversion::Kind::kInteger;
    to.type = type;
    if (type == 'L') to.type = 'u';  // {fmt}'s "as the locale has it"; the host's locale must not show
    // Deliberate (design.md, "Wide integers"): the argument is unsigned, and {fmt} widens it before it looks at the
    // sign.
    if (type == 'd' || type == 'i') to.type = length == Length::kWide ? 'u' : 'd';
    if (type == 'c') to.sign = '\0';
    if (length == Length::kChar) to.cutBits = 24;
    if (length == Length::kShort) to.cutBits = 16;
    const bool hasPrecision = to.precision != Conversion::kNoPrecision;
    if (to.isLeft || hasPrecision || type == 'c') to.isZeroPadded = false;
    const bool isBare =
        !hasPrecision && !to.isAlternate && !to.isWidthValue && to.width == 0 && to.sign == '\0' && to.cutBits == 0;
    if (isBare && (to.type == 'd' || to.type == 'u' || to.type == 'x')) to.kind = Conversion::Kind::kPlain;
    if (!hasPrecision) to.precision = 0;
  }

  // Deliberate (design.md, "Floats by %g"): so {fmt} writes them where the type does not suit a float or is missing, %d
  // and %s among them. "%L" would have it take the host's locale.
  static void settleFloat(Conversion& to, char type) {
    const bool isHex = type == 'a' || type == 'A';
    if (isHex && to.precision > kMaxHexFloatPrecision) return;
    const bool suits = type != '\0' && std::string_view("eEfFgGaA").find(type) != std::string_view::npos;
    to.kind = Conversion::Kind::kByFmt;
    to.type = suits ? type : 'g';
    if (to.isLeft) to.isZeroPadded = false;
    // {fmt} miscounts some texts without a fraction when it pads them; that is left to it.
    const bool isMiscounted = to.precision == 0 && (to.width != 0 || to.isAlternate);
    if ((type != 'f' && type != 'F') || to.precision > Conversion::kMaxFixedPrecision || isMiscounted) return;
    to.kind = Conversion::Kind::kFixed;
    if (to.precision == Conversion::kNoPrecision) to.precision = 6;
  }

  std::string_view format_;
  bool isFloat_;
  Pieces& pieces_;
  std::size_t at_ = 0;  // the next character to read
  ArgumentIds ids_;
  bool isFaulty_ = false;  // the conversion at hand gives no text
};

}  // namespace

void parseFormat(std::string_view format, bool isFloat, Pieces& pieces) {
  FormatParser(format, isFloat, pieces).parse();
}

}  // namespace zarn::print
