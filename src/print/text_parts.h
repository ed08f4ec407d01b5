// The parts of a print buffer's text: a header block, and a line for each value.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "../decimal.h"
#include "../literal.h"
#include "integer_writer.h"
#include "print_buffer.h"
#include "text.h"
#include "zarn_utility.h"

namespace zarn::print {

using Submasks = std::array<std::uint32_t, 4>;

inline constexpr char kPadNames[kPads][3] = {"L0", "L1", "R0", "R1", "U0", "U1", "D0", "D1"};

inline constexpr std::uint32_t kThreadsPerSubmask = 16;

// A mask with the lower of each selected thread's two bits. Either bit selects the thread: 1, 2 and 3 mean the same.
inline std::uint32_t selectedThreads(std::uint32_t submask) { return (submask | submask >> 1) & 0x55555555; }

inline constexpr std::size_t kMaxHeaderBlock = 206;  // 199 with the longest numbers, plus a surplus of 7 by writeHex()

template <std::size_t size>
char* writeDecimalLine(char* at, const char (&name)[size], std::uint32_t number) {
  return put(writeDecimal(put(at, name), number), "\n");
}

template <std::size_t size>
char* writeHexLine(char* at, const char (&name)[size], std::uint32_t number) {
  return put(writeHex(put(at, name), number, countHexDigits(number), 'a'), "\n");
}

inline void appendHeaderBlock(Text& out, const PrintBufInfo& info, const Submasks& submasks) {
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

inline char* writeThread(char* at, std::uint32_t thread) { return writeDecimal(put(at, "thread_"), thread); }

// Where a value belongs.
struct Place {
  enum class Kind { kAlone, kThread, kThreadLow, kThreadHigh, kPad };
  Kind kind = Kind::kAlone;
  std::uint32_t index = 0;  // of the thread or the pad
  std::uint32_t lane = 0;   // of a pad
};

// `Lines` is a LineWriter whose append() takes the value's place first.

template <typename Lines>
void printThread(const PrintBufInfo& info, Lines& lines, std::uint32_t thread, bool is64Bit) {
  using Kind = Place::Kind;
  const auto writeLabel = [=](char* at) { return put(writeThread(at, thread), ": "); };
  const auto writeLowLabel = [=](char* at) { return put(writeThread(at, thread), ":\nlow 32 bits:\n"); };
  const auto writeHighLabel = [](char* at) { return put(at, "high 32 bits:\n"); };
  const std::uint32_t word = wordAt(info.data, thread);
  if (!is64Bit) {
    lines.append(Place{Kind::kThread, thread}, writeLabel, word);
  } else {
    // Deliberate (design.md, "Halves"): they are two values, each with the whole format, never one 64-bit number.
    lines.append(Place{Kind::kThreadLow, thread}, writeLowLabel, word);
    lines.append(Place{Kind::kThreadHigh, thread}, writeHighLabel, wordAt(info.data, kThreads + thread));
  }
}

template <typename Lines>
void printThreads(const PrintBufInfo& info, Lines& lines, const Submasks& submasks, bool is64Bit) {
  for (std::uint32_t i = 0; i < submasks.size(); ++i) {
    for (std::uint32_t selected = selectedThreads(submasks[i]); selected != 0; selected &= selected - 1) {
      const auto bit = static_cast<std::uint32_t>(std::countr_zero(selected));
      printThread(info, lines, kThreadsPerSubmask * i + bit / 2, is64Bit);
    }
  }
}

// Prints 64 lines; `first` is the index of the first pad value.
template <typename Lines>
void printPad(const PrintBufInfo& info, Lines& lines, std::uint32_t first) {
  for (std::uint32_t pad = 0; pad < kPads; ++pad) {
    for (std::uint32_t lane = 0; lane < kValuesPerPad; ++lane) {
      const auto writeLabel = [=](char* at) {
        at = put(at, kPadNames[pad]);
        *at++ = '_';
        *at++ = static_cast<char>('0' + lane);
        return put(at, ": ");
      };
      lines.append(Place{Place::Kind::kPad, pad, lane}, writeLabel,
                   wordAt(info.data, first + kValuesPerPad * pad + lane));
    }
  }
}

inline std::uint32_t countLines(const PrintBufInfo& info, const Submasks& submasks) {
  if (info.printType == 1) return 1;
  if (info.printType == 2) return kPadValues;
  if (info.printType == 3) return kThreads + kPadValues;
  int threads = 0;
  for (const std::uint32_t submask : submasks) threads += std::popcount(selectedThreads(submask));
  return static_cast<std::uint32_t>(info.is64Bit ? 2 * threads : threads);
}

template <typename Lines>
void printBody(const PrintBufInfo& info, Lines& lines, const Submasks& submasks) {
  switch (info.printType) {
    case 0:
      printThreads(info, lines, submasks, info.is64Bit);
      break;
    case 1:  // Deliberate (design.md, "Low half alone"): only print type 0 shows 64-bit data whole.
      lines.append(
          Place{}, [](char* at) { return at; }, wordAt(info.data, 0));
      break;
    case 2:
      printPad(info, lines, 0);
      break;
    case 3:  // Deliberate (design.md, "All threads"): the header block shows the submasks, but they select nothing.
      printThreads(info, lines, {~0U, ~0U, ~0U, ~0U}, false);
      printPad(info, lines, kThreads);
      break;
  }
}

// Appends the text to `out`, which must be empty. `more` is passed to `Lines`.
template <typename Lines, typename... More>
void appendTextBy(Text& out, const PrintBufInfo& info, More&... more) {
  Submasks submasks;
  for (std::uint32_t i = 0; i < submasks.size(); ++i) submasks[i] = wordAt(info.subMask, i);
  appendHeaderBlock(out, info, submasks);
  Lines lines(out, info.format, info.isFloat, countLines(info, submasks), more...);
  printBody(info, lines, submasks);
}

}  // namespace zarn::print
