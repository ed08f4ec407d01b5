#include "fmt_float.h"

#include <locale.h>

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

// {fmt} is told what it would have parsed, and only its code for floats gets into the library.
void writeAny(TextBuffer& out, const Conversion& conversion, float value) {
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
  using Iterator = fmt::printf_context::iterator;
  fmt::printf_context context(Iterator(out), {}, {});
  fmt::printf_arg_formatter<Iterator, char>(Iterator(out), specs, context)(value);
}

void write(TextBuffer& out, const Conversion& conversion, float value) {
  if (conversion.type == 'a' || conversion.type == 'A') {
    const ClassicLocaleScope scope;
    writeAny(out, conversion, value);
  } else {
    writeAny(out, conversion, value);
  }
}

}  // namespace

// {fmt} takes memory half as much again each time, and it can't be told what the lines to come need. So it only writes
// to the text itself where there is room, or where the text is going to be too long for anything else.
void appendByFmt(Text& out, const Conversion& conversion, float value) {
  constexpr std::size_t kMostOfShort = 500;
  constexpr std::size_t kMostWithoutPrecision = 64;
  const auto precision = conversion.precision < 0 ? 0 : static_cast<std::size_t>(conversion.precision);
  const std::size_t most = kMostWithoutPrecision + static_cast<std::size_t>(conversion.width) + precision;
  if (most <= kMostOfShort && most > out.room()) {
    TextBuffer scratch;
    write(scratch, conversion, value);
    out.append({scratch.data(), scratch.size()});
  } else {
    out.makeRoom(most);
    out.appendBy([&](TextBuffer& buffer) { write(buffer, conversion, value); });
  }
}

}  // namespace zarn::print
