// Print buffers: header checks at their limits, and the text of values compared with {fmt}'s.

#include <gtest/gtest.h>
#include <locale.h>
#include <stdlib.h>

#include <algorithm>
#include <bit>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <locale>
#include <string>
#include <string_view>
#include <vector>

#include "compare.h"
#include "inputs.h"
#include "reference.h"
#include "support.h"
#include "zarn_utility.h"

namespace {

using zarn::inputs::PrintBuffer;

constexpr std::uint32_t kSingleWord = zarn::inputs::headerWord(2, 0);
constexpr std::uint32_t kSingleFloat = zarn::inputs::headerWord(2, 5);

// The identifiers differ in every byte.
PrintBuffer printBuffer(std::uint32_t headerWord, std::uint32_t formatOffset = 0) {
  return {headerWord, 0x04080C10, 0x08101820, 0x0C182430, 0x10203040, 0x14283C50, {}, formatOffset, {}};
}

std::string printText(const std::string& buffer, const std::string& format) {
  const ExactBytes bytes(buffer);
  const ExactBytes table(format + '\0');
  return textOf([&] { return db_get_printf_string(bytes.data(), bytes.size(), table.data(), table.size()); },
                db_free_printf_string);
}

// The text of one value, without header block and line end.
std::string valueText(const std::string& format, std::uint32_t headerWord, std::uint32_t word) {
  static std::string buffer = printBuffer(0).bytes();  // one test makes 800,000 of these texts
  zarn::inputs::put(buffer, 0, headerWord, 4);
  zarn::inputs::put(buffer, 44, word, 4);
  auto text = printText(buffer, format);
  for (int line = 0; line < 9; ++line) text.erase(0, text.find('\n') + 1);
  EXPECT_TRUE(text.ends_with('\n')) << format;
  text.pop_back();
  return text;
}

// The letters of the identifiers that can be read; '-' for one that can't.
std::string identifiers(const ExactBytes& buffer) {
  std::string found;
  const auto add = [&](char letter, auto get, std::uint32_t expected) {
    const auto identifier = get(buffer.data(), buffer.size());
    found += identifier == expected ? letter : identifier == 0xFFFFFFFF ? '-' : '?';
  };
  add('g', db_get_gid, 0x0C182430);
  add('k', db_get_kid, 0x10203040);
  add('j', db_get_jid, 0x14283C50);
  return found;
}

// Compares the library with the reference, with memory that can't be read right after the format.
std::string difference(const std::string& buffer, const std::string& format) {
  const ExactBytes bytes(buffer);
  const GuardedBytes table(format + '\0');
  return comparePrint(bytes.data(), bytes.size(), table.data(), table.size());
}

TEST(PrintHeader, MatchesTheTable) {
  forEachRow("headers.txt", 7, [](const Row& row) {
    SCOPED_TRACE(row.place);
    const auto word = [&row](std::size_t field) { return static_cast<std::uint32_t>(number(row[field])); };
    const ExactBytes buffer(printBuffer(word(1), word(3)).bytes().substr(0, number(row[2])), 1);
    const GuardedBytes table(number(row[4]));
    if (!table) return;
    PrintBufInfo* info = db_get_print_buffer_info(buffer.data(), buffer.size(), table.data(), table.size());
    std::string found = "rejected";
    if (info != nullptr) {
      found = "type " + std::to_string(info->printType);
      if (info->is64Bit) found += " 64-bit";
      if (info->isFloat) found += " float";
    }
    EXPECT_EQ(found, row[5]);
    db_free_print_buffer_info(&info);
    EXPECT_EQ(comparePrint(buffer.data(), buffer.size(), table.data(), table.size()), "");
    EXPECT_EQ(identifiers(buffer), row[6]);
  });
  const auto buffer = printBuffer(1).bytes();
  EXPECT_EQ(comparePrint(buffer.data(), 620, "", 1), "");
  EXPECT_EQ(comparePrint(nullptr, 620, "", 1), "");
  EXPECT_EQ(comparePrint(buffer.data(), 620, nullptr, 1), "");
  for (const auto get : {db_get_gid, db_get_kid, db_get_jid}) EXPECT_EQ(get(nullptr, 620), 0xFFFFFFFF);
}

TEST(PrintHeader, EveryKindAndDataType) {
  for (std::uint32_t kind = 0; kind < 32; ++kind) {
    for (std::uint32_t dataType = 0; dataType < 32; ++dataType) {
      auto print = printBuffer(zarn::inputs::headerWord(kind, dataType));
      print.submasks = {0x00000002, 0x40000001, 0x00000030, 0xC0000000};
      for (std::uint32_t i = 0; i < print.data.size(); ++i) print.data[i] = 0x3F800000 + i;
      EXPECT_EQ(difference(print.bytes(), "%1$u %1$g"), "") << kind << ' ' << dataType;
    }
  }
}

TEST(PrintText, AllocatesNothingElseUpTo500Characters) {
  const auto words = printBuffer(kSingleWord).bytes();
  const auto floats = printBuffer(kSingleFloat).bytes();
  const auto allocations = [&](const std::string& buffer, const std::string& format) {
    const AllocationLog log;
    char* text = db_get_printf_string(buffer.data(), buffer.size(), format.c_str(), format.size() + 1);
    const auto found = log.text();
    db_free_printf_string(&text);
    return found;
  };
  const auto header = printText(words, "").size() - 1;
  EXPECT_EQ(allocations(words, "%c|"), "56 " + std::to_string(header + 4) + "[]");  // the value's NUL doesn't end it
  // Formats with and without room for the longest value: only text, padding, a value, and what {fmt} writes.
  const auto rest = 500 - header - 1;
  const auto literal = [](std::size_t size) { return std::string(size, 'x'); };
  for (const auto& format : {literal(rest), std::string("%") + std::to_string(rest) + 'u', literal(rest - 1) + "%u",
                             literal(rest - 2) + "%o%1$d", literal(rest - 1) + "%c"}) {
    EXPECT_EQ(allocations(words, format), "56 501[]") << format;
    EXPECT_NE(allocations(words, literal(1) + format), "56 502[]") << format;
  }
  for (const auto& format : {literal(rest - 12) + "%e", literal(rest - 8) + "%f"}) {
    EXPECT_EQ(allocations(floats, format), "56 501[]") << format;
    EXPECT_NE(allocations(floats, literal(1) + format), "56 502[]") << format;
  }
  EXPECT_EQ(allocations(floats, "%.2147483647g"), "56 " + std::to_string(header + 3) + "[]");  // the value 0: "0"
  // 128 lines get room at once, judged by the first of them: there is only that allocation and the two others.
  const auto blanks = [](const std::string& text) { return std::count(text.begin(), text.end(), ' '); };
  EXPECT_EQ(blanks(allocations(printBuffer(6).bytes(), "value %d")), 2);
  EXPECT_EQ(blanks(allocations(printBuffer(zarn::inputs::headerWord(6, 5)).bytes(), "%g, %e")), 2);
  // But never much more than 1 MiB in advance: the lines after a long one may be short.
  auto print = printBuffer(6);
  print.data[0] = 1000000;
  EXPECT_LT(std::stoul(allocations(print.bytes(), "%1$*u").substr(3)), 3000000U);
}

// Formats of different lengths make the initial memory end in each part of a line: labels, text and values.
TEST(PrintText, GrowsAtAnyCharacter) {
  for (const std::uint32_t headerWord : {0x20U, 0xC0U, 5U, 6U, 0x146U}) {
    auto print = printBuffer(headerWord);
    print.submasks = {0xFFFFFFFF, 0xAAAAAAAA, 0x55555555, 0x80000001};
    for (std::uint32_t i = 0; i < print.data.size(); ++i) {
      print.data[i] = i % 3 == 0 ? 0xFF7FFFFF : 0x3FC00000U >> i % 32;  // the former has 32 digits, or 39 as a float
    }
    const auto buffer = print.bytes();
    for (std::size_t length = 0; length < 600; length += length < 40 ? 1 : 23) {
      for (const char* conversion : {"%u", "%5.3f%1$o", "%#b", "%.10f", ""}) {
        ASSERT_EQ(difference(buffer, std::string(length, 'x') + conversion), "") << length << conversion;
      }
    }
  }
  // The longest numbers, so that a line may need exactly the room it has.
  auto print = printBuffer(6);
  print.data.fill(0xFFFFFFFF);
  std::string format;
  for (int count = 0; count < 100; ++count) ASSERT_EQ(difference(print.bytes(), format += "%1$+#b"), "") << count;
}

// Every flag set, width, precision, length and type, also broken off before the type; and, with a single flag, with
// another conversion before or after it.
TEST(PrintText, EqualsFmtOverItsWholeGrammar) {
  constexpr std::uint32_t kWords[] = {0, 9, 100, 0x7FFFFFFF, 0xFFFFFF85, 0x3FC00000, 0xC2F6E979, 0x7FC00000};
  std::size_t compared = 0;
  const auto compare = [&](const std::string& format) {
    const bool usesValueAsCount = format.find('*') != std::string::npos;
    const auto word = kWords[compared++ % (usesValueAsCount ? 3 : std::size(kWords))];
    for (const std::uint32_t headerWord : {kSingleWord, kSingleFloat}) {
      ASSERT_EQ(valueText(format, headerWord, word),
                zarn::reference::valueText(format, headerWord == kSingleFloat, word))
          << format << " of " << word;
    }
  };
  for (unsigned count = 0; !HasFatalFailure(); ++count) {
    unsigned rest = count;
    const auto pick = [&rest](std::initializer_list<std::string_view> parts) {
      const auto part = parts.begin()[rest % parts.size()];
      rest /= static_cast<unsigned>(parts.size());
      return std::string(part);
    };
    const auto type = pick({"",  "d", "i", "o", "u", "x", "X", "c", "s", "p", "a", "A",
                            "e", "E", "f", "F", "g", "G", "n", "L", "b", "B", "%"});
    const auto length = pick({"", "h", "hh", "l", "ll", "j", "z", "t", "L"});
    const auto precision = pick({"", ".", ".3", ".*"}), width = pick({"", "7", "*"});
    auto conversion = "<%" + pick({"", "0$", "1$", "2$"});
    const unsigned flags = rest;
    if (flags == 32) break;
    for (unsigned i = 0; i < 5; ++i) {
      if (flags & 1U << i) conversion += "-+ #0"[i];
    }
    for (const auto& part : {width, precision, length, type}) conversion += part;
    if (!type.empty()) conversion += '>';
    compare(conversion);
    if (type.empty() || !std::has_single_bit(flags)) continue;
    compare("%x " + conversion);
    compare("%1$x " + conversion);
    compare(conversion + " %d %1$x%%");
  }
}

// Numbers of all sizes, by conversions that the library writes itself.
TEST(PrintText, EqualsFmtForAnyValue) {
  std::uint32_t word = 1;
  std::string buffers[] = {printBuffer(kSingleWord).bytes(), printBuffer(kSingleFloat).bytes()};
  for (int i = 0; i < 20000; ++i) {
    word = word * 1664525 + 1013904223;
    zarn::inputs::put(buffers[0], 44, word >> i % 32, 4);
    ASSERT_EQ(difference(buffers[0], "%1$d %1$u %1$x %1$#010X %1$-12.9o %1$+hd %1$hhu %1$b %1$08x %1$.3X %1$09x"), "")
        << (word >> i % 32);
    zarn::inputs::put(buffers[1], 44, word, 4);
    const char digits = static_cast<char>('0' + i % 10);
    ASSERT_EQ(difference(buffers[1], std::string("%1$f %1$.") + digits + "f %1$+015.4F %1$." + digits +
                                         "e %1$-15G %1$." + digits + 'g'),
              "")
        << word;
  }
  // Ties go to the even digit, and a carry makes the number longer.
  std::vector<float> values = {0.5F, 1.5F, 2.5F, 9.5F, 99.5F, 0.25F, 0.75F, 0.0625F, 9.96875F, 0.99999994F, 16777215.F};
  for (int exponent = -45; exponent <= 38; ++exponent) {
    const auto power = static_cast<float>(std::pow(10.0, exponent));
    values.insert(values.end(), {power, std::nextafter(power, 0.F), -std::nextafter(power, HUGE_VALF)});
  }
  for (const float value : values) {
    zarn::inputs::put(buffers[1], 44, std::bit_cast<std::uint32_t>(value), 4);
    ASSERT_EQ(difference(buffers[1], "%1$.0f %1$.1f %1$.2f %1$.3f %1$.7f %1$30f %1$g %1$.1e %1$.2g %1$.9G %1$012.8e"),
              "")
        << value;
  }
}

TEST(PrintText, FormatsMayBeVeryLong) {
  std::string format;
  while (format.size() < 1 << 20) format += "%1$d%s%%%1$x ";
  auto print = printBuffer(kSingleWord);
  print.data[0] = 0xFFFFFFFF;
  EXPECT_EQ(difference(print.bytes(), format), "");
  print.headerWord = 6;  // many lines, which have room once the first has taken memory for all
  EXPECT_EQ(difference(print.bytes(), format.substr(0, 13000)), "");
}

TEST(PrintText, MatchesTheTable) {
  forEachRow("formats.txt", 4, [](const Row& row) {
    SCOPED_TRACE(row.place);
    const auto word = static_cast<std::uint32_t>(number(row[1]));
    EXPECT_EQ(valueText(row[0], kSingleWord, word), row[2]);
    EXPECT_EQ(valueText(row[0], kSingleFloat, word), row[3]);
    EXPECT_EQ(zarn::reference::valueText(row[0], false, word), row[2]);
    EXPECT_EQ(zarn::reference::valueText(row[0], true, word), row[3]);
  });
  EXPECT_EQ(valueText("%1$x%1$*u%1$*u", kSingleWord, 600).size(), 1203);  // each '*' could be a width of 2 GiB
  // The largest count that '*' can take; %c ignores a precision.
  EXPECT_EQ(valueText("%1$.*c|", kSingleWord, INT_MAX), "\xFF|");
  EXPECT_EQ(valueText("%600e", kSingleFloat, 0x3FC00000), std::string(588, ' ') + "1.500000e+00");
  EXPECT_EQ(valueText("%#.5000g", kSingleFloat, 0x3F800000), "1." + std::string(4999, '0'));
  EXPECT_EQ(valueText("%.5000u", kSingleWord, 7), std::string(4999, '0') + '7');
  EXPECT_EQ(valueText("%1$*hhu", kSingleWord, 300), std::string(298, ' ') + "44");  // the width is not cut
  EXPECT_EQ(valueText("%c|", kSingleWord, 0x100), std::string("\0|", 2));
}

struct Grouping : std::numpunct<char> {
  char do_thousands_sep() const override { return '\''; }
  std::string do_grouping() const override { return "\3"; }
  char do_decimal_point() const override { return '!'; }
};

TEST(PrintText, IgnoresTheHostLocale) {
  const auto previous = std::locale::global(std::locale(std::locale::classic(), new Grouping));
#ifdef LOCALES
  setenv("LOCPATH", LOCALES, 1);
  ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
  ASSERT_STREQ(std::localeconv()->decimal_point, ",");
#endif
  EXPECT_EQ(valueText("%LL %1$d", kSingleWord, 1234567), "1234567 1234567");
  const locale_t before = uselocale(nullptr);
  EXPECT_EQ(valueText("%LL|%1$a|%1$A|%1$.1f", kSingleFloat, 0x3FC00000), "1.5|0x1.8p+0|0X1.8P+0|1.5");
  EXPECT_EQ(uselocale(nullptr), before);
  std::locale::global(previous);
  std::setlocale(LC_ALL, "C");
}

}  // namespace
