// A device's format string, read once and taken apart.
#pragma once

#include <cstdint>
#include <string_view>

#include "fmt.h"

namespace zarn::print {

// How a value is written. Errors, and what does not suit the kind of value, are dealt with by then.
struct Conversion {
  enum class Kind : std::uint8_t {
    kNone,     // no text
    kPlain,    // d, u or x of an integer, and nothing else
    kInteger,  // any other conversion of an integer
    kFixed,    // f or F of a float with at most nine digits after the point
    kByFmt,    // any other conversion of a float
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
  int precision;  // kNoPrecision only where the kind is kByFmt

  static constexpr int kNoPrecision = -1;
  static constexpr int kMaxFixedPrecision = 9;
};

// Some text, and the conversion after it.
struct Piece {
  std::string_view text;
  Conversion conversion;
};

// Most formats have a few pieces only, which need no heap.
using Pieces = fmt::basic_memory_buffer<Piece, 8>;

// Reads a format as {fmt} 7's printf does when it is given one argument, and fills the list, which is empty, with its
// pieces. These refer to the format's characters.
//
// Deliberate (design.md, "Silent conversions"): some conversions give no text, because {fmt} without its error reports
// would do harm with them. They use up their argument as any other does:
//
//   - one that breaks off after a length modifier ("%h", "%5ll"): {fmt} reads on past the end of the format;
//   - one with argument index 0 ("%0$u"): {fmt} shifts by a negative count;
//   - one with an index, width or precision beyond INT_MAX, written out or taken from the value by '*': {fmt} pads to
//     2 GiB and more, or takes a longer number for two; where it would do neither, the rule is the same for simplicity;
//   - "%a" or "%A" of a float with a precision above INT_MAX - 9: {fmt} asks for memory for ever.
//
// Any other malformed conversion gives what {fmt} makes of it.
void parseFormat(std::string_view format, bool isFloat, Pieces& pieces);

}  // namespace zarn::print
