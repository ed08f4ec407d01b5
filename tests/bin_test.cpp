// Kernel binaries: checksums against values of xxhsum, and the scan over every form of bundle.

#include <gtest/gtest.h>

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

TEST(Checksum, EqualsTheRecordedValues) {
  EXPECT_EQ(checksum("a"), 0xD24EC4F1A98C6E5B);
  EXPECT_EQ(checksum("abc"), 0x44BC2CF5AD770999);
  std::uint64_t stored = 0;
  EXPECT_EQ(clc_bin_compute_checksum(nullptr, 0, &stored), 0xEF46DB3751D8E999);

  for (const auto& row : readCases("xxh64.txt", 2)) {
    std::string bytes(std::stoul(row[0]), '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i);
    EXPECT_EQ(checksum(bytes), std::stoul(row[1], nullptr, 16)) << row[0];
  }
}

int scan(const std::string& bytes) {
  const ExactBytes exact(bytes);
  return clc_bin_has_edma_instr(exact.data(), static_cast<std::int64_t>(exact.size()));
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

TEST(EdmaScan, StopsAtTheEndWhereverItFalls) {
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
