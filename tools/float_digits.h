// Floats as JSON numbers.
#pragma once

#include <string>

namespace tool {

// Appends the number with the fewest digits that reads back as `value`, even through a double; for infinities and NaNs
// "inf", "-inf" or "nan", in quotes.
void appendFloat(std::string& out, float value);

}  // namespace tool
