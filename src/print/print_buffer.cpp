#include "print_buffer.h"

#include <cstddef>
#include <cstdint>
#include <utility>

#include "../little_endian.h"
#include "zarn_utility.h"

namespace zarn::print {
namespace {

// Byte offsets of the buffer's words; docs/formats.md has the whole layout.
constexpr std::size_t kHeaderWord = 0;
constexpr std::size_t kCurrentTime = 4;
constexpr std::size_t kTotalSize = 8;
constexpr std::size_t kGraphId = 12;
constexpr std::size_t kKernelId = 16;
constexpr std::size_t kInstanceId = 20;
constexpr std::size_t kSubmasks = 24;
constexpr std::size_t kFormatOffset = 40;
constexpr std::size_t kData = 44;

constexpr std::uint32_t printTypeByKind[] = {0, 0, 1, 1, 0, 2, 3, 3, 1};
constexpr std::uint32_t kMaxPrintKind = 8;
constexpr std::uint32_t kMaxDataType = 7;
constexpr std::uint32_t k64BitDataTypes = 0x18;  // bit n stands for data type n
constexpr std::uint32_t kFloatDataTypes = 0x60;

std::uint32_t word(const void* buffer, std::size_t offset) {
  return loadU32(static_cast<const std::uint8_t*>(buffer) + offset);
}

// The word at `offset`, or 0xFFFFFFFF if the buffer is null or ends before the word does.
std::uint32_t identifier(const void* buffer, std::size_t size, std::size_t offset) {
  if (buffer == nullptr || size < offset + 4) return 0xFFFFFFFF;
  return word(buffer, offset);
}

}  // namespace

Header readHeader(const void* buffer, std::size_t bufferSize, const char* stringTable, std::size_t stringTableSize) {
  // Deliberate (design.md, "620 bytes"): the last 64 bytes must be there, although nothing reads them.
  if (buffer == nullptr || bufferSize < ZARN_PRINT_BUFFER_MIN_SIZE) return {nullptr, HeaderFault::kTooShort};
  const std::uint32_t formatOffset = word(buffer, kFormatOffset);
  if (stringTable == nullptr || stringTableSize <= formatOffset) {
    return {nullptr, HeaderFault::kFormatOffset, formatOffset};
  }

  const std::uint32_t headerWord = word(buffer, kHeaderWord);
  const std::uint32_t printKind = headerWord & 0x1F;
  const std::uint32_t dataType = headerWord >> 6 & 0x1F;
  // Deliberate (design.md, "Header word 0"): 0x20 is kind 0 and data type 0, as 0 is, but it is accepted.
  if (headerWord == 0) return {nullptr, HeaderFault::kHeaderWord};
  if (printKind > kMaxPrintKind) return {nullptr, HeaderFault::kPrintKind, printKind};
  if (dataType > kMaxDataType) return {nullptr, HeaderFault::kDataType, dataType};

  const auto* bytes = static_cast<const std::uint8_t*>(buffer);
  InfoPtr info(new PrintBufInfo());
  info->printType = printTypeByKind[printKind];
  info->is64Bit = (k64BitDataTypes >> dataType & 1) != 0;
  info->isFloat = (kFloatDataTypes >> dataType & 1) != 0;
  info->currentTime = word(buffer, kCurrentTime);
  info->totalSize = word(buffer, kTotalSize);
  info->graphId = word(buffer, kGraphId);
  info->kernelId = word(buffer, kKernelId);
  info->instanceId = word(buffer, kInstanceId);
  info->subMask = reinterpret_cast<const std::uint32_t*>(bytes + kSubmasks);
  info->format = stringTable + formatOffset;
  info->data = reinterpret_cast<const std::uint32_t*>(bytes + kData);
  return {std::move(info)};
}

}  // namespace zarn::print

std::uint32_t db_get_gid(const void* buffer, std::size_t size) {
  return zarn::print::identifier(buffer, size, zarn::print::kGraphId);
}

std::uint32_t db_get_kid(const void* buffer, std::size_t size) {
  return zarn::print::identifier(buffer, size, zarn::print::kKernelId);
}

std::uint32_t db_get_jid(const void* buffer, std::size_t size) {
  return zarn::print::identifier(buffer, size, zarn::print::kInstanceId);
}

PrintBufInfo* db_get_print_buffer_info(const void* buffer, std::size_t bufferSize, const char* stringTable,
                                       std::size_t stringTableSize) {
  return zarn::print::readHeader(buffer, bufferSize, stringTable, stringTableSize).info.release();
}

void db_free_print_buffer_info(PrintBufInfo** info) {
  zarn::print::InfoDeleter()(*info);
  *info = nullptr;
}
