// The text of a print buffer: header block, then one line a value.

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <iterator>

#include "fmt_config.h"
#include "print_buffer.h"
#include "value_format.h"

namespace zarn::print {
namespace {

using Submasks = std::array<std::uint32_t, 4>;

constexpr std::string_view kPadNames[kPads] = {"L0_", "L1_", "R0_", "R1_", "U0_", "U1_", "D0_", "D1_"};

// Any of a thread's two bits selects it; the values 1, 2 and 3 mean the same.
bool isThreadPresent(const Submasks& submasks, std::uint32_t thread) {
  return (submasks[thread / 16] >> (2 * (thread % 16)) & 3) != 0;
}

// The line's label, and a number below 100 in it.
class Label {
 public:
  Label(std::string_view name, std::uint32_t number, std::string_view end) {
    char* at = std::copy(name.begin(), name.end(), text_);
    if (number >= 10) *at++ = static_cast<char>('0' + number / 10);
    *at++ = static_cast<char>('0' + number % 10);
    length_ = static_cast<std::size_t>(std::copy(end.begin(), end.end(), at) - text_);
  }
  std::string_view text() const { return {text_, length_}; }

 private:
  char text_[32];
  std::size_t length_;
};

void appendHeaderBlock(Text& out, const PrintBufInfo& info, const Submasks& submasks) {
  const auto append = [&out](std::string_view name, std::uint32_t number, int base) {
    char line[32];
    char* at = std::copy(name.begin(), name.end(), line);
    at = std::to_chars(at, std::end(line), number, base).ptr;
    *at++ = '\n';
    out.append(line, at);
  };
  append("Graph Id: ", info.graphId, 10);
  append("Kernel Id: ", info.kernelId, 10);
  append("Instance Id: ", info.instanceId, 10);
  append("Current time: ", info.currentTime, 10);
  append("Total size: ", info.totalSize, 10);
  append("submask0: 0x", submasks[0], 16);
  append("submask1: 0x", submasks[1], 16);
  append("submask2: 0x", submasks[2], 16);
  append("submask3: 0x", submasks[3], 16);
}

void appendThread(Text& out, const InfoPtr& info, const ValueFormat& values, std::uint32_t thread) {
  values.append(out, Label("thread_", thread, ": ").text(), wordAt(info->data, thread), "\n");
}

// The halves are two values, each with the whole format; they are never joined into one 64-bit number.
void append64BitThread(Text& out, const InfoPtr& info, const ValueFormat& values, std::uint32_t thread) {
  const Label label("thread_", thread, ":\nlow 32 bits:\n");
  values.append(out, label.text(), wordAt(info->data, thread), "\nhigh 32 bits:\n");
  values.append(out, {}, wordAt(info->data, kThreads + thread), "\n");
}

// 64 lines; `first` is the index of the first pad value.
void printPad(const InfoPtr& info, const ValueFormat& values, Text& out, std::uint32_t first) {
  for (std::uint32_t pad = 0; pad < kPads; ++pad) {
    for (std::uint32_t lane = 0; lane < kValuesPerPad; ++lane) {
      const std::uint32_t word = wordAt(info->data, first + kValuesPerPad * pad + lane);
      values.append(out, Label(kPadNames[pad], lane, ": ").text(), word, "\n");
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
      values.append(out, {}, wordAt(info->data, 0), "\n");
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
