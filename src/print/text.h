// The text of a print buffer while it is built, in a buffer of {fmt} 7.
#pragma once

#include <algorithm>
#include <cstring>

#include "fmt.h"

namespace zarn::print {

// 500 characters hold most single values without touching the heap.
using Text = fmt::basic_memory_buffer<char, 500>;

// Text is appended by writing it behind the end, where makeRoom() makes room for as many characters as may come, and
// setting the new end. A text that outgrows its first memory mostly is one of 64 or 128 lines, and gets what these need
// at once.
inline char* makeRoom(Text& out, std::size_t count) {
  constexpr std::size_t kSizeOfManyLines = 4000;
  if (out.capacity() - out.size() < count) out.try_reserve(std::max(out.size() + count, kSizeOfManyLines));
  return out.data() + out.size();
}

inline void setEnd(Text& out, const char* end) { out.try_resize(static_cast<std::size_t>(end - out.data())); }

// Copies a literal, whose length is known here, and returns the end of the copy.
template <std::size_t size>
char* put(char* at, const char (&literal)[size]) {
  std::memcpy(at, literal, size - 1);
  return at + size - 1;
}

}  // namespace zarn::print
