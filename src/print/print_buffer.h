// A print buffer's bytes and its checked header.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "../little_endian.h"
#include "zarn_utility.h"

namespace zarn::print {

inline constexpr std::uint32_t kThreads = 64;  // each with one value word, or two for 64-bit data
inline constexpr std::uint32_t kPads = 8;
inline constexpr std::uint32_t kValuesPerPad = 8;
inline constexpr std::uint32_t kPadValues = kPads * kValuesPerPad;

struct InfoDeleter {
  void operator()(PrintBufInfo* info) const { delete info; }
};

using InfoPtr = std::unique_ptr<PrintBufInfo, InfoDeleter>;

enum class HeaderFault { kNone, kTooShort, kFormatOffset, kHeaderWord, kPrintKind, kDataType };

// A checked header, or what is wrong with it.
struct Header {
  InfoPtr info;
  HeaderFault fault = HeaderFault::kNone;  // if there is no record
  std::uint32_t number = 0;                // the format offset, print kind or data type at fault
};

Header readHeader(const void* buffer, std::size_t bufferSize, const char* stringTable, std::size_t stringTableSize);

// Word `index` of a record's value or submask words, which are as unaligned as the caller's buffer.
inline std::uint32_t wordAt(const std::uint32_t* words, std::uint32_t index) {
  return loadU32(reinterpret_cast<const std::uint8_t*>(words) + std::size_t{4} * index);
}

}  // namespace zarn::print
