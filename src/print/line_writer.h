// Writes lines of a label and a value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "text.h"
#include "value_writer.h"

namespace zarn::print {

class LineWriter {
 public:
  static constexpr std::size_t kMaxLabel = 32;

  // `format` is NUL-terminated and must outlive this object. `lines` lines will be appended.
  LineWriter(Text& out, const char* format, bool isFloat, std::uint32_t lines)
      : out_(out), values_(format, isFloat), maxLine_(kMaxLabel + values_.maxCharacters() + 1) {
    out_.expectLines(lines);
  }

  // `writeLabel` writes at most kMaxLabel characters and returns their end. A line is written in place if there is room
  // for the longest one. Written piece by piece, with a check for room at each, most lines took 1.4 to 2.6 times as
  // long.
  template <typename WriteLabel>
  void append(WriteLabel writeLabel, std::uint32_t word) {
    if (out_.room() < maxLine_) [[unlikely]] {
      char label[kMaxLabel];
      appendByPieces({label, static_cast<std::size_t>(writeLabel(label) - label)}, word);
      return;
    }
    char* const end = values_.write(writeLabel(out_.end()), word);
    *end = '\n';
    out_.endLine(end + 1);
  }

 private:
  // A line that may not fit is appended piece by piece, so that memory is taken only if needed: the longest line can be
  // 2 GiB, but most are much shorter.
  void appendByPieces(std::string_view label, std::uint32_t word);

  Text& out_;
  ValueWriter values_;
  std::size_t maxLine_;
};

}  // namespace zarn::print
