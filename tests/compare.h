// Compares the library with the reference on the same input: every field, array element, byte of text and count. Each
// function returns what differs, or "" if nothing does; memory that is not freed counts as a difference.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

std::string comparePrint(const void* buffer, std::size_t size, const char* stringTable, std::size_t stringTableSize);
std::string compareLog(const void* log, std::uint64_t size);
std::string compareKernel(const void* kernel, std::size_t size);

// What the library decodes from a log, in the form of tests/cases/logs.txt: the newest entry, or all entries with equal
// ones in a row counted: "2 x GLSU pc 3 size 64 | 1 x eDMA pc 2 size 64".
std::string newestEntry(const void* log, std::uint64_t size);
std::string allEntries(const void* log, std::uint64_t size);

// Compares the library with the reference on what a seed grows into.
struct Comparison {
  std::string difference;
  bool isDecoded;  // not rejected; for a kernel: it has an eDMA instruction
};
Comparison compareGrownPrint(std::string_view seed);
Comparison compareGrownLog(std::string_view seed);
Comparison compareGrownKernel(std::string_view seed);
