#include "fmt_float.h"

#include <locale.h>

#include <algorithm>
#include <cstddef>

#include "fmt.h"
#include "format_parser.h"

namespace zarn::print {
namespace {

// {fmt} leaves "%a" of a float to snprintf(), which would take the decimal point from the host's locale.
class ClassicLocaleScope {
 public:
  ClassicLocaleScope() : classic_(newlocale(LC_ALL_MASK, "C", nullptr)), previous_(uselocale(classic_)) {}
  ~ClassicLocaleScope() {
    uselocale(previous_);
    freelocale(classic_);
  }
  ClassicLocaleScope(const ClassicLocaleScope&) = delete;
  ClassicLocaleScope& operator=(const ClassicLocaleScope&) = delete;

 private:
  locale_t classic_;
  locale_t previous_;
};

// Passes {fmt} the specs that it would have parsed, so that only its code for floats gets into the library. It writes
// through a plain pointer: with a buffer, which it asks for room at every character, %e took a fifth longer.
char* writeInAnyLocale(char* at, const Conversion& conversion, float value) {
  fmt::format_specs specs;
  specs.width = conversion.width;
  specs.precision = conversion.precision;
  specs.type = conversion.type;
  specs.alt = conversion.isAlternate;
  specs.align = conversion.isLeft ? fmt::align::left : fmt::align::right;
  if (conversion.isZeroPadded) {
    specs.align = fmt::align::numeric;
    specs.fill[0] = '0';
  }
  if (conversion.sign != '\0') specs.sign = conversion.sign == '+' ? fmt::sign::plus : fmt::sign::space;
  fmt::basic_printf_context<char*, char> context(at, {}, {});
  return fmt::printf_arg_formatter<char*, char>(at, specs, context)(value);
}

// The most digits that the precision can add. It adds none to infinities and NaNs, and %g without '#' drops trailing
// zeros, so that no more remain than a float has.
int maxDigits(const Conversion& conversion, bool isFinite) {
  constexpr int kMaxDigitsOfFloat = 112;  // those of the largest number below 2^-126
  if (!isFinite) return 0;
  const bool isGeneral = conversion.type == 'g' || conversion.type == 'G';
  return isGeneral && !conversion.isAlternate ? std::min(conversion.precision, kMaxDigitsOfFloat)
                                              : conversion.precision;
}

}  // namespace

std::size_t maxCharactersByFmt(const Conversion& conversion, bool isFinite) {
  const int digits = std::max(maxDigits(conversion, isFinite), 0);
  return kMaxByFmt + static_cast<std::size_t>(conversion.width) + static_cast<std::size_t>(digits);
}

char* writeByFmt(char* at, const Conversion& conversion, float value) {
  if (conversion.type != 'a' && conversion.type != 'A') return writeInAnyLocale(at, conversion, value);
  const ClassicLocaleScope scope;
  return writeInAnyLocale(at, conversion, value);
}

}  // namespace zarn::print
