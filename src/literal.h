// Copies string literals, whose lengths are known at compile time.
#pragma once

#include <cstddef>
#include <cstring>

namespace zarn {

// Returns the end of the copy.
template <std::size_t size>
char* put(char* at, const char (&literal)[size]) {
  std::memcpy(at, literal, size - 1);
  return at + size - 1;
}

}  // namespace zarn
