#include "shown_values.h"

#include <cstddef>
#include <cstdint>
#include <vector>

#include "line_writer.h"
#include "text.h"
#include "text_parts.h"
#include "zarn_utility.h"

namespace zarn::print {
namespace {

class ListedLines : public LineWriter {
 public:
  ListedLines(Text& out, const char* format, bool isFloat, std::uint32_t lines, std::vector<ShownValue>& values)
      : LineWriter(out, format, isFloat, lines), out_(out), values_(values) {}

  template <typename WriteLabel>
  void append(const Place& place, WriteLabel writeLabel, std::uint32_t word) {
    char label[kMaxLabel];
    const std::size_t begin = out_.view().size() + static_cast<std::size_t>(writeLabel(label) - label);
    LineWriter::append(writeLabel, word);
    values_.push_back({place, word, begin, out_.view().size() - 1});  // without the line end
  }

 private:
  Text& out_;
  std::vector<ShownValue>& values_;
};

}  // namespace

std::vector<ShownValue> appendTextAndList(Text& out, const PrintBufInfo& info) {
  std::vector<ShownValue> values;
  appendTextBy<ListedLines>(out, info, values);
  return values;
}

}  // namespace zarn::print
