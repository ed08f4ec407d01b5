// Print buffers with any header and any format.

#include <cstddef>
#include <cstdint>

#include "fuzz.h"
#include "grow.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Share share{"decoded"};
  const auto input = zarn::inputs::growPrint(zarn::inputs::Seed(data, size));
  const ExactBytes buffer(input.buffer, size % 4);
  const ExactBytes table(input.stringTable);
  share.count(zarn::reference::printHeader(buffer.data(), buffer.size(), table.data(), table.size()).has_value());
  requireNone(comparePrint(buffer.data(), buffer.size(), table.data(), table.size()));
  return 0;
}
