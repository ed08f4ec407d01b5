#include "fmt_float.h"

#include <locale.h>

#include "../decimal.h"

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

// The one conversion as a format of its own. {fmt} looks at the character behind the end of some formats, so a NUL
// is there.
class ConversionText {
 public:
  explicit ConversionText(const Conversion& conversion) {
    char* at = text_;
    *at++ = '%';
    if (conversion.isLeft) *at++ = '-';
    if (conversion.sign != '\0') *at++ = conversion.sign;
    if (conversion.isAlternate) *at++ = '#';
    if (conversion.isZeroPadded) *at++ = '0';
    if (conversion.width != 0) at = writeDecimal(at, static_cast<std::uint32_t>(conversion.width));
    if (conversion.precision != Conversion::kNoPrecision) {
      *at++ = '.';
      at = writeDecimal(at, static_cast<std::uint32_t>(conversion.precision));
    }
    *at++ = conversion.type;
    *at = '\0';
    size_ = static_cast<std::size_t>(at - text_);
  }

  fmt::string_view view() const { return {text_, size_}; }

 private:
  char text_[32];  // "%-+#0", two numbers of ten digits with a point between them, the type, the NUL: 28 at most
  std::size_t size_;
};

// {fmt}'s own formatter, of which only the part for floats is wanted: with the other types of arguments the library is
// 20 KB larger.
class FloatFormatter : public fmt::printf_arg_formatter<fmt::printf_context::iterator, char> {
 public:
  using printf_arg_formatter::printf_arg_formatter;

  iterator operator()(float value) { return printf_arg_formatter::operator()(value); }

  template <typename Other>
  iterator operator()(Other) {
    return this->out();
  }
};

void write(TextBuffer& out, const Conversion& conversion, float value) {
  const ConversionText format(conversion);
  const auto args = fmt::make_printf_args(value);
  if (conversion.type == 'a' || conversion.type == 'A') {
    const ClassicLocaleScope scope;
    fmt::vprintf<FloatFormatter>(out, format.view(), args);
  } else {
    fmt::vprintf<FloatFormatter>(out, format.view(), args);
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
