// The inputs of the benchmarks. Random data is the same in every run.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <random>
#include <string>
#include <string_view>

#include "inputs.h"

namespace bench {

// A print buffer whose first `threads` threads have a value; its format string is at offset 0 of the string table. With
// `values`, the data cycles through these instead of random ones.
inline std::string printBuffer(std::uint32_t printKind, std::uint32_t dataType, std::uint32_t threads,
                               std::initializer_list<float> values = {}) {
  std::mt19937 random;
  const auto shortNumber = [&random] { return static_cast<std::uint32_t>(random() >> 16 & 0xFFFF); };
  const bool isFloat = dataType == 5 || dataType == 6;
  zarn::inputs::PrintBuffer print;
  print.headerWord = zarn::inputs::headerWord(printKind, dataType);
  print.currentTime = shortNumber();
  print.totalSize = shortNumber();
  print.graphId = shortNumber();
  print.kernelId = shortNumber();
  print.instanceId = shortNumber();
  for (std::uint32_t thread = 0; thread < threads; ++thread) print.submasks[thread / 16] |= 1U << 2 * (thread % 16);
  for (auto& word : print.data) {
    const auto value = static_cast<std::uint32_t>(random() >> random() % 32);  // of any number of digits
    // Avoids a low byte of 0, with which %c would end the text.
    const std::uint32_t integer = (value & 0xFF) == 0 ? value | 1 : value;
    word = isFloat ? std::bit_cast<std::uint32_t>(static_cast<float>(value) / 256) : integer;
  }
  for (std::size_t i = 0; i < print.data.size() && values.size() != 0; ++i) {
    print.data[i] = std::bit_cast<std::uint32_t>(values.begin()[i % values.size()]);
  }
  return print.bytes();
}

// A log of `entries` entries. Each has a descriptor of `units` units, or no header at all if that is 0, and a record
// for every two letters of `tags`.
inline std::string descriptorLog(std::uint32_t ringSize, std::uint32_t entries, std::uint32_t units,
                                 std::string_view tags, std::uint32_t pcBits = 0xFFFFFFFF) {
  std::mt19937 random;
  zarn::inputs::LogWriter writer(ringSize);
  for (std::uint32_t entry = 0; entry < entries; ++entry) {
    writer.setStart(writer.writeOffset());
    if (units != 0) {
      writer.header(units);
      writer.descriptor(units * (tags == "ED" || tags == "GL" ? 64U : 128U));
    }
    for (std::size_t i = 0; i < tags.size(); i += 2) writer.record(random() & pcBits, tags.substr(i, 2));
  }
  return writer.log();
}

// Instructions, none of them eDMA: `shorts` % shorts, `bundles` % bundles, the rest words.
inline std::string kernel(std::size_t size, std::uint32_t shorts, std::uint32_t bundles) {
  std::mt19937 random;
  std::string bytes;
  while (bytes.size() < size) {
    const auto kind = random() % 100;
    const bool isShort = kind < shorts;
    const bool isBundle = !isShort && kind < shorts + bundles;
    constexpr std::uint32_t kOpcodes[] = {0x3B, 0x1F, 0x3F, 0x7F};  // bundles of 1, 2, 3, and 4 or more parcels
    const auto choice = static_cast<std::uint32_t>(random() % 4);
    const auto fields = static_cast<std::uint32_t>(random() & 0xFF80);
    const std::uint32_t head = fields | (isShort ? choice % 3 : isBundle ? kOpcodes[choice] : 0x13);
    const std::uint32_t more = isBundle && choice == 3 ? fields >> 12 & 7 : 0;
    const std::uint32_t parcels = isShort ? 0 : isBundle ? choice + 1 + more : 1;
    zarn::inputs::append(bytes, head, 2);
    // With bit 6 never set, nothing is an eDMA instruction.
    for (std::size_t i = 0; i < parcels; ++i) zarn::inputs::append(bytes, random() & 0xFFBF, 2);
  }
  bytes.resize(size);
  return bytes;
}

}  // namespace bench
