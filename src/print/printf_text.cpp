// The text of a print buffer: header block, then one line a value.

#include <array>
#include <bit>
#include <charconv>
#include <cstring>

#include "../decimal.h"
#include "print_buffer.h"
#include "text.h"
#include "value_writer.h"

namespace zarn::print {
namespace {

using Submasks = std::array<std::uint32_t, 4>;

constexpr char kPadNames[kPads][3] = {"L0", "L1", "R0", "R1", "U0", "U1", "D0", "D1"};

// Any of a thread's two bits selects it; the values 1, 2 and 3 mean the same.
bool isThreadPresent(const Submasks& submasks, std::uint32_t thread) {
  return (submasks[thread / 16] >> (2 * (thread % 16)) & 3) != 0;
}

constexpr std::size_t kMostHeaderBlock = 200;  // 199 with the longest numbers

template <std::size_t size>
char* writeHeaderLine(char* at, const char (&name)[size], std::uint32_t number, int base) {
  at = put(at, name);
  at = base == 10 ? writeDecimal(at, number) : std::to_chars(at, at + 8, number, base).ptr;
  return put(at, "\n");
}

void appendHeaderBlock(Text& out, const PrintBufInfo& info, const Submasks& submasks) {
  char* at = out.makeRoom(kMostHeaderBlock);
  at = writeHeaderLine(at, "Graph Id: ", info.graphId, 10);
  at = writeHeaderLine(at, "Kernel Id: ", info.kernelId, 10);
  at = writeHeaderLine(at, "Instance Id: ", info.instanceId, 10);
  at = writeHeaderLine(at, "Current time: ", info.currentTime, 10);
  at = writeHeaderLine(at, "Total size: ", info.totalSize, 10);
  at = writeHeaderLine(at, "submask0: 0x", submasks[0], 16);
  at = writeHeaderLine(at, "submask1: 0x", submasks[1], 16);
  at = writeHeaderLine(at, "submask2: 0x", submasks[2], 16);
  at = writeHeaderLine(at, "submask3: 0x", submasks[3], 16);
  out.setEnd(at);
}

// Writes lines of a label and a value each.
class LineWriter {
 public:
  LineWriter(Text& out, const PrintBufInfo& info, std::uint32_t lines) : out_(out), values_(info.format, info.isFloat) {
    out.expectLines(lines);
  }

  // `writeLabel` writes at most kMostLabel characters and returns their end. A line asks for room once: for as much as
  // the longest one needs.
  template <typename WriteLabel>
  void append(WriteLabel writeLabel, std::uint32_t word) {
    if (out_.room() > kMostLabel + values_.mostCharacters()) {
      char* const end = values_.write(writeLabel(out_.end()), word);
      if (end != nullptr) {
        *end = '\n';
        out_.endLine(end + 1);
        return;
      }
    }
    appendByPieces(writeLabel, word);
  }

 private:
  static constexpr std::size_t kMostLabel = 32;

  // A line that has less room may need less as well, and no memory is taken before it has to be.
  template <typename WriteLabel>
  [[gnu::noinline]] void appendByPieces(WriteLabel writeLabel, std::uint32_t word) {
    char label[kMostLabel];
    out_.append({label, static_cast<std::size_t>(writeLabel(label) - label)});
    values_.append(out_, word);
    char* const end = out_.makeRoom(1);
    *end = '\n';
    out_.endLine(end + 1);
  }

  Text& out_;
  ValueWriter values_;
};

char* writeThread(char* at, std::uint32_t thread) {
  at = put(at, "thread_");
  if (thread >= 10) *at++ = static_cast<char>('0' + thread / 10);
  *at++ = static_cast<char>('0' + thread % 10);
  return at;
}

void printThread(const PrintBufInfo& info, LineWriter& lines, std::uint32_t thread) {
  lines.append([=](char* at) { return put(writeThread(at, thread), ": "); }, wordAt(info.data, thread));
}

// The halves are two values, each with the whole format; they are never joined into one 64-bit number.
void print64BitThread(const PrintBufInfo& info, LineWriter& lines, std::uint32_t thread) {
  lines.append([=](char* at) { return put(writeThread(at, thread), ":\nlow 32 bits:\n"); }, wordAt(info.data, thread));
  lines.append([](char* at) { return put(at, "high 32 bits:\n"); }, wordAt(info.data, kThreads + thread));
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

void printPresentThreads(const PrintBufInfo& info, Text& out, const Submasks& submasks) {
  int present = 0;
  for (const std::uint32_t submask : submasks) present += std::popcount((submask | submask >> 1) & 0x55555555);
  LineWriter lines(out, info, static_cast<std::uint32_t>(info.is64Bit ? 2 * present : present));
  for (std::uint32_t thread = 0; thread < kThreads; ++thread) {
    if (!isThreadPresent(submasks, thread)) continue;
    if (info.is64Bit) {
      print64BitThread(info, lines, thread);
    } else {
      printThread(info, lines, thread);
    }
  }
}

void appendBody(Text& out, const PrintBufInfo& info, const Submasks& submasks) {
  switch (info.printType) {
    case 0:
      printPresentThreads(info, out, submasks);
      break;
    case 1:  // of a 64-bit value only the low half is shown
      LineWriter(out, info, 1).append([](char* at) { return at; }, wordAt(info.data, 0));
      break;
    case 2: {
      LineWriter lines(out, info, kPadValues);
      printPad(info, lines, 0);
      break;
    }
    case 3: {  // the last: a record has no others. Every thread, whatever the submask says, and never as 64-bit values
      LineWriter lines(out, info, kThreads + kPadValues);
      for (std::uint32_t thread = 0; thread < kThreads; ++thread) printThread(info, lines, thread);
      printPad(info, lines, kThreads);
      break;
    }
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
