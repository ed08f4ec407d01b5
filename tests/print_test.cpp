// Print buffers: header checks at their limits, and the text of values beside {fmt}'s.

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
#include <cstring>
#include <locale>
#include <string>
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

// Every identifier differs in each of its bytes.
PrintBuffer printBuffer(std::uint32_t headerWord, std::uint32_t formatOffset = 0) {
  return {headerWord, 0x04080C10, 0x08101820, 0x0C182430, 0x10203040, 0x14283C50, {}, formatOffset, {}};
}

std::string printText(const std::string& buffer, const std::string& format, std::size_t shift = 0) {
  const ExactBytes bytes(buffer, shift);
  const ExactBytes table({format.c_str(), format.size() + 1}, shift);
  return textOf([&] { return db_get_printf_string(bytes.data(), bytes.size(), table.data(), table.size()); },
                db_free_printf_string)
      .value_or("(null)");
}

std::string withoutHeader(std::string text) {
  for (int line = 0; line < 9; ++line) text.erase(0, text.find('\n') + 1);
  return text;
}

// The text that one value gives, without header block and line end.
std::string valueText(const std::string& format, std::uint32_t headerWord, std::uint32_t word) {
  static std::string buffer = printBuffer(0).bytes();  // one test makes 800,000 of these texts
  zarn::inputs::put(buffer, 0, headerWord, 4);
  zarn::inputs::put(buffer, 44, word, 4);
  auto text = withoutHeader(printText(buffer, format));
  EXPECT_TRUE(text.ends_with('\n')) << format;
  text.pop_back();
  return text;
}

// The library beside the reference.
std::string difference(const std::string& buffer, const std::string& format) {
  const ExactBytes bytes(buffer);
  const ExactBytes table(std::string_view(format.c_str(), format.size() + 1));
  return comparePrint(bytes.data(), bytes.size(), table.data(), table.size());
}

TEST(PrintHeader, AcceptsExactlyWhatItShould) {
  for (const auto& row : readCases("headers.txt", 6)) {
    SCOPED_TRACE(row[0]);
    const auto number = [&row](std::size_t field) {
      return static_cast<std::uint32_t>(std::stoul(row[field], nullptr, 0));
    };
    const ExactBytes buffer(printBuffer(number(1), number(3)).bytes().substr(0, number(2)), 1);
    const ExactBytes table(std::string(number(4), '\0'));
    const long before = liveAllocations();
    PrintBufInfo* info = db_get_print_buffer_info(buffer.data(), buffer.size(), table.data(), table.size());
    EXPECT_EQ(liveAllocations() - before, info == nullptr ? 0 : 1);
    std::string found = "rejected";
    if (info != nullptr) {
      found = "type " + std::to_string(info->printType);
      if (info->is64Bit) found += " 64-bit";
      if (info->isFloat) found += " float";
    }
    EXPECT_EQ(found, row[5]);
    EXPECT_EQ(comparePrint(buffer.data(), buffer.size(), table.data(), table.size()), "");
    for (int time = 0; time < 2; ++time) {
      db_free_print_buffer_info(&info);
      EXPECT_EQ(info, nullptr);
    }
    EXPECT_EQ(liveAllocations(), before);
  }
  const std::string buffer = printBuffer(1).bytes();
  EXPECT_EQ(db_get_print_buffer_info(nullptr, 620, "", 1), nullptr);
  EXPECT_EQ(db_get_print_buffer_info(buffer.data(), 620, nullptr, 1), nullptr);
  EXPECT_EQ(db_get_printf_string(buffer.data(), 619, "", 1), nullptr);
}

// The table is not read here, so it need not be that large.
TEST(PrintHeader, StringTablesMayExceedFourGiB) {
  const auto buffer = printBuffer(1, 0xFFFFFFFF).bytes();
  const char table[] = "";
  PrintBufInfo* info = db_get_print_buffer_info(buffer.data(), buffer.size(), table, std::size_t{1} << 32);
  ASSERT_NE(info, nullptr);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(info->format) - reinterpret_cast<std::uintptr_t>(table), 0xFFFFFFFF);
  db_free_print_buffer_info(&info);
}

