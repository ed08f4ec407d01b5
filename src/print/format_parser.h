// Parses a device's format string.
#pragma once

#include <climits>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fmt.h"

namespace zarn::print {

// How a value is written, after errors and unsuitable conversions have been dealt with.
struct Conversion {
  enum class Kind : std::uint8_t {
    kNone,      // no text
    kPlain,     // an integer by bare d or u, or by x with at most zero padding to eight digits
    kInteger,   // an integer by any other conversion
    kFixed,     // a float by f or F with at most nine digits after the point
    kExponent,  // a float by e or E with at most nine digits in all
    kGeneral,   // a float by g or G with one to nine digits
    kByFmt,     // a float by any other conversion
  };

  // Members have no initial values, so that a list of pieces costs nothing until it is filled.
  Kind kind;
  char type;             // integers: d (signed), u, x, X, o, b, B or c; floats: e, f, g, a, or upper case
  char sign;             // for a value that is not negative: '+', ' ', or NUL for none
  std::uint8_t cutBits;  // bits that a length modifier cuts off the top of an integer
  bool isLeft;
  bool isZeroPadded;
  bool isAlternate;       // '#'
  bool isWidthValue;      // '*' takes the value
  bool isPrecisionValue;  // likewise
  int width;
  int precision;  // for kPlain the minimum number of digits; kNoPrecision only for kByFmt

  static constexpr int kNoPrecision = -1;
  static constexpr int kMaxFloatDigits = 9;  // of a float that {fmt} does not write
};

inline std::size_t widthOf(const Conversion& conversion, std::uint32_t word) {
  return conversion.isWidthValue ? word : static_cast<std::uint32_t>(conversion.width);
}

// Deliberate (design.md, "Numbers beyond INT_MAX"): a precision that '*' takes from the value counts as 0 if it does
// not fit an int.
inline std::size_t precisionOf(const Conversion& conversion, std::uint32_t word) {
  if (!conversion.isPrecisionValue) return static_cast<std::uint32_t>(conversion.precision);
  return word > INT_MAX ? 0 : word;
}

// Some text, and the conversion after it.
struct Piece {
  std::string_view text;
  Conversion conversion;
};

// Some pieces of a format. A format with more is parsed again for each value, so that none takes much memory: a list of
// all pieces of 16 MiB of "%%" took 600 MiB.
class Pieces {
 public:
  const Piece* begin() const { return pieces_.data(); }
  const Piece* end() const { return begin() + size_; }

  void clear() { size_ = 0; }
  bool isFull() const { return size_ == kMost; }

  // Pieces are filled in place: copying what has just been written member by member takes longer than all the rest of
  // the parsing.
  Piece& next() {
    pieces_.resize(size_ + 1);
    return pieces_[size_];
  }
  void keepNext() { ++size_; }

 private:
  static constexpr std::size_t kMost = 1000;
  static constexpr std::size_t kWithoutHeap = 8;  // more than most formats have

  fmt::basic_memory_buffer<Piece, kWithoutHeap> pieces_;
  std::size_t size_ = 0;
};

// Parses a format as {fmt} 7's printf does with one argument. A malformed conversion gives whatever {fmt} makes of it.
//
// Deliberate (design.md, "Silent conversions"): conversions with which {fmt} would do harm give no text. They use up
// their argument like any other.
//
// The format may change while it is read, so each character that decides anything is fetched once.
class FormatParser {
 public:
  // Pieces point into the format.
  FormatParser(std::string_view format, bool isFloat) : format_(format), isFloat_(isFloat) {}

  // Replaces `pieces` with the next ones, as many as there is room for. Returns whether more may follow.
  bool parse(Pieces& pieces);

 private:
  enum class Length { kInt, kChar, kShort, kWide };

  // Decides which references get the argument. There is only one, so the first reference without an index gets it.
  // Deliberate (design.md, "Index first"): if an index came first, every reference without one is to argument 1.
  class ArgumentIds {
   public:
    bool takeNext();
    bool takeIndexed(std::uint32_t index);

   private:
    enum class State { kUnused, kTaken, kIndexed };
    State state_ = State::kUnused;
  };

  char peek() const;
  bool skip(char c);
  bool isAtDigit() const;
  std::uint32_t parseNumber();

  void parseConversion(Conversion& to);
  std::uint32_t parseIndexFlagsAndWidth(Conversion& to);
  bool parseFlag(Conversion& to);
  void setWidth(Conversion& to, std::uint32_t width);
  void parsePrecision(Conversion& to);
  bool countIsValue();
  Length parseLength();

  std::string_view format_;
  bool isFloat_;
  std::size_t at_ = 0;  // the next character to read
  ArgumentIds ids_;
  bool isSilent_ = false;  // the current conversion gives no text
};

}  // namespace zarn::print
