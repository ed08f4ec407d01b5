// The library beside the reference, on the same input: every field, array element, byte of text and count. Each
// function returns what differs, and "" where nothing does; memory that is not given back differs, too.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

std::string comparePrint(const void* buffer, std::size_t size, const char* stringTable, std::size_t stringTableSize);
std::string compareLog(const void* log, std::uint64_t size);
std::string compareKernel(const void* kernel, std::size_t length);

// The same of what a seed grows into.
struct Comparison {
  std::string difference;
  bool isDecoded;  // not rejected; of a kernel: it has an eDMA instruction
};
Comparison compareGrownPrint(std::string_view seed);
Comparison compareGrownLog(std::string_view seed);
Comparison compareGrownKernel(std::string_view seed);
