// Kernel binaries: checksums against values of xxhsum, and the scan over every form of bundle, up to the last byte
// before memory that can't be read.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "inputs.h"
#include "support.h"
#include "zarn_utility.h"

namespace {

using namespace zarn::inputs;

std::uint64_t checksum(const std::string& bytes) {
  const ExactBytes exact(bytes, 1);
  std::uint64_t stored = 0;
  const std::uint64_t returned = clc_bin_compute_checksum(exact.data(), exact.size(), &stored);
  EXPECT_EQ(returned, stored);
  return returned;
}

// As xxhsum of Debian's xxhash 0.8.1 prints them: the short path, exactly one stripe, and both kinds of tails.
TEST(Checksum, EqualsTheRecordedValues) {
  std::uint64_t stored = 0;
  EXPECT_EQ(clc_bin_compute_checksum(nullptr, 0, &stored), 0xEF46DB3751D8E999);
  EXPECT_EQ(stored, 0xEF46DB3751D8E999);
  EXPECT_EQ(checksum("a"), 0xD24EC4F1A98C6E5B);
  EXPECT_EQ(checksum("abc"), 0x44BC2CF5AD770999);
  std::string counting;
  for (char c = 0; c < 100; ++c) counting += c;
  EXPECT_EQ(checksum(counting.substr(0, 31)), 0xC346D2B59B4D8EE1);
  EXPECT_EQ(checksum(counting.substr(0, 32)), 0xCBF59C5116FF32B4);
  EXPECT_EQ(checksum(counting.substr(0, 63)), 0xE26AA9E2A95F8E4F);
  EXPECT_EQ(checksum(counting), 0x6AC1E58032166597);
  if (const GuardedBytes zeros((std::size_t{4} << 30) + 1); zeros) {
    EXPECT_EQ(clc_bin_compute_checksum(zeros.data(), zeros.size(), &stored), 0xC80072E34BB87D3B);
  }
}

int scan(const std::string& bytes) {
  const GuardedBytes guarded(bytes);
  return clc_bin_has_edma_instr(guarded.data(), static_cast<std::int64_t>(guarded.size()));
}

std::string hex(const std::string& digits) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 3) {
    bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
  }
  return bytes;
}

TEST(EdmaScan, KnownStreams) {
  for (const auto& row : readCases("streams.txt", 2)) EXPECT_EQ(scan(hex(row[0])), std::stoi(row[1])) << row[0];
  for (const std::int64_t length : {std::int64_t{0}, std::int64_t{-1}, INT64_MIN}) {
    EXPECT_EQ(clc_bin_has_edma_instr(nullptr, length), 0);
  }
  const auto bundle = hex("1F 00 40 00 00 F9") + std::string(58, '\0');  // read no further, whatever the length
  EXPECT_EQ(clc_bin_has_edma_instr(bundle.data(), std::int64_t{1} << 32), 1);
}

// Every opcode, length extension and count of the three slots, with the pattern at every parcel of the bundle.
TEST(EdmaScan, OnlyAFinalSlotOfTwoParcelsCounts) {
  const auto check = [](unsigned opcode, unsigned extension, unsigned length) {
    for (unsigned slots = 0; slots < 64; ++slots) {
      const unsigned a = slots & 3, b = slots >> 2 & 3, c = slots >> 4;
      const unsigned counted = a + b + c;
      for (unsigned at = 2; at + 4 <= length; at += 2) {
        std::string bundle(length, '\0');
        put(bundle, 0, bundleHead(opcode, a, b, c, extension), 2);
        put(bundle, at, 0xF9000040, 4);
        const bool expected = length == 2 + 2 * counted + 4 && at == 2 + 2 * counted;
        ASSERT_EQ(scan(bundle), expected) << opcode << ' ' << slots << ' ' << at;
        ASSERT_EQ(scan(std::string(26, '\1') + bundle), expected);
      }
    }
  };
  for (unsigned extension = 0; extension < 8; ++extension) {
    check(31, extension, 6);
    check(59, extension, 4);
    check(63, extension, 8);
    check(127, extension, 10 + 2 * extension);
  }
}

TEST(EdmaScan, EveryBitOfThePatternCountsAndNoOther) {
  for (unsigned bit = 0; bit < 32; ++bit) {
    const std::uint32_t word = 0xF9000040 ^ 1U << bit;
    const bool expected = bit != 6 && bit != 24 && bit < 27;
    const auto parcel = [](std::uint32_t value) { return static_cast<std::uint16_t>(value); };
    EXPECT_EQ(scan(kernel({0x1F, parcel(word), parcel(word >> 16)})), expected) << bit;
  }
}

// Runs of equal instructions are gone over in a way of their own.
TEST(EdmaScan, SeesEveryBundleBehindALongRun) {
  for (unsigned byte = 0; byte < 256; ++byte) {
    const bool isShort = (byte & 3) != 3;
    const unsigned opcode = byte & 0x7F;
    if (opcode == 0x1F || opcode == 0x3B || opcode == 0x3F || opcode == 0x7F) continue;  // bundles
    for (std::size_t count = 14; count < 22; ++count) {
      std::string run;
      for (std::size_t i = 0; i < count; ++i) append(run, byte, isShort ? 2 : 4);
      for (const char* bundle : {"1F 00 40 00 00 F9", "BF 00 00 00 40 00 00 F9", "FF 02 00 00 00 00 40 00 00 F9"}) {
        ASSERT_EQ(scan(run + hex(bundle) + std::string(40, '\0')), 1) << byte << ' ' << count;
      }
      ASSERT_EQ(scan(run + "prot" + kernel({0x1F, 0x40, 0xF900}) + std::string(40, '\0')), 0) << byte << ' ' << count;
    }
  }
}

TEST(EdmaScan, StopsAtTheEndWhereverItFalls) {
  const auto longest = kernel({0xFFFF, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x40, 0xF900});
  for (std::size_t length = 0; length <= longest.size(); ++length) {
    ASSERT_EQ(scan(longest.substr(0, length)), length == longest.size()) << length;
  }
  const auto bundle = hex("FF 02 00 00 00 00 40 00 00 F9");
  for (std::size_t shorts = 0; shorts < 30; ++shorts) {
    const auto stream = std::string(2 * shorts, '\0') + bundle;
    for (std::size_t length = 0; length <= stream.size(); ++length) {
      ASSERT_EQ(scan(stream.substr(0, length)), length == stream.size()) << shorts << ' ' << length;
    }
    for (std::size_t marker = 0; marker < 2 * shorts; marker += 2) {
      auto marked = std::string(2 * shorts + 4, '\0') + bundle;
      marked.replace(marker, 4, "prot");
      ASSERT_EQ(scan(marked), 0) << shorts << ' ' << marker;
      marked[marker + 2] = '\0';
      ASSERT_EQ(scan(marked), 1) << shorts << ' ' << marker;
    }
  }
}

}  // namespace
