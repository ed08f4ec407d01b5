#include "decimal_float.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace zarn::print {
namespace {

__extension__ using Uint128 = unsigned __int128;

// 10^exponent is `significand` * 2^(floorLog2(10^exponent) - 127): exact from 10^0 on, and rounded up below.
struct PowerOfTen {
  std::uint64_t high;  // upper half of the significand, whose highest bit is set
  std::uint64_t low;
};

// Logarithms, rounded down. The assertions below prove them for all arguments that occur.
constexpr int floorLog2OfPowerOfTen(int exponent) { return exponent * 217706 >> 16; }
constexpr int floorLog10OfPowerOfTwo(int exponent) { return exponent * 78913 >> 18; }

// The binary exponents of floats, and the powers of ten that are needed: from one digit of the largest float to nine
// digits of the smallest.
constexpr int kMinExponent = -149;
constexpr int kMaxExponent = 127;
constexpr int kMinPower = -floorLog10OfPowerOfTwo(kMaxExponent);
constexpr int kMaxPower = 8 - floorLog10OfPowerOfTwo(kMinExponent);

constexpr int bitWidth(Uint128 number) {
  const auto high = static_cast<std::uint64_t>(number >> 64);
  return static_cast<int>(high != 0 ? 64 + std::bit_width(high) : std::bit_width(static_cast<std::uint64_t>(number)));
}

constexpr Uint128 powerOfFive(int exponent) {
  Uint128 power = 1;
  for (int i = 0; i < exponent; ++i) power *= 5;
  return power;
}

// The first 128 bits of 1 / divisor, rounded up; the divisor is not a power of two.
constexpr Uint128 reciprocal(Uint128 divisor) {
  Uint128 quotient = 0;
  Uint128 rest = Uint128{1} << bitWidth(divisor);
  for (int bit = 0; bit < 128; ++bit) {
    quotient <<= 1;
    if (rest >= divisor) {
      rest -= divisor;
      quotient |= 1;
    }
    rest <<= 1;
  }
  return quotient + 1;
}

constexpr auto kPowersOfTen = [] {
  std::array<PowerOfTen, kMaxPower - kMinPower + 1> powers{};
  for (int exponent = kMinPower; exponent <= kMaxPower; ++exponent) {
    const Uint128 five = powerOfFive(exponent < 0 ? -exponent : exponent);
    const Uint128 significand = exponent < 0 ? reciprocal(five) : five << (128 - bitWidth(five));
    powers[static_cast<std::size_t>(exponent - kMinPower)] = {static_cast<std::uint64_t>(significand >> 64),
                                                              static_cast<std::uint64_t>(significand)};
  }
  return powers;
}();

static_assert(std::all_of(kPowersOfTen.begin(), kPowersOfTen.end(),
                          [](PowerOfTen power) { return power.high >> 63 != 0; }));

static_assert([] {
  for (int exponent = floorLog10OfPowerOfTwo(kMinExponent); exponent <= kMaxPower; ++exponent) {
    const int bits = bitWidth(powerOfFive(exponent < 0 ? -exponent : exponent));
    if (floorLog2OfPowerOfTen(exponent) != exponent + (exponent < 0 ? -bits : bits - 1)) return false;
  }
  return true;
}());

// A float from 2^exponent to below 2^(exponent + 1) has the decimal exponent guessed here, or the next one.
static_assert([] {
  for (int exponent = kMinExponent; exponent <= kMaxExponent; ++exponent) {
    const int guess = floorLog10OfPowerOfTwo(exponent);
    const bool isBelow = guess == 0 || floorLog2OfPowerOfTen(guess) < exponent;
    if (!isBelow || floorLog2OfPowerOfTen(guess + 2) <= exponent) return false;
  }
  return true;
}());

constexpr std::uint64_t kOneWithDigits[] = {0,       1,         10,         100,         1'000,        10'000,
                                            100'000, 1'000'000, 10'000'000, 100'000'000, 1'000'000'000};

}  // namespace

DecimalFloat roundToDigits(std::uint32_t bits, int digits) {
  if (bits == 0) return {0, 0};
  // The number is significand * 2^(binaryExponent - 63), and the significand's highest bit is set.
  const std::uint64_t fraction = bits & 0x7FFFFF;
  const auto biased = static_cast<int>(bits >> 23);
  const int shift = biased == 0 ? std::countl_zero(fraction) : 40;
  const std::uint64_t significand = (biased == 0 ? fraction : fraction | 0x800000) << shift;
  const int binaryExponent = biased == 0 ? -86 - shift : biased - 127;

  int exponent = floorLog10OfPowerOfTwo(binaryExponent);
  const int power = digits - 1 - exponent;
  const auto& [high, low] = kPowersOfTen[static_cast<std::size_t>(power - kMinPower)];

  // The upper 64 of the 192 bits of significand * power of ten. The others are never needed: if these end in exactly
  // one half, nothing follows but what the power was rounded up by. This was checked for every float and every number
  // of digits.
  const Uint128 upper = Uint128{significand} * high + (Uint128{significand} * low >> 64);
  const auto top = static_cast<std::uint64_t>(upper >> 64);

  // These 64 bits begin with an integer of `digits` digits, or one more.
  const int fractionBits = 62 - binaryExponent - floorLog2OfPowerOfTen(power);
  std::uint64_t number = top >> fractionBits;
  const std::uint64_t rest = top << (64 - fractionBits);
  const std::uint64_t one = kOneWithDigits[digits];
  bool isUp;
  if (number < 10 * one) {
    constexpr std::uint64_t kHalf = std::uint64_t{1} << 63;
    isUp = rest > kHalf || (rest == kHalf && (number & 1) != 0);
  } else {
    const std::uint64_t last = number % 10;
    number /= 10;
    ++exponent;
    isUp = last > 5 || (last == 5 && (rest != 0 || (number & 1) != 0));
  }
  number += isUp ? 1 : 0;
  if (number == 10 * one) {
    number = one;
    ++exponent;
  }
  return {static_cast<std::uint32_t>(number * kOneWithDigits[10 - digits]), exponent};
}

}  // namespace zarn::print
