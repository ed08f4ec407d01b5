// Values written by the pieces of a format.
#pragma once

#include <cstddef>
#include <cstdint>

#include "format_parser.h"
#include "text.h"

namespace zarn::print {

// Writes 32-bit words, which are unsigned integers or the bits of floats.
class ValueWriter {
 public:
  // `format` is NUL-terminated and has to outlive this object.
  ValueWriter(const char* format, bool isFloat);

  // More than any value needs, except where write() gives null.
  std::size_t mostCharacters() const { return mostCharacters_; }

  // Writes the text of `word` where there is room for mostCharacters(), and returns its end. Null: that is not enough,
  // or not known to be, and the text is to be appended.
  char* write(char* at, std::uint32_t word) const;

  void append(Text& out, std::uint32_t word) const;

 private:
  Pieces pieces_;
  std::size_t mostCharacters_ = 0;
};

}  // namespace zarn::print
