// A plain implementation of each operation of the library, straight from the rules of the device's formats and with all
// their oddities: {fmt} for every value, a string stream, one byte of a ring or one instruction at a time. Tests and
// fuzz targets compare the library with it, benchmarks race it. It shares no code with the library, so a change to a
// rule has to be made in both.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zarn_utility.h"

namespace zarn::reference {

// --------------------------------------------------------------------------------------------------------------------
// Print buffers

// These return nothing if the buffer is rejected.
std::optional<PrintBufInfo> printHeader(const void* buffer, std::size_t size, const char* stringTable,
                                        std::size_t stringTableSize);
std::optional<std::string> printText(const void* buffer, std::size_t size, const char* stringTable,
                                     std::size_t stringTableSize);

// The text of one value, without a line end.
std::string valueText(std::string_view format, bool isFloat, std::uint32_t word);

// The text of an accepted buffer whose format has no silent conversion, so that {fmt} can take the format as it is.
// Benchmarks race this function: the search for silent conversions is not part of {fmt}.
std::string printTextAsItIs(const void* buffer, const char* format);

// One conversion of a format as {fmt} 7 reads it, for one value.
struct Conversion {
  std::size_t begin;
  std::size_t end;
  bool isSilent;                 // gives no text, although {fmt} would try to; see printf_format.cpp
  bool takesValue;               // otherwise no argument is left for it, and it gives no text either
  std::string_view replacement;  // for a silent one: a conversion without text that uses up the same argument
  int width;
  int precision;
};
std::vector<Conversion> conversions(std::string_view format, bool isFloat, std::uint32_t word);

// --------------------------------------------------------------------------------------------------------------------
// Descriptor logs. Records are laid out and allocated like the library's, and freed by release().

DescBufInfo* decodeNewest(const void* buffer, std::uint64_t size);                      // or null
DescBufInfo** decodeAll(const void* buffer, std::uint64_t size, std::uint32_t* count);  // or null
void release(DescBufInfo* record);
void release(DescBufInfo** records, std::uint32_t count);

std::optional<std::string> report(const void* log, std::uint64_t size);
std::string arrayReport(const void* log, std::uint64_t size);

// Reports on records that need not come from a log; those of an array may be null.
std::string reportOf(const DescBufInfo& record);
std::string arrayReportOf(const DescBufInfo* const* records, std::uint32_t count);

// --------------------------------------------------------------------------------------------------------------------
// Kernel binaries

bool hasEdma(const void* kernel, std::int64_t length);
std::uint64_t checksum(const void* bytes, std::size_t length);

}  // namespace zarn::reference
