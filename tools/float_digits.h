// Floats as JSON numbers.
#pragma once

#include <string>

namespace tool {

// Appends the number with the fewest digits that reads back to `value`, also through a double; "inf", "-inf" or "nan",
// in quotes, where there is none.
void appendFloat(std::string& out, float value);

}  // namespace tool
