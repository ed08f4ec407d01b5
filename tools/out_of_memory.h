// An orderly end when memory runs out, in the tool or in the library: what was finished has been written, and one
// message says where it ended.
#pragma once

#include <string>

namespace tool {

inline constexpr const char* kOutOfMemory = "not enough memory to decode it";

// What is still to be said then. It is put together beforehand, when there is memory.
struct LastWords {
  std::string toOutput;
  std::string toError;
  int status;
};

void setLastWords(LastWords words);

// Replaces the words for standard output alone, without a need of memory.
void setLastWordsToOutput(std::string words);

}  // namespace tool
