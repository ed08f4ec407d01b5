// The library against the reference, on a few thousand inputs that random bytes grow into, and on the fuzz corpus.

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
#include <vector>

#include "compare.h"
#include "inputs.h"
#include "support.h"

namespace {

using namespace zarn::inputs;

// Compares what `count` seeds of up to `longest` bytes grow into, the same in every run. Enough have to be decoded.
void compareGrown(Comparison (*compare)(std::string_view), int count, std::size_t longest) {
  std::mt19937 random;
  int decoded = 0;
  for (int i = 0; i < count; ++i) {
    std::string seed(random() % longest, '\0');
    for (char& c : seed) c = static_cast<char>(random());
    const auto [difference, isDecoded] = compare(seed);
    ASSERT_EQ(difference, "") << "seed " << i;
    decoded += isDecoded;
  }
  EXPECT_GT(decoded, count / 6);
}

TEST(Reference, PrintBuffers) { compareGrown(compareGrownPrint, 8000, 60); }
TEST(Reference, Logs) { compareGrown(compareGrownLog, 12000, 60); }
TEST(Reference, Kernels) { compareGrown(compareGrownKernel, 8000, 30); }

// Inputs of the fuzz targets that are worth keeping.
void compareCorpus(Comparison (*compare)(std::string_view), const char* target) {
  int count = 0;
  for (const auto& file : std::filesystem::directory_iterator(std::string(CORPUS "/") + target)) {
    std::ifstream stream(file.path(), std::ios::binary);
    const std::string seed(std::istreambuf_iterator<char>(stream), {});
    EXPECT_EQ(compare(seed).difference, "") << file.path();
    ++count;
  }
  EXPECT_GT(count, 0);
}

TEST(Corpus, PrintBuffers) { compareCorpus(compareGrownPrint, "print"); }
TEST(Corpus, Logs) { compareCorpus(compareGrownLog, "log"); }
TEST(Corpus, Kernels) { compareCorpus(compareGrownKernel, "kernel"); }

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
