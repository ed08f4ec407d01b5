// A device's format string, taken apart.
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
    kPlain,     // bare d or u of an integer; x, at most padded with zeros to eight digits
    kInteger,   // any other conversion of an integer
    kFixed,     // f or F of a float with at most nine digits after the point
    kExponent,  // e or E of a float with at most nine digits in all
    kGeneral,   // g or G of a float with one to nine digits
    kByFmt,     // any other conversion of a float
  };

  // Members have no initial values, so that a list of pieces costs nothing until it is filled.
  Kind kind;
  char type;             // of an integer d (signed), u, x, X, o, b, B or c; of a float e, f, g, a, or one in upper case
  char sign;             // in front of what is not negative: '+', ' ', or NUL for none
  std::uint8_t cutBits;  // that a length modifier takes off the top of an integer
  bool isLeft;
  bool isZeroPadded;
  bool isAlternate;       // '#'
  bool isWidthValue;      // '*' takes the value
  bool isPrecisionValue;  // likewise
  int width;
  int precision;  // of the kind kPlain the least number of digits; kNoPrecision only where the kind is kByFmt

  static constexpr int kNoPrecision = -1;
  static constexpr int kMaxFloatDigits = 9;  // where {fmt} does not write it
};

inline std::size_t widthOf(const Conversion& conversion, std::uint32_t word) {
  return conversion.isWidthValue ? word : static_cast<std::uint32_t>(conversion.width);
}

// Deliberate (design.md, "Numbers beyond INT_MAX"): where '*' takes a precision that is no int, that counts as 0.
inline std::size_t precisionOf(const Conversion& conversion, std::uint32_t word) {
  if (!conversion.isPrecisionValue) return static_cast<std::uint32_t>(conversion.precision);
  return word > INT_MAX ? 0 : word;
}

// Some text, and the conversion after it.
struct Piece {
  std::string_view text;
  Conversion conversion;
};

// Some pieces of a format. A format with more is taken apart again for each value, so that none takes much memory: a
// list of all pieces of 16 MiB of "%%" took 600 MiB.
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

// Reads a format as {fmt} 7's printf does when it is given one argument. A malformed conversion gives what {fmt} makes
// of it.
//
// Deliberate (design.md, "Silent conversions"): those with which {fmt} would do harm give no text. They use up their
// argument like any other.
//
// The format may change while it is read: each character that decides about anything is fetched once.
class FormatParser {
 public:
  // Pieces refer to the format's characters.
  FormatParser(std::string_view format, bool isFloat) : format_(format), isFloat_(isFloat) {}

  // Replaces the list by the next pieces, as many as there is room for. Returns whether more may follow.
  bool parse(Pieces& pieces);

 private:
  enum class Length { kInt, kChar, kShort, kWide };

  // Which references get the argument. There is only one, so the first reference without an index gets it.
  // Deliberate (design.md, "Index first"): once an index came first, every reference without one is to argument 1.
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
  bool isSilent_ = false;  // the conversion at hand gives no text
};

}  // namespace zarn::print
