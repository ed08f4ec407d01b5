// The library against the reference, on a few thousand inputs that random bytes grow into.

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <random>

#include "compare.h"
#include "generate.h"
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
  forSeeds(3000, 60, [](Seed seed) {
    const auto input = growPrint(seed);
    const ExactBytes buffer(input.buffer, input.stringTable.size() % 4);
    const ExactBytes table(input.stringTable);
    return comparePrint(buffer.data(), buffer.size(), table.data(), table.size());
  });
}

TEST(Reference, Logs) {
  forSeeds(6000, 60, [](Seed seed) {
    const auto bytes = growLog(seed);
    const ExactBytes log(bytes, bytes.size() % 2);
    return compareLog(log.data(), log.size());
  });
}

// Memory whose first and last byte have nothing readable before and behind them.
class GuardedBytes {
 public:
  GuardedBytes() : page_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))) {
    void* memory = mmap(nullptr, 3 * page_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) std::abort();
    bytes_ = static_cast<char*>(memory) + page_;
    if (mprotect(bytes_, page_, PROT_READ | PROT_WRITE) != 0) std::abort();
  }
  ~GuardedBytes() { munmap(bytes_ - page_, 3 * page_); }
  GuardedBytes(const GuardedBytes&) = delete;
  GuardedBytes& operator=(const GuardedBytes&) = delete;

  const char* atStart(const std::string& bytes) { return put(bytes, 0); }
  const char* atEnd(const std::string& bytes) { return put(bytes, page_ - bytes.size()); }

 private:
  const char* put(const std::string& bytes, std::size_t at) {
    return static_cast<const char*>(std::memcpy(bytes_ + at, bytes.data(), bytes.size()));
  }

  std::size_t page_;
  char* bytes_;
};

// Every size, with start offsets and write offsets round the limits of buffer and ring.
TEST(Reference, LogsBetweenGuardPages) {
  constexpr std::string_view kTags[] = {"ED", "GL", "RB", "NP", "EL", "RL"};
  GuardedBytes memory;
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
        ASSERT_EQ(compareLog(memory.atStart(log), size), "") << size << ' ' << start << ' ' << writeOffset;
        ASSERT_EQ(compareLog(memory.atEnd(log), size), "") << size << ' ' << start << ' ' << writeOffset;
      }
    }
  }
}

}  // namespace
