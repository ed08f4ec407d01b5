// Input that changes during a call, as it does while a device still writes: any mixture may come out, but memory stays
// intact, which AddressSanitizer checks, and the call ends.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "grow.h"
#include "inputs.h"
#include "support.h"
#include "zarn_utility.h"

namespace {

using namespace zarn::inputs;

// Bytes that a thread keeps switching between two contents of the same size.
class ChangingBytes {
 public:
  ChangingBytes(const std::string& one, const std::string& other) : bytes_(one) {
    for (std::size_t i = 0; i < one.size(); ++i) {
      if (one[i] != other[i]) changes_.push_back({const_cast<char*>(bytes_.data()) + i, {one[i], other[i]}});
    }
    writer_ = std::thread([this] {
      for (unsigned time = 0; !isDone_; ++time) {
        for (const auto& change : changes_) __atomic_store_n(change.at, change.values[time % 2], __ATOMIC_RELAXED);
        isStarted_ = true;
      }
    });
    while (!isStarted_) std::this_thread::yield();
  }
  ~ChangingBytes() {
    isDone_ = true;
    writer_.join();
  }
  const char* data() const { return bytes_.data(); }
  std::size_t size() const { return bytes_.size(); }

 private:
  struct Change {
    char* at;
    char values[2];
  };
  ExactBytes bytes_;
  std::vector<Change> changes_;
  std::atomic<bool> isStarted_ = false;
  std::atomic<bool> isDone_ = false;
  std::thread writer_;
};

void decode(const char* log, std::size_t size) {
  if (DescBufInfo* newest = db_get_desc_buffer_info(log, size)) db_free_desc_buffer_info(&newest);
  std::uint32_t count = 0;
  DescBufInfo** const all = db_get_desc_buffer_info_array(log, size, &count);
  db_free_desc_buffer_info_array(all, static_cast<std::int32_t>(count));
  for (const auto report : {db_get_desc_string, db_get_desc_string_array}) {
    const auto text = textOf([&] { return report(log, size); }, db_free_desc_string);
    EXPECT_EQ(text.find('\0'), std::string::npos);
  }
}

TEST(ChangingInput, LogOfPcsWithOneOrTenDigits) {
  LogWriter one(4096), other(4096);
  for (std::uint32_t i = 0; i < 512; ++i) {
    one.record(1, i % 3 == 0 ? "EL" : "NP");
    other.record(0xFFFFFFFF, i % 3 == 0 ? "EL" : "NP");
  }
  const long before = liveAllocations();
  {
    const ChangingBytes log(one.log(), other.log());
    for (int i = 0; i < 300; ++i) decode(log.data(), log.size());
  }
  EXPECT_EQ(liveAllocations(), before);
}

TEST(ChangingInput, LogsOfAnyBytes) {
  std::mt19937 random;
  for (int round = 0; round < 150; ++round) {
    std::string seed(40, '\0');
    for (char& c : seed) c = static_cast<char>(random());
    const std::string one = growLog(seed);
    std::string other = one;
    for (std::size_t i = 0; i < other.size(); i += 1 + random() % 64) other[i] = one[random() % one.size()];
    const ChangingBytes log(one, other);
    for (int i = 0; i < 20; ++i) decode(log.data(), log.size());
  }
}

TEST(ChangingInput, PrintBuffers) {
  PrintBuffer one{headerWord(0, 2), 1, 2, 3, 4, 5, {0x5555, 0, ~0U, 0}}, other{headerWord(6, 5)};
  other.data.fill(0xFFFFFFFF);
  // Digits change to characters that subtracting '0' makes negative or too large, and to those of other conversions.
  const std::string oneFormat = std::string("%12u|%-9.4x|%1$.3d|%8.2f") + '\0';
  const std::string otherFormat = std::string("%1:s|%-\x80.*c|%*$.\xB1g|%8.\x7F%") + '\0';
  ASSERT_EQ(oneFormat.size(), otherFormat.size());
  const ChangingBytes buffer(one.bytes(), other.bytes()), table(oneFormat, otherFormat);
  for (int i = 0; i < 20000; ++i) {
    textOf([&] { return db_get_printf_string(buffer.data(), buffer.size(), table.data(), table.size()); },
           db_free_printf_string);
  }
}

TEST(ChangingInput, FormatOffsets) {
  PrintBuffer inside{headerWord(0, 2)}, outside{headerWord(0, 2)};
  outside.formatOffset = 0x7FFFFFFF;
  const ChangingBytes buffer(inside.bytes(), outside.bytes());
  const std::string table(1, '\0');
  // The offset was once read twice, a few nanoseconds apart.
  for (const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
       std::chrono::steady_clock::now() < end;) {
    PrintBufInfo* info = db_get_print_buffer_info(buffer.data(), buffer.size(), table.data(), table.size());
    if (info == nullptr) continue;
    ASSERT_EQ(info->format, table.data());
    db_free_print_buffer_info(&info);
  }
}

TEST(ChangingInput, Kernels) {
  const std::string one = growKernel(std::string(30, '\x7F')) + "prot";
  const ChangingBytes kernel(one, std::string(one.rbegin(), one.rend()));
  for (int i = 0; i < 2000; ++i) {
    std::uint64_t stored = 0;
    clc_bin_has_edma_instr(kernel.data(), static_cast<std::int64_t>(kernel.size()));
    EXPECT_EQ(clc_bin_compute_checksum(kernel.data(), kernel.size(), &stored), stored);
  }
}

}  // namespace
