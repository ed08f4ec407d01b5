// Print buffers: the header and the text.

#include <bit>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "fmt.h"
#include "reference.h"
#include "zarn_utility.h"

namespace zarn::reference {
namespace {

std::uint32_t word(const void* words, std::uint32_t index) {
  std::uint8_t bytes[4];
  std::memcpy(bytes, static_cast<const char*>(words) + std::size_t{4} * index, 4);
  return bytes[0] | bytes[1] * 0x100U | bytes[2] * 0x10000U | bytes[3] * 0x1000000U;
}

PrintBufInfo headerOf(const void* buffer, const char* format) {
  constexpr std::uint32_t kPrintTypes[] = {0, 0, 1, 1, 0, 2, 3, 3, 1};
  const std::uint32_t headerWord = word(buffer, 0);
  const std::uint32_t dataType = headerWord >> 6 & 0x1F;
  const auto* words = static_cast<const std::uint32_t*>(buffer);
  return {.printType = kPrintTypes[headerWord & 0x1F],
          .is64Bit = dataType == 3 || dataType == 4,
          .isFloat = dataType == 5 || dataType == 6,
          .currentTime = word(buffer, 1),
          .totalSize = word(buffer, 2),
          .graphId = word(buffer, 3),
          .kernelId = word(buffer, 4),
          .instanceId = word(buffer, 5),
          .subMask = words + 6,
          .format = format,
          .data = words + 11};
}

std::string fmtText(std::string_view format, bool isFloat, std::uint32_t word) {
  const fmt::string_view fmtFormat(format.data(), format.size());
  return isFloat ? fmt::sprintf(fmtFormat, std::bit_cast<float>(word)) : fmt::sprintf(fmtFormat, word);
}

// `valueText` makes the text of one value.
template <typename ValueText>
std::string render(const PrintBufInfo& info, ValueText valueText) {
  auto text = fmt::format(
      "Graph Id: {}\nKernel Id: {}\nInstance Id: {}\nCurrent time: {}\nTotal size: {}\n"
      "submask0: {:#x}\nsubmask1: {:#x}\nsubmask2: {:#x}\nsubmask3: {:#x}\n",
      info.graphId, info.kernelId, info.instanceId, info.currentTime, info.totalSize, word(info.subMask, 0),
      word(info.subMask, 1), word(info.subMask, 2), word(info.subMask, 3));
  const auto addLine = [&](const std::string& label, std::uint32_t index) {
    text += label;
    text += valueText(word(info.data, index));
    text += '\n';
  };

  if (info.printType == 1) addLine("", 0);
  for (std::uint32_t thread = 0; thread < 64 && (info.printType == 0 || info.printType == 3); ++thread) {
    if (info.printType == 0 && (word(info.subMask, thread / 16) >> 2 * (thread % 16) & 3) == 0) continue;
    if (info.printType == 0 && info.is64Bit) {
      addLine(fmt::format("thread_{}:\nlow 32 bits:\n", thread), thread);
      addLine("high 32 bits:\n", 64 + thread);
    } else {
      addLine(fmt::format("thread_{}: ", thread), thread);
    }
  }
  constexpr const char* kPads[] = {"L0", "L1", "R0", "R1", "U0", "U1", "D0", "D1"};
  for (std::uint32_t i = 0; i < 64 && info.printType >= 2; ++i) {
    addLine(fmt::format("{}_{}: ", kPads[i / 8], i % 8), (info.printType == 3 ? 64 : 0) + i);
  }
  return text;
}

}  // namespace

// Replaces silent conversions before {fmt} sees the format.
std::string valueText(std::string_view format, bool isFloat, std::uint32_t word) {
  std::string replaced;
  std::size_t copied = 0;
  for (const auto& conversion : conversions(format, isFloat, word)) {
    if (!conversion.isSilent) continue;
    replaced.append(format, copied, conversion.begin - copied).append(conversion.replacement);
    copied = conversion.end;
  }
  return fmtText(replaced.append(format, copied), isFloat, word);
}

std::optional<PrintBufInfo> printHeader(const void* buffer, std::size_t size, const char* stringTable,
                                        std::size_t stringTableSize) {
  if (buffer == nullptr || size < 620 || stringTable == nullptr) return std::nullopt;
  const std::uint32_t formatOffset = word(buffer, 10);
  if (stringTableSize <= formatOffset) return std::nullopt;
  const std::uint32_t headerWord = word(buffer, 0);
  if (headerWord == 0 || (headerWord & 0x1F) > 8 || (headerWord >> 6 & 0x1F) > 7) return std::nullopt;
  return headerOf(buffer, stringTable + formatOffset);
}

std::optional<std::string> printText(const void* buffer, std::size_t size, const char* stringTable,
                                     std::size_t stringTableSize) {
  const auto info = printHeader(buffer, size, stringTable, stringTableSize);
  if (!info) return std::nullopt;
  return render(*info, [&](std::uint32_t value) { return valueText(info->format, info->isFloat, value); });
}

std::string printTextAsItIs(const void* buffer, const char* format) {
  const auto info = headerOf(buffer, format);
  return render(info, [&](std::uint32_t value) { return fmtText(format, info.isFloat, value); });
}

}  // namespace zarn::reference
