// The text of a print buffer: header block, then one line a value.

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "../decimal.h"
#include "../literal.h"
#include "integer_writer.h"
#include "line_writer.h"
#include "print_buffer.h"
#include "text.h"
#include "zarn_utility.h"

namespace zarn::print {
namespace {

using Submasks = std::array<std::uint32_t, 4>;

constexpr char kPadNames[kPads][3] = {"L0", "L1", "R0", "R1", "U0", "U1", "D0", "D1"};

constexpr std::uint32_t kThreadsPerSubmask = 16;

// The lower of each thread's two bits, set where the thread is selected: by either of them, as 1, 2 and 3 mean the
// same.
std::uint32_t selectedThreads(std::uint32_t submask) { return (submask | submask >> 1) & 0x55555555; }

constexpr std::size_t kMaxHeaderBlock = 206;  // 199 with the longest numbers, and 7 that writeHex() writes too much

template <std::size_t size>
char* writeDecimalLine(char* at, const char (&name)[size], std::uint32_t number) {
  return put(writeDecimal(put(at, name), number), "\n");
}

template <std::size_t size>
char* writeHexLine(char* at, const char (&name)[size], std::uint32_t number) {
  return put(writeHex(put(at, name), number, countHexDigits(number), 'a'), "\n");
}

void appendHeaderBlock(Text& out, const PrintBufInfo& info, const Submasks& submasks) {
  out.append(kMaxHeaderBlock, [&](char* at) {
    at = writeDecimalLine(at, "Graph Id: ", info.graphId);
    at = writeDecimalLine(at, "Kernel Id: ", info.kernelId);
    at = writeDecimalLine(at, "Instance Id: ", info.instanceId);
    at = writeDecimalLine(at, "Current time: ", info.currentTime);
    at = writeDecimalLine(at, "Total size: ", info.totalSize);
    at = writeHexLine(at, "submask0: 0x", submasks[0]);
    at = writeHexLine(at, "submask1: 0x", submasks[1]);
    at = writeHexLine(at, "submask2: 0x", submasks[2]);
    return writeHexLine(at, "submask3: 0x", submasks[3]);
  });
}

char* writeThread(char* at, std::uint32_t thread) { return writeDecimal(put(at, "thread_"), thread); }

void printThread(const PrintBufInfo& info, LineWriter& lines, std::uint32_t thread, bool is64Bit) {
  const std::uint32_t word = wordAt(info.data, thread);
  if (!is64Bit) {
    lines.append([=](char* at) { return put(writeThread(at, thread), ": "); }, word);
  } else {
    // Deliberate (design.md, "Halves"): they are two values, each with the whole format, and never one 64-bit number.
    lines.append([=](char* at) { return put(writeThread(at, thread), ":\nlow 32 bits:\n"); }, word);
    lines.append([](char* at) { return put(at, "high 32 bits:\n"); }, wordAt(info.data, kThreads + thread));
  }
}

void printThreads(const PrintBufInfo& info, LineWriter& lines, const Submasks& submasks, bool is64Bit) {
  for (std::uint32_t i = 0; i < submasks.size(); ++i) {
    for (std::uint32_t selected = selectedThreads(submasks[i]); selected != 0; selected &= selected - 1) {
      const auto bit = static_cast<std::uint32_t>(std::countr_zero(selected));
      printThread(info, lines, kThreadsPerSubmask * i + bit / 2, is64Bit);
    }
  }
}

// 64 lines; `first` is the index of the first pad value.
void printPad(const PrintBufInfo& info, LineWriter& lines, std::uint32_t first) {
  for (std::uint32_t pad = 0; pad < kPads; ++pad) {
    for (std::uint32_t lane = 0; lane < kValuesPerPad; ++lane) {
      const auto writeLabel = [=](char* at) {
        at = put(at, kPadNames[pad]);
        *at++ = '_';
        *at++ = static_cast<char>('0' + lane);
        return put(at, ": ");
      };
      lines.append(writeLabel, wordAt(info.data, first + kValuesPerPad * pad + lane));
    }
  }
}

std::uint32_t countLines(const PrintBufInfo& info, const Submasks& submasks) {
  if (info.printType == 1) return 1;
  if (info.printType == 2) return kPadValues;
  if (info.printType == 3) return kThreads + kPadValues;
  int threads = 0;
  for (const std::uint32_t submask : submasks) threads += std::popcount(selectedThreads(submask));
  return static_cast<std::uint32_t>(info.is64Bit ? 2 * threads : threads);
}

void appendBody(Text& out, const PrintBufInfo& info, const Submasks& submasks) {
  LineWriter lines(out, info.format, info.isFloat, countLines(info, submasks));
  switch (info.printType) {
    case 0:
      printThreads(info, lines, submasks, info.is64Bit);
      break;
    case 1:  // Deliberate (design.md, "Low half alone"): 64-bit data is shown whole by print type 0 only.
      lines.append([](char* at) { return at; }, wordAt(info.data, 0));
      break;
    case 2:
      printPad(info, lines, 0);
      break;
    case 3:  // Deliberate (design.md, "All threads"): the header block shows a submask that selects nothing here.
      printThreads(info, lines, {~0U, ~0U, ~0U, ~0U}, false);
      printPad(info, lines, kThreads);
      break;
  }
}

// The text may hold NULs of its own ("%c" of 0), so it is copied by length.
char* copyOut(std::string_view text) {
  auto* copy = new char[text.size() + 1];
  std::memcpy(copy, text.data(), text.size());
  copy[text.size()] = '\0';
  return copy;
}

}  // namespace
}  // namespace zarn::print

char* db_get_printf_string(const void* buffer, std::size_t bufferSize, const char* stringTable,
                           std::size_t stringTableSize) {
  using namespace zarn::print;
  const InfoPtr info = readHeader(buffer, bufferSize, stringTable, stringTableSize);
  if (info == nullptr) return nullptr;

  Submasks submasks;
  for (std::uint32_t i = 0; i < submasks.size(); ++i) submasks[i] = wordAt(info->subMask, i);
  Text out;
  appendHeaderBlock(out, *info, submasks);
  appendBody(out, *info, submasks);
  return copyOut(out.view());
}

void db_free_printf_string(char** text) {
  const char* const array = *text;
  *text = nullptr;
  delete[] array;
}
