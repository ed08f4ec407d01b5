// Kernel binaries: checksums against values from xxhsum, and the scan over every form of bundle, up to the last byte
// before memory that can't be read.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <utility>

#include "inputs.h"
#include "reference.h"
#include "support.h"
#include "zarn_utility.h"

namespace {

using namespace zarn::inputs;

// From xxhsum of Debian's xxhash 0.8.1: the short path, exactly one stripe, and both kinds of tails.
TEST(Checksum, EqualsTheRecordedValues) {
  std::uint64_t stored = 0;
  EXPECT_EQ(clc_bin_compute_checksum(nullptr, 0, &stored), 0xEF46DB3751D8E999);
  EXPECT_EQ(stored, 0xEF46DB3751D8E999);
  std::string counting;
  for (char c = 0; c < 100; ++c) counting += c;
  constexpr std::pair<std::size_t, std::uint64_t> kRecorded[] = {
      {31, 0xC346D2B59B4D8EE1}, {32, 0xCBF59C5116FF32B4}, {63, 0xE26AA9E2A95F8E4F}, {100, 0x6AC1E58032166597}};
  for (const auto& [length, expected] : kRecorded) {
    const ExactBytes bytes(counting.substr(0, length), 1);
    EXPECT_EQ(clc_bin_compute_checksum(bytes.data(), bytes.size(), &stored), expected);
    EXPECT_EQ(stored, expected);
  }
  if (const GuardedBytes zeros((std::size_t{4} << 30) + 1); zeros) {
    EXPECT_EQ(clc_bin_compute_checksum(zeros.data(), zeros.size(), &stored), 0xC80072E34BB87D3B);
  }
}

// Scans bytes that end right before memory that can't be read. The reference must find the same.
int scan(const std::string& bytes) {
  const GuardedBytes guarded(bytes);
  const auto length = static_cast<std::int64_t>(guarded.size());
  const int found = clc_bin_has_edma_instr(guarded.data(), length);
  EXPECT_EQ(found, zarn::reference::hasEdma(guarded.data(), length));
  return found;
}

std::string hex(const std::string& digits) {
  std::string bytes;
  std::istringstream stream(digits);
  for (std::string digit; stream >> digit;) append(bytes, number("0x" + digit), 1);
  return bytes;
}

// Scans each stream alone, and after runs of each instruction that is not a bundle: long runs have a loop of their own.
TEST(EdmaScan, MatchesTheTable) {
  forEachRow("streams.txt", 3, [](const Row& row) {
    SCOPED_TRACE(row.place);
    const auto stream = hex(row[0]);
    const int expected = static_cast<int>(number(row[1]));
    EXPECT_EQ(scan(stream), expected);
    for (unsigned byte = 0; byte < 256; ++byte) {
      const unsigned opcode = byte & 0x7F;
      if (opcode == 0x1F || opcode == 0x3B || opcode == 0x3F || opcode == 0x7F) continue;
      std::string run;
      for (int count = 0; count < 22; ++count) {
        append(run, byte, (byte & 3) == 3 ? 4 : 2);
        ASSERT_EQ(scan(run + stream + std::string(40, '\0')), expected) << byte << ' ' << count;
      }
    }
  });
  const auto bundle = hex("1F 00 40 00 00 F9") + std::string(58, '\0');
  for (const std::int64_t length : {std::int64_t{0}, std::int64_t{-1}, INT64_MIN}) {
    EXPECT_EQ(clc_bin_has_edma_instr(bundle.data(), length), 0);
  }
  EXPECT_EQ(clc_bin_has_edma_instr(nullptr, 0), 0);
  EXPECT_EQ(clc_bin_has_edma_instr(bundle.data(), std::int64_t{1} << 32), 1);  // read no further
}

// The pattern at every parcel after every head, with just enough bytes to read for the longest instruction, and with
// fewer. It counts in bundles of 6 bytes with no counted parcel, of 8 with one, and of 10 to 24 with two to nine. There
// are one, three and 60 ways to count that many in three slots, each with every value that bits 12-14 are free to have.
// One of the last does not fit into 22 bytes.
TEST(EdmaScan, EveryHead) {
  for (const std::size_t length : {24U, 22U}) {
    GuardedBytes stream(length);
    std::size_t found = 0;
    for (unsigned head = 0; head < 0x10000; ++head) {
      for (std::size_t at = 2; at + 4 <= length; at += 2) {
        std::string bytes(length, '\0');
        put(bytes, 0, head, 2);
        put(bytes, at, 0xF9000040, 4);
        stream.write(0, bytes);
        const auto result = clc_bin_has_edma_instr(stream.data(), static_cast<std::int64_t>(length));
        ASSERT_EQ(result, zarn::reference::hasEdma(bytes.data(), static_cast<std::int64_t>(length)))
            << head << ' ' << at;
        found += static_cast<std::size_t>(result);
      }
    }
    EXPECT_EQ(found, 8 + 3 * 8 + 60 - (24 - length) / 2);
  }
}

TEST(EdmaScan, EveryPatternBitCountsAndNoOther) {
  for (unsigned bit = 0; bit < 32; ++bit) {
    auto bundle = kernel({0x1F, 0, 0});
    put(bundle, 2, 0xF9000040 ^ 1U << bit, 4);
    EXPECT_EQ(scan(bundle), bit != 6 && bit != 24 && bit < 27) << bit;
  }
}

TEST(EdmaScan, StopsAtAnyEnd) {
  const auto longest = kernel({0xFFFF, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x40, 0xF900});
  for (const auto& bundle : {longest, hex("FF 02 00 00 00 00 40 00 00 F9")}) {
    for (std::size_t shorts = 0; shorts < 30; ++shorts) {
      const auto stream = std::string(2 * shorts, '\0') + bundle;
      for (std::size_t length = 0; length <= stream.size(); ++length) {
        ASSERT_EQ(scan(stream.substr(0, length)), length == stream.size()) << shorts << ' ' << length;
      }
    }
  }
}

}  // namespace
