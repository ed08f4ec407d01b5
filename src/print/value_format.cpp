#include "value_format.h"

#include <locale.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <climits>

namespace zarn::print {
namespace {

enum class Argument { kWord, kBigWord, kFloat };  // a big word is beyond INT_MAX

bool isDigit(char c) { return '0' <= c && c <= '9'; }

// The argument that {fmt} gives a conversion. There is only one, and which conversions get it depends on what came
// before them: each automatic reference takes the next argument, so only the first gets one; but once an index was used
// first, every automatic reference gets argument 0, since the report about mixing the two is compiled out.
class ArgumentIds {
 public:
  bool takeNext() {
    if (next_ < 0) return true;
    return next_++ == 0;
  }

  void takeIndexed() {
    if (next_ == 0) next_ = kIndexed;
  }

  // A piece of format that gives no text and takes {fmt} from `before` to the state that this object is in.
  std::string_view silentFormatSince(ArgumentIds before) const {
    if (before.next_ != 0 || next_ == 0) return {};
    // An index beyond the arguments; or a width that takes argument 0 and a value that finds none left.
    return next_ == kIndexed ? std::string_view("%2$d") : std::string_view("%**");
  }

 private:
  static constexpr int kIndexed = -1;
  int next_ = 0;
};

// Reads a format as {fmt} 7's printf does, conversion by conversion, and writes out one that {fmt} can be given.
class FormatCleaner {
 public:
  FormatCleaner(std::string_view format, Argument argument, Text& storage)
      : format_(format), argument_(argument), storage_(storage) {}

  // The format itself where nothing had to be replaced, else a NUL-terminated copy in the storage: {fmt} looks at the
  // character behind the end when a format ends in '%'.
  std::string_view clean() {
    for (at_ = format_.find('%'); at_ < format_.size(); at_ = format_.find('%', at_)) {
      ++at_;
      if (skip('%')) continue;
      cleanConversion(at_ - 1);
    }
    if (copied_ == 0) return format_;
    replace(format_.size(), format_.size(), {});
    storage_.push_back('\0');
    return {storage_.data(), storage_.size() - 1};
  }

  bool valueIsCount() const { return valueIsCount_; }
  bool hasHexFloat() const { return hasHexFloat_; }

 private:
  // snprintf() of a hexadecimal float fails where the text would be longer than INT_MAX, and {fmt} then tries again
  // with more and more memory, for ever. "0x1." and an exponent like "p-149" have to fit as well.
  static constexpr long long kMaxHexFloatPrecision = INT_MAX - 9;

  char peek() const { return at_ < format_.size() ? format_[at_] : '\0'; }

  bool skip(char c) {
    if (peek() != c) return false;
    ++at_;
    return true;
  }

