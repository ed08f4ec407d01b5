// The text of a print buffer, with the values that it shows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "text.h"
#include "text_parts.h"
#include "zarn_utility.h"

namespace zarn::print {

// A value, and the part of the text that its format produced.
struct ShownValue {
  Place place;
  std::uint32_t word;
  std::size_t begin;
  std::size_t end;
};

// Appends the text to `out`, which must be empty, and lists the values in order.
std::vector<ShownValue> appendTextAndList(Text& out, const PrintBufInfo& info);

}  // namespace zarn::print
