// What the operations are timed on. All that is random is the same in every run.
#pragma once

#include <bit>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>

namespace bench {

inline void put(std::string& bytes, std::size_t at, std::uint32_t value, std::size_t width) {
  for (std::size_t i = 0; i < width; ++i) bytes[at + i] = static_cast<char>(value >> 8 * i);
}

// A print buffer whose first `threads` threads have a value; its format string is at offset 0 of the string table.
inline std::string printBuffer(std::uint32_t printKind, std::uint32_t dataType, std::uint32_t threads) {
  std::mt19937 random;
  const bool isFloat = dataType == 5 || dataType == 6;
  std::string buffer(620, '\0');
  put(buffer, 0, printKind | dataType << 6, 4);
  for (std::size_t offset = 4; offset < 24; offset += 4) put(buffer, offset, random() >> 16 & 0xFFFF, 4);
  for (std::size_t i = 0; i < threads / 4; ++i) put(buffer, 24 + i, 0x55, 1);
  for (std::size_t i = 0; i < 128; ++i) {
    const auto value = static_cast<std::uint32_t>(random() >> random() % 32);  // of any number of digits
    put(buffer, 44 + 4 * i, isFloat ? std::bit_cast<std::uint32_t>(static_cast<float>(value) / 256) : value, 4);
  }
  return buffer;
}

// A log of `entries` entries. Each has a descriptor of `units` units, or no header at all where that is 0, and a record
// for every two letters of `tags`.
inline std::string descriptorLog(std::uint32_t ringSize, std::uint32_t entries, std::uint32_t units,
                                 std::string_view tags) {
  std::mt19937 random;
  const std::uint32_t length = units * (tags == "ED" || tags == "GL" ? 64U : 128U);
  std::string log(ringSize + 64, '\0');
  std::uint32_t at = 0;
  for (std::uint32_t entry = 0; entry < entries; ++entry) {
    const std::uint32_t start = at;
    if (units != 0) {
      put(log, at, 0x5453 | units << 16, 4);
      for (std::uint32_t i = 0; i < length; ++i) put(log, at + 4 + i, i, 1);
      at += 4 + length;
    }
    for (std::size_t i = 0; i < tags.size(); i += 2, at += 8) {
      put(log, at, static_cast<std::uint32_t>(random()), 4);
      put(log, at + 4, start, 2);
      log.replace(at + 6, 2, tags.substr(i, 2));
    }
  }
  put(log, ringSize, at % ringSize, 2);
  put(log, ringSize + 4, at % ringSize, 4);
  return log;
}

// Instructions without an eDMA instruction, of which so many in a hundred are shorts and bundles. The others are words.
inline std::string kernel(std::size_t size, std::uint32_t shorts, std::uint32_t bundles) {
  std::mt19937 random;
  std::string bytes;
  while (bytes.size() < size) {
    const auto kind = random() % 100;
    const bool isShort = kind < shorts;
    const bool isBundle = !isShort && kind < shorts + bundles;
    constexpr std::uint32_t kOpcodes[] = {0x3B, 0x1F, 0x3F, 0x7F};  // of bundles of 1, 2, 3 and from 4 parcels
    const auto choice = static_cast<std::uint32_t>(random() % 4);
    const auto fields = static_cast<std::uint32_t>(random() & 0xFF80);
    const std::uint32_t head = fields | (isShort ? choice % 3 : isBundle ? kOpcodes[choice] : 0x13);
    const std::uint32_t more = isBundle && choice == 3 ? fields >> 12 & 7 : 0;
    const std::uint32_t parcels = isShort ? 0 : isBundle ? choice + 1 + more : 1;
    const std::size_t at = bytes.size();
    bytes.resize(at + 2 + 2 * parcels);
    put(bytes, at, head, 2);
    // Where bit 6 is never set, nothing is an eDMA instruction.
    for (std::size_t i = 1; i <= parcels; ++i) put(bytes, at + 2 * i, static_cast<std::uint32_t>(random() & 0xFFBF), 2);
  }
  bytes.resize(size);
  return bytes;
}

}  // namespace bench
