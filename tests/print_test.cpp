// Print buffers: header checks at their limits, and the text of values against {fmt} itself.

#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <clocale>
#include <locale>
#include <thread>
#include <vector>

#include "inputs.h"
#include "print/fmt.h"
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
  char* text = db_get_printf_string(bytes.data(), bytes.size(), table.data(), table.size());
  std::string copy(text == nullptr ? "(null)" : text);
  db_free_printf_string(&text);
  EXPECT_EQ(text, nullptr);
  return copy;
}

// The text that one value gives, without header block and line end.
std::string valueText(const std::string& format, std::uint32_t headerWord, std::uint32_t word) {
  auto buffer = printBuffer(headerWord);
  buffer.data[0] = word;
  auto text = printText(buffer.bytes(), format);
  for (int line = 0; line < 9; ++line) text.erase(0, text.find('\n') + 1);
  if (text.ends_with('\n')) text.pop_back();  // a NUL of '%c' hides the rest
  return text;
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
      EXPECT_EQ(info->currentTime, 0x04080C10U);
      EXPECT_EQ(info->totalSize, 0x08101820U);
      EXPECT_EQ(info->graphId, 0x0C182430U);
      EXPECT_EQ(info->kernelId, 0x10203040U);
      EXPECT_EQ(info->instanceId, 0x14283C50U);
      EXPECT_EQ(reinterpret_cast<const char*>(info->subMask), buffer.data() + 24);
      EXPECT_EQ(info->format, table.data() + number(3));
      EXPECT_EQ(reinterpret_cast<const char*>(info->data), buffer.data() + 44);
    }
    EXPECT_EQ(found, row[5]);
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

TEST(PrintHeader, IdentifiersNeedTheBytesUpToTheirEnd) {
  const struct {
    std::uint32_t (*get)(const void*, std::size_t);
    std::size_t size;
    std::uint32_t value;
  } rows[] = {{db_get_gid, 16, 0x0C182430}, {db_get_kid, 20, 0x10203040}, {db_get_jid, 24, 0x14283C50}};
  for (const auto& row : rows) {
    const ExactBytes exact(printBuffer(0).bytes().substr(0, row.size), 1);
    const ExactBytes shorter(printBuffer(0).bytes().substr(0, row.size - 1));
    EXPECT_EQ(row.get(exact.data(), exact.size()), row.value);
    EXPECT_EQ(row.get(shorter.data(), shorter.size()), 0xFFFFFFFF);
    EXPECT_EQ(row.get(nullptr, 620), 0xFFFFFFFF);
  }
}

TEST(PrintText, AllocatesTheRecordAndTheTextOnly) {
  const auto buffer = printBuffer(kSingleWord).bytes();
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
  for (const auto& row : readCases("formats.txt", 4)) {
    const auto word = static_cast<std::uint32_t>(std::stoul(row[1], nullptr, 0));
    EXPECT_EQ(valueText(row[0], kSingleWord, word), row[2]) << row[0];
    EXPECT_EQ(valueText(row[0], kSingleFloat, word), row[3]) << row[0];
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
  const auto buffer = printBuffer(0xC0 | 6).bytes();
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
