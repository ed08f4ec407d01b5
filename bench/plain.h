// The same operations in the plain way: what one would write by hand, with the same results for the inputs here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "zarn_utility.h"

namespace bench::plain {

std::string printText(const void* buffer, const char* stringTable);

// For rings of at most 64 KiB whose length divides 2^32. The records are released as the library's are.
DescBufInfo** decodeLog(const std::string& log, std::uint32_t* count);
std::string report(const std::string& log);
std::string arrayReport(const std::string& log);

bool hasEdma(const void* kernel, std::size_t length);
std::uint64_t checksum(const void* bytes, std::size_t length);

}  // namespace bench::plain