TEST(PrintHeader, IdentifiersNeedTheBytesUpToTheirEnd) {
  const struct {
    std::uint32_t (*get)(const void*, std::size_t);
    std::size_t size;
    std::uint32_t value;
  } rows[] = {{db_get_gid, 16, 0x0C182430}, {db_get_kid, 20, 0x10203040}, {db_get_jid, 24, 0x14283C50}};
  for (const auto& row : rows) {
    const ExactBytes exact(printBuffer(0).bytes().substr(0, row.size), 1);
    EXPECT_EQ(row.get(exact.data(), exact.size()), row.value);
    for (std::size_t size = 0; size < row.size; ++size) EXPECT_EQ(row.get(exact.data(), size), 0xFFFFFFFF) << size;
    EXPECT_EQ(row.get(nullptr, 620), 0xFFFFFFFF);
  }
}

TEST(PrintText, TakesMemoryForTheRecordTheTextAndWhatIsBeyond500Characters) {
  const auto words = printBuffer(kSingleWord).bytes();
  const auto floats = printBuffer(kSingleFloat).bytes();
  const auto allocations = [&](const std::string& buffer, const std::string& format) {
    const AllocationLog log;
    char* text = db_get_printf_string(buffer.data(), buffer.size(), format.c_str(), format.size() + 1);
    const auto found = log.text();
    db_free_printf_string(&text);
    EXPECT_EQ(text, nullptr);
    return found;
  };
  const auto header = printText(words, "").size() - 1;
  const long before = liveAllocations();
  EXPECT_EQ(allocations(words, "%c|"), "56 " + std::to_string(header + 4) + "[]");  // the value's NUL ends nothing
  // Both what has room for the longest value and what has not; text alone, padding, a value, and what {fmt} writes.
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
  EXPECT_EQ(allocations(floats, "%.2147483647g"), "56 " + std::to_string(header + 3) + "[]");  // of 0: "0"
  // 128 lines find room at once, judged by the first of them: there is no allocation but that and the two others.
  const auto blanks = [](const std::string& text) { return std::count(text.begin(), text.end(), ' '); };
  EXPECT_EQ(blanks(allocations(printBuffer(6).bytes(), "value %d")), 2);
  EXPECT_EQ(blanks(allocations(printBuffer(zarn::inputs::headerWord(6, 5)).bytes(), "%g, %e")), 2);
  // And never for much more than 1 MiB of what is to come: the lines after a long one may be short.
  auto print = printBuffer(6);
  print.data[0] = 1000000;
  EXPECT_LT(std::stoul(allocations(print.bytes(), "%1$*u").substr(3)), 3000000U);
  EXPECT_EQ(liveAllocations(), before);
}

// Formats of any length put the place where the first memory ends into each part of a line: labels, text and values.
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
  // The longest numbers; room for a line may be just what it needs.
  auto print = printBuffer(6);
  print.data.fill(0xFFFFFFFF);
  std::string format;
  for (int count = 0; count < 100; ++count) ASSERT_EQ(difference(print.bytes(), format += "%1$+#b"), "") << count;
}

TEST(PrintText, SelectsThreadsByTheirOwnSubmask) {
  auto print = printBuffer(zarn::inputs::headerWord(0, 2));
  print.currentTime = print.totalSize = print.graphId = print.kernelId = print.instanceId = 0xFFFFFFFF;
  print.submasks = {0x00000002, 0x40000001, 0x00000030, 0xC0000000};
  for (std::uint32_t i = 0; i < print.data.size(); ++i) print.data[i] = 100 + i;
  EXPECT_EQ(printText(print.bytes(), "%u"),
            "Graph Id: 4294967295\nKernel Id: 4294967295\nInstance Id: 4294967295\nCurrent time: 4294967295\n"
            "Total size: 4294967295\nsubmask0: 0x2\nsubmask1: 0x40000001\nsubmask2: 0x30\nsubmask3: 0xc0000000\n"
            "thread_0: 100\nthread_16: 116\nthread_31: 131\nthread_34: 134\nthread_63: 163\n");
  print.headerWord = zarn::inputs::headerWord(0, 4);
  print.submasks = {0, 0, 0, 0x10000000};
  EXPECT_EQ(withoutHeader(printText(print.bytes(), "%u")), "thread_62:\nlow 32 bits:\n162\nhigh 32 bits:\n226\n");
}

