#include "line_writer.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zarn::print {

void LineWriter::appendByPieces(std::string_view label, std::uint32_t word) {
  out_.append(label);
  char value[128];
  char* const end = maxLine_ <= sizeof value ? values_.write(value, word) : nullptr;
  if (end != nullptr) {
    out_.append({value, static_cast<std::size_t>(end - value)});
  } else {
    values_.append(out_, word);
  }
  out_.append("\n");
  out_.endLine(out_.end());
}

}  // namespace zarn::print
