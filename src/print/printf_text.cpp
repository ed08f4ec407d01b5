// The text of a print buffer: header block, then one line a value.

#include <array>
#include <charconv>
#include <cstring>

#include "fmt_config.h"
#include "print_buffer.h"
#include "value_format.h"

namespace zarn::print {
namespace {

using Submasks = std::array<std::uint32_t, 4>;

constexpr std::string_view kPadNames[kPads] = {"L0", "L1", "R0", "R1", "U0", "U1", "D0", "D1"};

// Any of a thread's two bits selects it; the values 1, 2 and 3 mean the same.
bool isThreadPresent(const Submasks& submasks, std::uint32_t thread) {
  return (submasks[thread / 16] >> (2 * (thread % 16)) & 3) != 0;
}

void append(Text& out, std::string_view text) { out.append(text.data(), text.data() + text.size()); }

// "name" and a number below 100.
void appendNumbered(Text& out, std::string_view name, std::uint32_t number) {
  char digits[2];
  const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
  append(out, name);
  append(out, {digits, end});
}

void appendHeaderBlock(Text& out, const PrintBufInfo& info, const Submasks& submasks) {
  fmt::format_to(out,
                 "Graph Id: {graphId}\nKernel Id: {kernelId}\nInstance Id: {instanceId}\n"
                 "Current time: {currentTime}\nTotal size: {totalSize}\n"
                 "submask0: {submsk0:#x}\nsubmask1: {submsk1:#x}\nsubmask2: {submsk2:#x}\nsubmask3: {submsk3:#x}\n",
                 fmt::arg("graphId", info.graphId), fmt::arg("kernelId", info.kernelId),
                 fmt::arg("instanceId", info.instanceId), fmt::arg("currentTime", info.currentTime),
                 fmt::arg("totalSize", info.totalSize), fmt::arg("submsk0", submasks[0]),
                 fmt::arg("submsk1", submasks[1]), fmt::arg("submsk2", submasks[2]), fmt::arg("submsk3", submasks[3]));
}

void appendThread(Text& out, const InfoPtr& info, const ValueFormat& values, std::uint32_t thread) {
  appendNumbered(out, "thread_", thread);
  append(out, ": ");
  values.append(out, wordAt(info->data, thread));
  append(out, "\n");
}

// The halves are two values, each with the whole format; they are never joined into one 64-bit number.
void append64BitThread(Text& out, const InfoPtr& info, const ValueFormat& values, std::uint32_t thread) {
  appendNumbered(out, "thread_", thread);
  append(out, ":\nlow 32 bits:\n");
  values.append(out, wordAt(info->data, thread));
  append(out, "\nhigh 32 bits:\n");
  values.append(out, wordAt(info->data, kThreads + thread));
  append(out, "\n");
}

// 64 lines; `first` is the index of the first pad value.
void printPad(const InfoPtr& info, const ValueFormat& values, Text& out, std::uint32_t first) {
  for (std::uint32_t pad = 0; pad < kPads; ++pad) {
    for (std::uint32_t lane = 0; lane < kValuesPerPad; ++lane) {
      append(out, kPadNames[pad]);
      appendNumbered(out, "_", lane);
      append(out, ": ");
      values.append(out, wordAt(info->data, first + kValuesPerPad * pad + lane));
      append(out, "\n");
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
          append64BitThread(out, info, values, thread);
        } else {
          appendThread(out, info, values, thread);
        }
      }
      break;
    case 1:  // of a 64-bit value only the low half is shown
      values.append(out, wordAt(info->data, 0));
      append(out, "\n");
      break;
    case 2:
      printPad(info, values, out, 0);
      break;
    case 3:  // every thread, whatever the submask says, and never as 64-bit values
      for (std::uint32_t thread = 0; thread < kThreads; ++thread) appendThread(out, info, values, thread);
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
  delete[] *text;
  *text = nullptr;
}
