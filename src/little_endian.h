// Little-endian words at any alignment. Compilers turn each into one load where the processor allows it.
#pragma once

#include <cstdint>

namespace zarn {

constexpr std::uint16_t loadU16(const std::uint8_t* bytes) {
  return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}

constexpr std::uint32_t loadU32(const std::uint8_t* bytes) {
  return loadU16(bytes) | static_cast<std::uint32_t>(loadU16(bytes + 2)) << 16;
}

}  // namespace zarn
