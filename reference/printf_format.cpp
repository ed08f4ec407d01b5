// How {fmt} 7's printf reads a format with one argument, and which conversions are silent.
//
// With its error reports compiled out, {fmt} can't be given every conversion: with some it would read past the format's
// end, shift by a negative count, or try to write text of 2 GiB or more. These give no text, but use up their argument:
//
//   - a conversion that breaks off after a length modifier ("%ll" at the end of the format);
//   - argument index 0 ("%0$u");
//   - a width beyond INT_MAX, written out or taken from the value by '*';
//   - "%a" and "%A" of a float with a precision above INT_MAX - 9.
//
// {fmt} ignores an index or a precision beyond INT_MAX, but takes 0 for a precision beyond it from '*'.

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "reference.h"

namespace zarn::reference {
namespace {

constexpr std::uint32_t kTooLarge = 0x80000000;

struct Reader {
  std::string_view format;
  bool isFloat;
  std::uint32_t word;
  std::size_t at = 0;

  // {fmt}'s count of arguments taken so far, or -1 after an index came first: then '*' and conversions without an index
  // all take argument 0, which is the value.
  int argumentsTaken = 0;
  bool isSilent = false;

  bool atEnd() const { return at == format.size(); }
  bool isDigit() const { return !atEnd() && '0' <= format[at] && format[at] <= '9'; }

  bool skipOneOf(std::string_view characters) {
    if (atEnd() || characters.find(format[at]) == std::string_view::npos) return false;
    ++at;
    return true;
  }

  bool takeNext() { return argumentsTaken == -1 || argumentsTaken++ == 0; }

  // {fmt} notices that a number is too large for an int only before the next digit; that digit and the rest are not
  // skipped.
  std::uint32_t number() {
    std::uint32_t value = 0;
    for (; isDigit(); ++at) {
      if (value > INT_MAX / 10) return kTooLarge;
      value = value * 10 + static_cast<unsigned>(format[at] - '0');
    }
    return std::min(value, kTooLarge);
  }

  // The number for '*'. A float or a missing argument counts as 0.
  std::uint32_t numberFromArgument() { return takeNext() && !isFloat ? std::min(word, kTooLarge) : 0; }

  int width(std::uint32_t number) {
    if (number < kTooLarge) return static_cast<int>(number);
    isSilent = true;
    return INT_MAX;
  }

  // Parses index, flags and width; precision; length modifier; type.
  Conversion conversion() {
    Conversion result{at++, 0, false, false, {}, 0, -1};
    const int takenBefore = argumentsTaken;
    isSilent = false;
    bool hasIndex = false;
    std::uint32_t index = 0;
    bool mayHaveWidth = true;
    if (isDigit()) {
      const std::uint32_t value = number();
      if (skipOneOf("$")) {
        hasIndex = value < kTooLarge;
        index = value;
      } else if (value != 0) {  // a width; zeros alone are flags
        result.width = width(value);
        mayHaveWidth = false;
      }
    }
    if (mayHaveWidth) {
      while (skipOneOf("-+ #0")) {
      }
      if (isDigit()) {
        result.width = width(number());
      } else if (skipOneOf("*")) {
        result.width = width(numberFromArgument());
      }
    }
    if (skipOneOf(".")) {
      const bool isWritten = isDigit();
      const std::uint32_t value = isWritten ? number() : skipOneOf("*") ? numberFromArgument() : 0;
      result.precision = value < kTooLarge ? static_cast<int>(value) : isWritten ? -1 : 0;
    }
    if (hasIndex) {
      if (argumentsTaken == 0) argumentsTaken = -1;
      result.takesValue = index == 1;
      if (index == 0) isSilent = true;
    } else {
      result.takesValue = takeNext();
    }
    const std::size_t beforeLength = at;
    if (skipOneOf("h")) {
      skipOneOf("h");
    } else if (skipOneOf("l")) {
      skipOneOf("l");
    } else {
      skipOneOf("jztL");
    }
    if (atEnd()) {
      if (at != beforeLength) isSilent = true;
    } else {
      const char type = format[at++];
      if (isFloat && (type == 'a' || type == 'A') && result.precision > INT_MAX - 9) isSilent = true;
    }
    result.end = at;
    result.isSilent = isSilent;
    // Either an index beyond the arguments, or a width that takes the value, so that none is left.
    if (takenBefore == 0) result.replacement = argumentsTaken == -1 ? "%2$d" : "%**";
    return result;
  }
};

}  // namespace

std::vector<Conversion> conversions(std::string_view format, bool isFloat, std::uint32_t word) {
  std::vector<Conversion> result;
  Reader reader{format, isFloat, word};
  while ((reader.at = format.find('%', reader.at)) != std::string_view::npos) {
    if (format.substr(reader.at, 2) == "%%") {
      reader.at += 2;
    } else {
      result.push_back(reader.conversion());
    }
  }
  return result;
}

}  // namespace zarn::reference