  // The number at hand. One that is too big for an int marks the conversion and comes out as INT_MAX.
  int number() {
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

  void countFromArgument() {
    if (!ids_.takeNext() || argument_ == Argument::kFloat) return;  // {fmt} makes these 0
    valueIsCount_ = true;
    if (argument_ == Argument::kBigWord) isFaulty_ = true;
  }

  // Index, flags and width, in the order that {fmt} knows: a number at the start that is neither an index nor zero is
  // the width, and then nothing more of this is looked for.
  bool headerHasIndex() {
    bool hasIndex = false;
    if (isDigit(peek())) {
      const int value = number();
      if (skip('$')) {
        hasIndex = true;
        if (value == 0) isFaulty_ = true;
      } else if (value != 0) {
        return false;
      }
    }
    while (at_ < format_.size() && std::string_view("-+0 #").find(peek()) != std::string_view::npos) ++at_;
    if (isDigit(peek())) {
      number();
    } else if (skip('*')) {
      countFromArgument();
    }
    return hasIndex;
  }

  int precision() {
    if (!skip('.')) return -1;
    if (isDigit(peek())) return number();
    if (skip('*')) countFromArgument();
    return 0;
  }

  bool skipLength() {
    for (const char doubled : {'h', 'l'}) {
      if (!skip(doubled)) continue;
      skip(doubled);
      return true;
    }
    return skip('j') || skip('z') || skip('t') || skip('L');
  }

  void cleanConversion(std::size_t start) {
    const ArgumentIds before = ids_;
    isFaulty_ = false;
    const bool hasIndex = headerHasIndex();
    const int digits = precision();
    if (hasIndex) {
      ids_.takeIndexed();
    } else {
      ids_.takeNext();
    }
    const bool hasLength = skipLength();
    const bool isCutOff = at_ == format_.size();
    const char type = peek();
    if (!isCutOff) ++at_;

    if (argument_ == Argument::kFloat && (type == 'a' || type == 'A')) {
      hasHexFloat_ = true;
      if (digits > kMaxHexFloatPrecision) isFaulty_ = true;
    }
    if (isFaulty_ || (isCutOff && hasLength)) {
      replace(start, at_, ids_.silentFormatSince(before));
    } else if (type == 'L') {
      // {fmt}'s "as the locale has it". The host's locale must not show: these give the same with the classic one.
      replace(at_ - 1, at_, argument_ == Argument::kFloat ? "g" : "u");
    }
  }

  void replace(std::size_t begin, std::size_t end, std::string_view text) {
    storage_.append(format_.data() + copied_, format_.data() + begin);
    storage_.append(text.data(), text.data() + text.size());
    copied_ = end;
  }

  std::string_view format_;
  Argument argument_;
  Text& storage_;
  std::size_t at_ = 0;      // the next character to read
  std::size_t copied_ = 0;  // the format up to here has its counterpart in the storage
  ArgumentIds ids_;
  bool isFaulty_ = false;      // of the conversion at hand
  bool valueIsCount_ = false;  // some '*' takes the value
  bool hasHexFloat_ = false;
};

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

template <typename Value>
void appendGeneral(Text& out, std::string_view format, Value value) {
  const auto args = fmt::make_printf_args(value);
  fmt::vprintf(out, fmt::string_view(format.data(), format.size()), fmt::printf_args(args));
}

// Character by character: these texts are mostly too short for a call of memcpy() to pay.
char* copyTo(char* at, std::string_view text) {
  for (const char c : text) *at++ = c;
  return at;
}

// Older standard libraries of Android's NDK (before r26) have to_chars() for integers only; {fmt} writes the floats
// there.
#if defined(__cpp_lib_to_chars) || (defined(_LIBCPP_VERSION) && _LIBCPP_VERSION >= 14000)
constexpr bool kHasFloatToChars = true;
char* writeFixed(char* at, char* limit, float value, int precision) {
  return std::to_chars(at, limit, value, std::chars_format::fixed, precision).ptr;
}
#else
constexpr bool kHasFloatToChars = false;
char* writeFixed(char* at, char*, float, int) { return at; }
#endif

bool isFinite(std::uint32_t bits) { return (bits & 0x7F800000) != 0x7F800000; }

}  // namespace

ValueFormat::ValueFormat(const char* format, bool isFloat) : isFloat_(isFloat), format_(format) {
  if (splitPlain()) return;
  FormatCleaner cleaner(format, isFloat ? Argument::kFloat : Argument::kWord, cleanFormat_);
  format_ = bigWordFormat_ = cleaner.clean();
  hasHexFloat_ = cleaner.hasHexFloat();
  if (cleaner.valueIsCount()) {
    bigWordFormat_ = FormatCleaner(format, Argument::kBigWord, cleanBigWordFormat_).clean();
  }
}

bool ValueFormat::splitPlain() {
  if (isFloat_ && !kHasFloatToChars) return false;
  const auto percent = format_.find('%');
  if (percent == std::string_view::npos || format_.find('%', percent + 1) != std::string_view::npos) return false;
  auto rest = format_.substr(percent + 1);
  PlainConversion plain;
  if (isFloat_ && rest.size() > 2 && rest[0] == '.' && isDigit(rest[1])) {
    plain.precision = rest[1] - '0';
    rest.remove_prefix(2);
  }
  if (rest.empty() || std::string_view(isFloat_ ? "f" : "diux").find(rest[0]) == std::string_view::npos) return false;
  plain.type = rest[0];
  plain_ = plain;
  prefix_ = format_.substr(0, percent);
  suffix_ = rest.substr(1);
  return true;
}

void ValueFormat::appendLine(Text& out, std::uint32_t word) const {
  // An infinity and a NaN are {fmt}'s to write.
  if (plain_.type != '\0' && (!isFloat_ || isFinite(word))) {
    appendPlainLine(out, word);
    return;
  }
  if (!isFloat_) {
    appendGeneral(out, word > INT_MAX ? bigWordFormat_ : format_, word);
  } else if (hasHexFloat_) {
    const ClassicLocaleScope scope;
    appendGeneral(out, format_, std::bit_cast<float>(word));
  } else {
    appendGeneral(out, format_, std::bit_cast<float>(word));
  }
  out.push_back('\n');
}

void ValueFormat::appendPlainLine(Text& out, std::uint32_t word) const {
  constexpr std::size_t kMostCharacters = 50;  // sign, 39 digits, point and 9 digits of a float
  char* at = copyTo(makeRoom(out, prefix_.size() + kMostCharacters + suffix_.size() + 1), prefix_);
  char* const limit = at + kMostCharacters;
  switch (plain_.type) {
    case 'f':
      at = writeFixed(at, limit, std::bit_cast<float>(word), plain_.precision);
      break;
    case 'u':
      at = std::to_chars(at, limit, word).ptr;
      break;
    case 'x':
      at = std::to_chars(at, limit, word, 16).ptr;
      break;
    default:
      at = std::to_chars(at, limit, static_cast<std::int32_t>(word)).ptr;
      break;
  }
  at = copyTo(at, suffix_);
  *at++ = '\n';
  setEnd(out, at);
}

}  // namespace zarn::print
