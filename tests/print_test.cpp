// Print buffers: header checks at their limits, and the text of values against {fmt} itself.

#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <clocale>
#include <locale>
#include <thread>
#include <vector>

#include "allocations.h"
#include "print/text.h"
#include "zarn_utility.h"

namespace {

constexpr std::uint32_t kSingleWord = 0x02;    // kind 2 is print type 1, data type 0
constexpr std::uint32_t kSingleFloat = 0x142;  // data type 5

std::string printBuffer(std::uint32_t headerWord, std::uint32_t formatOffset = 0, std::size_t size = 620) {
  std::string bytes(620, '\0');
  put(bytes, 0, headerWord, 4);
  for (std::size_t offset = 4; offset < 24; offset += 4) put(bytes, offset, 0x01020304U * offset, 4);
  put(bytes, 40, formatOffset, 4);
  bytes.resize(size);
  return bytes;
}

std::string printText(const std::string& buffer, const std::string& format, std::size_t shift = 0) {
  const ExactBytes bytes(buffer, shift);
  const ExactBytes table({format.c_str(), format.size() + 1}, shift);
  char* text = db_get_printf_string(bytes.data(), bytes.size(), table.data(), table.size());
  std::string copy(text == nullptr ? "(null)" : text);
  db_free_printf_string(&text);
  EXPECT_EQ(text, nullptr);
  return copy;
}

// The text that one value gives, without header block and line end.
std::string valueText(const std::string& format, std::uint32_t headerWord, std::uint32_t word) {
  auto buffer = printBuffer(headerWord);
  put(buffer, 44, word, 4);
  auto text = printText(buffer, format);
  for (int line = 0; line < 9; ++line) text.erase(0, text.find('\n') + 1);
  if (text.ends_with('\n')) text.pop_back();  // a NUL of '%c' hides the rest
  return text;
}

TEST(PrintHeader, AcceptsExactlyWhatItShould) {
  struct {
    const char* name;
    std::uint32_t headerWord;
    std::size_t bufferSize;
    std::uint32_t formatOffset;
    std::size_t tableSize;
    int printType;  // -1: rejected
    bool is64Bit;
    bool isFloat;
  } const rows[] = {
      {"one byte short", 1, 619, 0, 1, -1, false, false},
      {"smallest", 1, 620, 0, 1, 0, false, false},
      {"empty", 1, 0, 0, 1, -1, false, false},
      {"format at the table's end", 1, 620, 7, 7, -1, false, false},
      {"format in the table's last byte", 1, 620, 7, 8, 0, false, false},
      {"format offset with the top bit", 1, 620, 0x80000000, 64, -1, false, false},
      {"zero word", 0, 620, 0, 1, -1, false, false},
      {"only an ignored bit", 0x20, 620, 0, 1, 0, false, false},
      {"all ignored bits", 0xFFFFF820, 620, 0, 1, 0, false, false},
      {"kind 2", 0x02, 620, 0, 1, 1, false, false},
      {"kind 3", 0x03, 620, 0, 1, 1, false, false},
      {"kind 4", 0x04, 620, 0, 1, 0, false, false},
      {"kind 5", 0x05, 620, 0, 1, 2, false, false},
      {"kind 6, data type 3", 0xC6, 620, 0, 1, 3, true, false},
      {"kind 7, data type 4", 0x107, 620, 0, 1, 3, true, false},
      {"kind 8, data type 6", 0x188, 620, 0, 1, 1, false, true},
      {"kind 9", 0x09, 620, 0, 1, -1, false, false},
      {"kind 31", 0x1F, 620, 0, 1, -1, false, false},
      {"data type 5", 0x140, 620, 0, 1, 0, false, true},
      {"data type 7", 0x1C0, 620, 0, 1, 0, false, false},
      {"data type 8", 0x200, 620, 0, 1, -1, false, false},
      {"data type 31", 0x7C0, 620, 0, 1, -1, false, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const ExactBytes buffer(printBuffer(row.headerWord, row.formatOffset, row.bufferSize), 1);
    const ExactBytes table(std::string(row.tableSize, '\0'));
    const long before = liveAllocations();
    PrintBufInfo* info = db_get_print_buffer_info(buffer.data(), buffer.size(), table.data(), table.size());
    EXPECT_EQ(liveAllocations() - before, row.printType < 0 ? 0 : 1);
    ASSERT_EQ(info != nullptr, row.printType >= 0);
    if (info != nullptr) {
      EXPECT_EQ(info->printType, static_cast<std::uint32_t>(row.printType));
      EXPECT_EQ(info->is64Bit, row.is64Bit);
      EXPECT_EQ(info->isFloat, row.isFloat);
      EXPECT_EQ(info->currentTime, 0x04080C10U);
      EXPECT_EQ(info->totalSize, 0x08101820U);
      EXPECT_EQ(info->graphId, 0x0C182430U);
      EXPECT_EQ(info->kernelId, 0x10203040U);
      EXPECT_EQ(info->instanceId, 0x14283C50U);
      EXPECT_EQ(reinterpret_cast<const char*>(info->subMask), buffer.data() + 24);
      EXPECT_EQ(info->format, table.data() + row.formatOffset);
      EXPECT_EQ(reinterpret_cast<const char*>(info->data), buffer.data() + 44);
    }
    for (int time = 0; time < 2; ++time) {
      db_free_print_buffer_info(&info);
      EXPECT_EQ(info, nullptr);
    }
    EXPECT_EQ(liveAllocations(), before);
  }
  const std::string buffer = printBuffer(1);
  EXPECT_EQ(db_get_print_buffer_info(nullptr, 620, "", 1), nullptr);
  EXPECT_EQ(db_get_print_buffer_info(buffer.data(), 620, nullptr, 1), nullptr);
  EXPECT_EQ(db_get_printf_string(buffer.data(), 619, "", 1), nullptr);
}

TEST(PrintHeader, IdentifiersNeedTheBytesUpToTheirEnd) {
  const struct {
    std::uint32_t (*get)(const void*, std::size_t);
    std::size_t size;
    std::uint32_t value;
  } rows[] = {{db_get_gid, 16, 0x0C182430}, {db_get_kid, 20, 0x10203040}, {db_get_jid, 24, 0x14283C50}};
  for (const auto& row : rows) {
    const ExactBytes exact(printBuffer(0, 0, row.size), 1);
    const ExactBytes shorter(printBuffer(0, 0, row.size - 1));
    EXPECT_EQ(row.get(exact.data(), exact.size()), row.value);
    EXPECT_EQ(row.get(shorter.data(), shorter.size()), 0xFFFFFFFF);
    EXPECT_EQ(row.get(nullptr, 620), 0xFFFFFFFF);
  }
}

TEST(PrintText, AllocatesTheRecordAndTheTextOnly) {
  const auto buffer = printBuffer(kSingleWord);
  const long before = liveAllocations();
  const AllocationLog log;
  char* text = db_get_printf_string(buffer.data(), buffer.size(), "%c|", 4);
  // The value is 0, so '%c' writes a NUL: the text goes on behind it.
  const auto length = static_cast<std::size_t>(std::strchr(text, '\0') - text) + 3;
  EXPECT_EQ(log.text(), "56 " + std::to_string(length + 1) + "[]");
  EXPECT_EQ(std::string(text + length - 3, 4), std::string("\0|\n\0", 4));
  db_free_printf_string(&text);
  EXPECT_EQ(liveAllocations(), before);
}

// Every flag set, width, precision, length and conversion, and what {fmt} makes of it.
TEST(PrintText, EqualsFmtOverItsWholeGrammar) {
  const std::vector<std::uint32_t> words = {0, 9, 100, 0x7FFFFFFF, 0xFFFFFF85, 0x3FC00000, 0xC2F6E979, 0x7FC00000};
  std::size_t compared = 0;
  for (const char* index : {"", "1$", "2$"}) {
    for (unsigned flags = 0; flags < 32; ++flags) {
      for (const char* width : {"", "7", "*"}) {
        for (const char* precision : {"", ".", ".3", ".*"}) {
          for (const char* length : {"", "h", "hh", "l", "ll", "j", "z", "t", "L"}) {
            for (const char type : std::string_view("diouxXcspaAeEfFgGnLb%")) {
              std::string conversion = "<%";
              conversion += index;
              for (unsigned i = 0; i < 5; ++i) {
                if (flags & 1U << i) conversion += "-+ #0"[i];
              }
              conversion += std::string(width) + precision + length + type + ">";
              const bool usesValueAsCount = conversion.find('*') != std::string::npos;
              const auto word = words[compared++ % (usesValueAsCount ? 3 : words.size())];
              const auto real = std::bit_cast<float>(word);
              for (const auto& format : {conversion, conversion + " %d %1$x%%"}) {
                ASSERT_EQ(valueText(format, kSingleWord, word), fmt::sprintf(format, word).c_str()) << format;
                ASSERT_EQ(valueText(format, kSingleFloat, word), fmt::sprintf(format, real).c_str()) << format;
              }
            }
          }
        }
      }
    }
  }
}

// Plain conversions do not go through {fmt}, and have to give what it gives for any value.
TEST(PrintText, PlainConversionsEqualFmt) {
  std::uint32_t word = 1;
  for (int i = 0; i < 20000; ++i) {
    word = word * 1664525 + 1013904223;
    const std::uint32_t shorter = word >> i % 32;
    for (const char* format : {"%d", "%i", "%u", "%x"}) {
      ASSERT_EQ(valueText(format, kSingleWord, shorter), fmt::sprintf(format, shorter)) << shorter;
    }
    const std::string withPrecision = {'%', '.', static_cast<char>('0' + i % 10), 'f'};
    for (const auto& format : {std::string("%f"), withPrecision}) {
      ASSERT_EQ(valueText(format, kSingleFloat, word), fmt::sprintf(format, std::bit_cast<float>(word))) << word;
    }
  }
}

TEST(PrintText, MalformedConversionsGiveWhatTheyShould) {
  constexpr std::uint32_t kBig = 0x80000000;
  const struct {
    const char* format;
    std::uint32_t word;
    const char* asWord;
    const char* asFloat;
  } rows[] = {
      // Kept as {fmt} gives it.
      {"a%", 5, "a", "a7.00649e-45"},
      {"a%s|%f", 0x3FC00000, "a|", "a1.5|"},
      {"%d", 0x3FC00000, "1069547520", "1.5"},
      {"%u %u", 5, "5 ", "7.00649e-45 "},
      {"%%%", 0, "%", "%0"},
      {"", 1, "", ""},
      // Broken off after a length modifier: nothing from the '%' on.
      {"a%h", 5, "a", "a"},
      {"a%hh", 5, "a", "a"},
      {"a%l", 5, "a", "a"},
      {"a%ll", 5, "a", "a"},
      {"a%j", 5, "a", "a"},
      {"a%z", 5, "a", "a"},
      {"a%t", 5, "a", "a"},
      {"a%L", 5, "a", "a"},
      {"a%1$-+ #08.3ll", 5, "a", "a"},
      {"a%u%*.*l", 5, "a5", "a7.00649e-45"},
      // Index 0: no text, and indexing is manual from there on.
      {"a%0$ub", 5, "ab", "ab"},
      {"a%00$-5lx|%i|%i", 0, "a|0|0", "a|0|0"},
      {"%u%0$u%u|", 5, "5|", "7.00649e-45|"},
      {"%0$*ua%ub", 5, "ab", "ab"},
      // Numbers beyond an int: no text, the argument is used up.
      {"%2147483648u|%u", 0, "|", "|"},
      {"a%99999999999999999999ub", 0, "ab", "ab"},
      {"%-2147483648.5llu|", 0, "|", "|"},
      {"%.2147483648u|", 0, "|", "|"},
      {"%5.99999999999999999999d|%1$d", 0, "|0", "|0"},
      {"%2147483648$u|%u%u", 0, "|00", "|00"},
      {"%2147483647$u|%u%u", 0, "|00", "|00"},
      {"%0000000000000000000003u|", 7, "007|", "9.80909e-45|"},
      // '*' takes the value: an int beyond its range gives no text; a float is no count, and 0 is taken.
      {"%1$*u|%u", 3, "  3|", "4.2039e-45|"},
      {"%1$*u|%u", kBig, "|", "-0|"},
      {"%1$.*u|%1$u", 3, "003|3", "4e-45|4.2039e-45"},
      {"%1$.*u|%1$u", kBig, "|2147483648", "-0|-0"},
      {"%1$u%*u|", 3, "3  3|", "4.2039e-454.2039e-45|"},
      {"%1$u%*u|", 0xFFFFFFFF, "4294967295|", "-nan-nan|"},
      {"%*d|", kBig, "|", "|"},
      // snprintf() fails on a longer hexadecimal float, and {fmt} would go on asking for memory.
      {"%.2147483647a|", 0, "|", "|"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(valueText(row.format, kSingleWord, row.word), row.asWord) << row.format;
    EXPECT_EQ(valueText(row.format, kSingleFloat, row.word), row.asFloat) << row.format;
  }
  EXPECT_EQ(valueText("%1000u", kSingleWord, 7), std::string(999, ' ') + "7");
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
  EXPECT_EQ(valueText("%LL|%1$a|%1$.1f", kSingleFloat, 0x3FC00000), "1.5|0x1.8p+0|1.5");
  std::locale::global(previous);
  std::setlocale(LC_ALL, "C");
}

TEST(PrintText, ManyThreadsMayReadOneBuffer) {
  const auto buffer = printBuffer(0xC0 | 6);
  const std::string expected = printText(buffer, "%08x", 3);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int time = 0; time < 50; ++time) {
        char* text = db_get_printf_string(buffer.data(), buffer.size(), "%08x", 5);
        EXPECT_EQ(text, expected);
        db_free_printf_string(&text);
      }
    });
  }
  for (auto& thread : threads) thread.join();
}

}  // namespace
