// Floats that {fmt} writes.
#pragma once

#include "format_parser.h"
#include "text.h"

namespace zarn::print {

void appendByFmt(Text& out, const Conversion& conversion, float value);

}  // namespace zarn::print
