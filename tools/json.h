// What the library returns, as JSON: one object a line and input, in ASCII alone. Fields have the names of
// zarn_utility.h.
#pragma once

#include <zarn_utility.h>

#include <cstddef>
#include <string>

namespace tool {

void writePrintAsJson(const std::string& name, const PrintBufInfo& info, const char* text);

// Writes entry by entry, so that a long log isn't held twice. There is at least one.
void writeLogAsJson(const std::string& name, const DescBufInfo* const* entries, std::size_t count);

void writeKernelAsJson(const std::string& name, const std::string& checksum, bool hasEdma);

// The object for an input that could not be decoded.
std::string problemAsJson(const std::string& name, const std::string& problem);

}  // namespace tool
