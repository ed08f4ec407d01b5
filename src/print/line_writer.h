// Lines of a label and a value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "text.h"
#include "value_writer.h"

namespace zarn::print {

class LineWriter {
 public:
  // `format` is NUL-terminated and has to outlive this object. That many lines are to come.
  LineWriter(Text& out, const char* format, bool isFloat, std::uint32_t lines)
      : out_(out), values_(format, isFloat), maxLine_(kMaxLabel + values_.mostCharacters() + 1) {
    out_.expectLines(lines);
  }

  // `writeLabel` writes at most kMaxLabel characters and returns their end. A line asks for room once: for as much as
  // the longest one needs.
  template <typename WriteLabel>
  void append(WriteLabel writeLabel, std::uint32_t word) {
    if (out_.room() >= maxLine_) {
      if (char* const end = values_.write(writeLabel(out_.end()), word); end != nullptr) {
        *end = '\n';
        out_.endLine(end + 1);
        return;
      }
    }
    char label[kMaxLabel];
    appendByPieces({label, static_cast<std::size_t>(writeLabel(label) - label)}, word);
  }

 private:
  static constexpr std::size_t kMaxLabel = 32;

  // A line that has less room may need less as well, and no memory is taken before it has to be.
  void appendByPieces(std::string_view label, std::uint32_t word);

  Text& out_;
  ValueWriter values_;
  std::size_t maxLine_;  // more than any line needs, except where ValueWriter::write() gives null
};

}  // namespace zarn::print
