// The library against the reference, on a few thousand inputs that random bytes grow into.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "compare.h"
#include "grow.h"
#include "inputs.h"
#include "support.h"

namespace {

using namespace zarn::inputs;

// Calls check(seed) for `count` seeds of up to `longest` bytes, the same in every run.
template <typename Check>
void forSeeds(int count, std::size_t longest, Check check) {
  std::mt19937 random;
  for (int i = 0; i < count; ++i) {
    std::string seed(random() % longest, '\0');
    for (char& c : seed) c = static_cast<char>(random());
    const auto difference = check(Seed(reinterpret_cast<const std::uint8_t*>(seed.data()), seed.size()));
    ASSERT_EQ(difference, "") << "seed " << i;
  }
}

TEST(Reference, PrintBuffers) {
  forSeeds(8000, 60, [](Seed seed) {
    const auto input = growPrint(seed);
    const ExactBytes buffer(input.buffer, input.stringTable.size() % 4);
    const ExactBytes table(input.stringTable);
    return comparePrint(buffer.data(), buffer.size(), table.data(), table.size());
  });
}

TEST(Reference, Logs) {
  forSeeds(12000, 60, [](Seed seed) {
    const auto bytes = growLog(seed);
    const ExactBytes log(bytes, bytes.size() % 2);
    return compareLog(log.data(), log.size());
  });
}

TEST(Reference, Kernels) {
  forSeeds(8000, 30, [](Seed seed) {
    const ExactBytes kernel(growKernel(seed), 1);
    return compareKernel(kernel.data(), kernel.size());
  });
}

// Every size, with start offsets and write offsets round the limits of buffer and ring.
TEST(Reference, LogsBetweenGuardPages) {
  constexpr std::string_view kTags[] = {"ED", "GL", "RB", "NP", "EL", "RL"};
  std::mt19937 random;
  std::size_t tag = 0;
  for (std::uint32_t size = 64; size <= 300; ++size) {
    std::vector<std::uint32_t> starts = {0, 1, 2, 3, 4, 8, size / 2};
    for (std::uint32_t i = 0; i <= 5; ++i) starts.push_back(size - i);
    starts.push_back(size + 1);
    std::vector<std::uint32_t> writeOffsets = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, size / 2, size, 0xFFFF};
    for (std::uint32_t i = 58; i <= 72; ++i) writeOffsets.push_back(size - i);
    for (const auto start : starts) {
      for (const auto writeOffset : writeOffsets) {
        std::string log(size, '\0');
        for (char& c : log) c = static_cast<char>(random());
        putTrailer(log, writeOffset, writeOffset);
        if (size > 64) {
          const auto ring = [size](std::uint32_t position) { return position % (size - 64); };
          if (start < size) log.replace(start, 4, headerBytes(random() % 3), 0, size - start);
          log.resize(size);
          put(log, ring(writeOffset - 4), start, 2);
          log.replace(ring(writeOffset - 2), 2, kTags[tag++ % 6]);
        }
        using enum GuardedBytes::Guard;
        const GuardedBytes guarded(log, tag / 6 % 2 == 0 ? kBehind : kInFront);
        ASSERT_EQ(compareLog(guarded.data(), size), "") << size << ' ' << start << ' ' << writeOffset;
      }
    }
  }
}

}  // namespace
