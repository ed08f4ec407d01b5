// Compares the library with the reference on thousands of inputs grown from random bytes, and on the fuzz corpus.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <ios>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "compare.h"
#include "inputs.h"
#include "support.h"

namespace {

using namespace zarn::inputs;

// Compares what seeds grow into: those of the fuzz target's corpus, and `count` random ones of less than `longest`
// bytes, the same in every run. Enough of them must be decoded.
void compareGrown(Comparison (*compare)(std::string_view), const std::string& target, int count, std::size_t longest) {
  std::vector<std::pair<std::string, std::string>> seeds;
  for (const auto& file : std::filesystem::directory_iterator(CORPUS + ('/' + target))) {
    std::ifstream stream(file.path(), std::ios::binary);
    seeds.emplace_back(file.path(), std::string(std::istreambuf_iterator<char>(stream), {}));
  }
  EXPECT_FALSE(seeds.empty());
  std::mt19937 random;
  for (int i = 0; i < count; ++i) {
    auto& seed = seeds.emplace_back("seed " + std::to_string(i), std::string(random() % longest, '\0')).second;
    for (char& c : seed) c = static_cast<char>(random());
  }
  const auto file = std::filesystem::absolute(target + ".seed").string();
  int decoded = 0;
  for (const auto& [name, seed] : seeds) {
    const AtWork work(name, seed, file);
    const auto [difference, isDecoded] = compare(seed);
    if (!difference.empty()) work.tell();
    ASSERT_EQ(difference, "");
    decoded += isDecoded;
  }
  EXPECT_GT(decoded, count / 6);
}

TEST(Reference, PrintBuffers) { compareGrown(compareGrownPrint, "print", 8000, 60); }
TEST(Reference, Logs) { compareGrown(compareGrownLog, "log", 12000, 60); }
TEST(Reference, Kernels) { compareGrown(compareGrownKernel, "kernel", 8000, 30); }

// Every size up to 300, with start offsets and write offsets around the limits of buffer and ring.
TEST(Reference, LogsBetweenGuardPages) {
  std::mt19937 random;
  std::size_t tag = 0;
  for (std::uint32_t size = 64; size <= 300; ++size) {
    std::vector<std::uint32_t> starts = {0, 1, 2, 3, 4, 8, size / 2};
    for (std::uint32_t i = 0; i <= 6; ++i) starts.push_back(size + 1 - i);
    std::vector<std::uint32_t> writeOffsets = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, size / 2, size, 0xFFFF};
    for (std::uint32_t i = 58; i <= 72; ++i) writeOffsets.push_back(size - i);
    for (const auto start : starts) {
      for (const auto writeOffset : writeOffsets) {
        std::string log(size, '\0');
        for (char& c : log) c = static_cast<char>(random());
        putTrailer(log, writeOffset, writeOffset);
        if (size > 64) {
          if (start < size) log.replace(start, 4, headerBytes(random() % 3), 0, size - start);
          putNewest(log, writeOffset, start, kTags[tag++ % kTagCount], static_cast<std::uint32_t>(random()));
        }
        using enum GuardedBytes::Guard;
        const GuardedBytes guarded(log, tag / kTagCount % 2 == 0 ? kBehind : kInFront);
        const auto name = std::to_string(size) + ' ' + std::to_string(start) + ' ' + std::to_string(writeOffset);
        const AtWork work(name);
        ASSERT_EQ(compareLog(guarded.data(), size), "") << name;
      }
    }
  }
}

}  // namespace
