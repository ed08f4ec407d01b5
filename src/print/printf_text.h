// The text of a print buffer.
#pragma once

#include "text.h"
#include "zarn_utility.h"

namespace zarn::print {

// Appends the text to `out`, which must be empty.
void appendText(Text& out, const PrintBufInfo& info);

}  // namespace zarn::print
