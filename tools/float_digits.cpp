#include "float_digits.h"

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>
#include <version>  // IWYU pragma: keep, where it says nothing

#ifdef __cpp_lib_to_chars
#include <bit>
#include <charconv>
#include <cstdint>
#endif

namespace tool {
namespace {

// A positive number like "1.5e+03".
using Scientific = std::string;

// Tries one more digit at a time.
Scientific shortestByTrial(float value) {
  char text[32];
  for (int digits = 1; digits <= std::numeric_limits<float>::max_digits10; ++digits) {
    std::snprintf(text, sizeof text, "%.*e", digits - 1, static_cast<double>(value));
    if (std::strtof(text, nullptr) == value && static_cast<float>(std::strtod(text, nullptr)) == value) break;
  }
  return text;
}

#ifdef __cpp_lib_to_chars

// std::to_chars() finds the same digits at once, with few exceptions, which a comparison of all floats has shown. For a
// power of two, whose neighbours are closer on one side, it may give a number that has the fewest digits but isn't the
// nearest of its length. And 7.038531e-26 is read as one float directly, but as its neighbour through a double.
Scientific shortest(float value) {
  const auto bits = std::bit_cast<std::uint32_t>(value);
  const bool isPowerOfTwo = (bits & 0x7FFFFF) == 0;
  const bool isReadAsNeighbour = bits == 0x15AE43FD;
  if (isPowerOfTwo || isReadAsNeighbour) return shortestByTrial(value);
  char text[32];
  const auto [end, error] = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific);
  return {text, end};
}

#else

Scientific shortest(float value) { return shortestByTrial(value); }

#endif

}  // namespace

void appendFloat(std::string& out, float value) {
  if (std::isnan(value)) {
    out += "\"nan\"";
    return;
  }
  if (std::isinf(value)) {
    out += value < 0 ? "\"-inf\"" : "\"inf\"";
    return;
  }
  if (std::signbit(value)) out += '-';
  if (value == 0) {
    out += "0.0";
    return;
  }
  const Scientific text = shortest(std::fabs(value));
  const auto mark = text.find('e');
  const int exponent = static_cast<int>(std::strtol(text.c_str() + mark + 1, nullptr, 10));
  std::string digits = text.substr(0, 1);
  if (mark > 2) digits.append(text, 2, mark - 2);
  const int count = static_cast<int>(digits.size());
  const int point = exponent + 1;  // place of the decimal point among the digits
  const auto zeros = [](int number) { return std::string(static_cast<std::size_t>(number), '0'); };
  if (point < -3 || point > 15) {
    out += text;
  } else if (point <= 0) {
    out.append("0.").append(zeros(-point)).append(digits);
  } else if (point >= count) {
    out.append(digits).append(zeros(point - count)).append(".0");
  } else {
    out.append(digits, 0, static_cast<std::size_t>(point)).append(".").append(digits, static_cast<std::size_t>(point));
  }
}

}  // namespace tool
