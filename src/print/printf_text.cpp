// The text of a print buffer: header block, then one line a value.

#include <array>
#include <charconv>
#include <cstring>

#include "print_buffer.h"
#include "text.h"
#include "value_format.h"

namespace zarn::print {
namespace {

using Submasks = std::array<std::uint32_t, 4>;

constexpr char kPadNames[kPads][3] = {"L0", "L1", "R0", "R1", "U0", "U1", "D0", "D1"};

// Any of a thread's two bits selects it; the values 1, 2 and 3 mean the same.
bool isThreadPresent(const Submasks& submasks, std::uint32_t thread) {
  return (submasks[thread / 16] >> (2 * (thread % 16)) & 3) != 0;
}

constexpr std::size_t kMostHeaderLine = 32;  // with room to spare
constexpr std::size_t kMostLabel = 32;

template <std::size_t size>
void appendHeaderLine(Text& out, const char (&name)[size], std::uint32_t number, int base) {
  char* at = put(makeRoom(out, kMostHeaderLine), name);
  at = std::to_chars(at, at + 10, number, base).ptr;
  setEnd(out, put(at, "\n"));
}

void appendHeaderBlock(Text& out, const PrintBufInfo& info, const Submasks& submasks) {
  appendHeaderLine(out, "Graph Id: ", info.graphId, 10);
  appendHeaderLine(out, "Kernel Id: ", info.kernelId, 10);
  appendHeaderLine(out, "Instance Id: ", info.instanceId, 10);
  appendHeaderLine(out, "Current time: ", info.currentTime, 10);
  appendHeaderLine(out, "Total size: ", info.totalSize, 10);
  appendHeaderLine(out, "submask0: 0x", submasks[0], 16);
  appendHeaderLine(out, "submask1: 0x", submasks[1], 16);
  appendHeaderLine(out, "submask2: 0x", submasks[2], 16);
  appendHeaderLine(out, "submask3: 0x", submasks[3], 16);
}

template <std::size_t size>
void appendThreadLabel(Text& out, std::uint32_t thread, const char (&end)[size]) {
  char* at = put(makeRoom(out, kMostLabel), "thread_");
  if (thread >= 10) *at++ = static_cast<char>('0' + thread / 10);
  *at++ = static_cast<char>('0' + thread % 10);
  setEnd(out, put(at, end));
}

void appendThread(Text& out, const PrintBufInfo& info, const ValueFormat& values, std::uint32_t thread) {
  appendThreadLabel(out, thread, ": ");
  values.appendLine(out, wordAt(info.data, thread));
}

// The halves are two values, each with the whole format; they are never joined into one 64-bit number.
void append64BitThread(Text& out, const PrintBufInfo& info, const ValueFormat& values, std::uint32_t thread) {
  appendThreadLabel(out, thread, ":\nlow 32 bits:\n");
  values.appendLine(out, wordAt(info.data, thread));
  setEnd(out, put(makeRoom(out, kMostLabel), "high 32 bits:\n"));
  values.appendLine(out, wordAt(info.data, kThreads + thread));
}

// 64 lines; `first` is the index of the first pad value.
void printPad(const InfoPtr& info, const ValueFormat& values, Text& out, std::uint32_t first) {
  for (std::uint32_t pad = 0; pad < kPads; ++pad) {
    for (std::uint32_t lane = 0; lane < kValuesPerPad; ++lane) {
      char* at = put(makeRoom(out, kMostLabel), kPadNames[pad]);
      *at++ = '_';
      *at++ = static_cast<char>('0' + lane);
      setEnd(out, put(at, ": "));
      values.appendLine(out, wordAt(info->data, first + kValuesPerPad * pad + lane));
    }
  }
}

void appendBody(Text& out, const InfoPtr& info, const Submasks& submasks) {
  const ValueFormat values(info->format, info->isFloat);
  switch (info->printType) {
    case 0:
      for (std::uint32_t thread = 0; thread < kThreads; ++thread) {
        if (!isThreadPresent(submasks, thread)) continue;
        if (info->is64Bit) {
          append64BitThread(out, *info, values, thread);
        } else {
          appendThread(out, *info, values, thread);
        }
      }
      break;
    case 1:  // of a 64-bit value only the low half is shown
      values.appendLine(out, wordAt(info->data, 0));
      break;
    case 2:
      printPad(info, values, out, 0);
      break;
    case 3:  // the last: a record has no others. Every thread, whatever the submask says, and never as 64-bit values
      for (std::uint32_t thread = 0; thread < kThreads; ++thread) appendThread(out, *info, values, thread);
      printPad(info, values, out, kThreads);
      break;
  }
}

// The text may hold NULs of its own ("%c" of 0), so it is copied by length.
char* copyOut(const Text& text) {
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
  appendBody(out, info, submasks);
  return copyOut(out);
}

void db_free_printf_string(char** text) {
  const char* const array = *text;
  *text = nullptr;
  delete[] array;
}