// Every flag set, width, precision, length and conversion, also broken off in front of its type; and with another
// conversion before or after it, where the flags are few.
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
  for (const char* index : {"", "0$", "1$", "2$"}) {
    for (unsigned flags = 0; flags < 32; ++flags) {
      std::string start = std::string("<%") + index;
      for (unsigned i = 0; i < 5; ++i) {
        if (flags & 1U << i) start += "-+ #0"[i];
      }
      for (const char* width : {"", "7", "*"}) {
        for (const char* precision : {"", ".", ".3", ".*"}) {
          for (const char* length : {"", "h", "hh", "l", "ll", "j", "z", "t", "L"}) {
            const auto untyped = start + width + precision + length;
            ASSERT_NO_FATAL_FAILURE(compare(untyped));
            for (const char type : std::string_view("diouxXcspaAeEfFgGnLbB%")) {
              const auto conversion = untyped + type + '>';
              ASSERT_NO_FATAL_FAILURE(compare(conversion));
              if (!std::has_single_bit(flags)) continue;
              ASSERT_NO_FATAL_FAILURE(compare("%x " + conversion));
              ASSERT_NO_FATAL_FAILURE(compare("%1$x " + conversion));
              ASSERT_NO_FATAL_FAILURE(compare(conversion + " %d %1$x%%"));
            }
          }
        }
      }
    }
  }
}

// Numbers of all sizes, by what the library writes itself.
TEST(PrintText, EqualsFmtForAnyValue) {
  std::uint32_t word = 1;
  std::string buffers[] = {printBuffer(kSingleWord).bytes(), printBuffer(kSingleFloat).bytes()};
  for (int i = 0; i < 20000; ++i) {
    word = word * 1664525 + 1013904223;
    zarn::inputs::put(buffers[0], 44, word >> i % 32, 4);
    ASSERT_EQ(difference(buffers[0], "%1$d %1$u %1$x %1$#010X %1$-12.9o %1$+hd %1$hhu %1$b"), "") << (word >> i % 32);
    zarn::inputs::put(buffers[1], 44, word, 4);
    const char digits = static_cast<char>('0' + i % 10);
    ASSERT_EQ(difference(buffers[1], std::string("%1$f %1$.") + digits + "f %1$+015.4F"), "") << word;
  }
  // Halves go to the even digit; and a carry makes the number longer.
  std::vector<float> values = {0.5F, 1.5F, 2.5F, 9.5F, 99.5F, 0.25F, 0.75F, 0.0625F, 9.96875F, 0.99999994F, 16777215.F};
  float power = 1;
  for (int zeros = 0; zeros < 21; ++zeros) {
    values.insert(values.end(), {power, std::nextafter(power, 0.F), -std::nextafter(power, 1e30F)});
    power *= 10;
  }
  for (const float value : values) {
    zarn::inputs::put(buffers[1], 44, std::bit_cast<std::uint32_t>(value), 4);
    ASSERT_EQ(difference(buffers[1], "%1$.0f %1$.1f %1$.2f %1$.3f %1$.7f %1$30f"), "") << value;
  }
}

TEST(PrintText, NothingIsReadPastTheFormat) {
  const auto buffer = printBuffer(6).bytes();
  for (std::size_t length = 0; length < 40; ++length) {
    const GuardedBytes table(std::string(length, 'x') + '\0');
    ASSERT_EQ(comparePrint(buffer.data(), buffer.size(), table.data(), table.size()), "") << length;
  }
}

TEST(PrintText, FormatsMayBeVeryLong) {
  std::string format;
  while (format.size() < 1 << 20) format += "%1$d%s%%%1$x ";
  auto print = printBuffer(kSingleWord);
  print.data[0] = 0xFFFFFFFF;
  EXPECT_EQ(difference(print.bytes(), format), "");
}

TEST(PrintText, MalformedConversionsGiveWhatTheyShould) {
  for (const auto& row : readCases("formats.txt", 4)) {
    const auto word = static_cast<std::uint32_t>(std::stoul(row[1], nullptr, 0));
    EXPECT_EQ(valueText(row[0], kSingleWord, word), row[2]) << row[0];
    EXPECT_EQ(valueText(row[0], kSingleFloat, word), row[3]) << row[0];
  }
  EXPECT_EQ(valueText("%1$x%1$*u%1$*u", kSingleWord, 600).size(), 1203);  // each '*' could be a width of 2 GiB
  // The largest count that '*' can take; %c has no use for a precision.
  EXPECT_EQ(valueText("%1$.*c|", kSingleWord, INT_MAX), "\xFF|");
  EXPECT_EQ(valueText("%.2147483647c|", kSingleWord, 'A'), "A|");
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

TEST(PrintText, DoesNotShowTheHostsLocale) {
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
