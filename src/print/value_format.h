// A device's format string, made ready once and then applied to many values.
#pragma once

#include <cstdint>
#include <string_view>

#include "text.h"

namespace zarn::print {

// A conversion without flags and the like: d, i, u or x of an integer, f with at most one digit of precision of a
// float.
struct PlainConversion {
  char type = '\0';  // NUL: the format has another conversion, several, or none
  int precision = 6;
};

// Formats one 32-bit value at a time with {fmt} 7's printf, after taking out of the format what {fmt} does not stand
// with its error reports compiled out. Such a conversion gives no text, and uses up its argument as any other does:
//
//   - one that breaks off after a length modifier ("%h", "%5ll"): {fmt} reads on behind the end of the format;
//   - one with argument index 0 ("%0$u"): {fmt} shifts by a negative count;
//   - one with an index, width or precision beyond INT_MAX, written out or taken from the value by '*': {fmt} turns
//     that into a width of 2 GiB and more, or takes the number for two.
//
// Everything else a malformed format gives is {fmt}'s to decide.
class ValueFormat {
 public:
  // `format` is NUL-terminated and has to outlive this object.
  ValueFormat(const char* format, bool isFloat);

  ValueFormat(const ValueFormat&) = delete;
  ValueFormat& operator=(const ValueFormat&) = delete;

  // Appends the text of `word`, taken as an unsigned integer or as the bits of a float, and ends the line.
  void appendLine(Text& out, std::uint32_t word) const;

 private:
  bool splitPlain();
  void appendPlainLine(Text& out, std::uint32_t word) const;

  bool isFloat_;

  // A format with one plain conversion (PlainConversion says which are) is split into that and the texts around it. It
  // needs no {fmt}, which would read the format anew for each value.
  PlainConversion plain_;
  std::string_view prefix_;
  std::string_view suffix_;

  bool hasHexFloat_ = false;

  // Else the format to hand to {fmt}, and the one for words beyond INT_MAX, which differs where a '*' takes the value.
  std::string_view format_;
  std::string_view bigWordFormat_;
  Text cleanFormat_;
  Text cleanBigWordFormat_;
};

}  // namespace zarn::print
