#include "line_writer.h"

#include <cstdint>
#include <string_view>

namespace zarn::print {

void LineWriter::appendByPieces(std::string_view label, std::uint32_t word) {
  out_.append(label);
  values_.append(out_, word);
  out_.append("\n");
  out_.endLine(out_.end());
}

}  // namespace zarn::print
