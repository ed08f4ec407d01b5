// The decimal digits of floats.
#pragma once

#include <cstdint>

namespace zarn::print {

// A number from 1 to below 10 with eight digits after the point, times a power of ten; or 0.
struct DecimalFloat {
  std::uint32_t digits;  // all nine
  int exponent;
};

// Rounds the float with these bits, which is finite and not negative, to `digits` digits, 1 to 9; the remaining digits
// are 0. Rounds to nearest, ties to even.
DecimalFloat roundToDigits(std::uint32_t bits, int digits);

}  // namespace zarn::print
