// Compares the library's text with {fmt}'s own for every word as the value of a format.
//
//   zarn_sweep [--slice] FORMAT...
//
// With --slice, a few hundred thousand words instead of 2^32: every 10007th, and those around the powers of two and
// ten, as integers and as the bits of floats. Formats must have no silent conversion, with which {fmt} would do harm.

#include <algorithm>
#include <atomic>
#include <bit>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "print/fmt.h"
#include "print/value_writer.h"

namespace {

constexpr std::uint64_t kAllWords = std::uint64_t{1} << 32;

std::vector<std::uint32_t> sliceOfWords() {
  std::vector<std::uint32_t> words;
  for (std::uint64_t word = 0; word < kAllWords; word += 10007) words.push_back(static_cast<std::uint32_t>(word));
  const auto addAround = [&words](std::uint32_t middle) {
    for (std::uint32_t i = 0; i <= 32; ++i) words.push_back(middle - 16 + i);
  };
  std::uint64_t number = 1;
  for (int exponent = 0; exponent < 32; ++exponent) addAround(1U << exponent);
  for (int exponent = 0; exponent < 10; ++exponent, number *= 10) addAround(static_cast<std::uint32_t>(number));
  for (std::uint32_t exponent = 0; exponent < 512; ++exponent) addAround(exponent << 23);  // of either sign
  for (int exponent = -45; exponent <= 38; ++exponent) {
    const auto power = std::strtof(("1e" + std::to_string(exponent)).c_str(), nullptr);
    addAround(std::bit_cast<std::uint32_t>(power));
    addAround(std::bit_cast<std::uint32_t>(-power));
  }
  return words;
}

class Sweep {
 public:
  // An empty slice stands for all words.
  Sweep(const char* format, bool isFloat, const std::vector<std::uint32_t>& slice)
      : format_(format), isFloat_(isFloat), slice_(slice), words_(slice.empty() ? kAllWords : slice.size()) {}

  std::uint64_t words() const { return words_; }

  // Runs on all cores. Returns the number of differences.
  std::uint64_t run() {
    const auto start = std::chrono::steady_clock::now();
    std::vector<std::thread> threads(std::max(std::thread::hardware_concurrency(), 1U));
    for (auto& thread : threads) thread = std::thread([this] { compareChunks(); });
    while (done_ < words_) {
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
      const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
      const double part = static_cast<double>(done_) / static_cast<double>(words_);
      if (part > 0) std::fprintf(stderr, "\r%3.0f %%, %.0f s left ", 100 * part, seconds / part - seconds);
    }
    for (auto& thread : threads) thread.join();
    std::fputs("\r                         \r", stderr);
    std::printf("`%s` of %s: %llu words, %llu differences\n", format_, isFloat_ ? "floats" : "integers",
                static_cast<unsigned long long>(words_), static_cast<unsigned long long>(differences_));
    std::fflush(stdout);
    return differences_;
  }

 private:
  void compareChunks() {
    constexpr std::uint64_t kChunk = 1 << 16;
    const zarn::print::ValueWriter library(format_, isFloat_);
    std::vector<char> found(library.maxCharacters());
    fmt::memory_buffer expected;
    for (std::uint64_t first; (first = next_.fetch_add(kChunk)) < words_;) {
      const std::uint64_t count = std::min(kChunk, words_ - first);
      for (std::uint64_t i = first; i < first + count; ++i) {
        const std::uint32_t word = slice_.empty() ? static_cast<std::uint32_t>(i) : slice_[i];
        const auto size = static_cast<std::size_t>(library.write(found.data(), word) - found.data());
        expected.clear();
        write(expected, word);
        if (size != expected.size() || std::memcmp(found.data(), expected.data(), size) != 0) {
          if (++differences_ <= 10) report(word, {found.data(), size}, {expected.data(), expected.size()});
        }
      }
      done_ += count;
    }
  }

  void write(fmt::memory_buffer& buffer, std::uint32_t word) const {
    using Context = fmt::printf_context;
    const fmt::string_view format(format_);
    if (isFloat_) {
      const auto value = std::bit_cast<float>(word);
      fmt::detail::vprintf(buffer, format, fmt::basic_format_args<Context>(fmt::make_format_args<Context>(value)));
    } else {
      fmt::detail::vprintf(buffer, format, fmt::basic_format_args<Context>(fmt::make_format_args<Context>(word)));
    }
  }

  static void report(std::uint32_t word, std::string_view found, std::string_view expected) {
    std::fprintf(stderr, "\r0x%08X: \"%.*s\" for \"%.*s\"\n", static_cast<unsigned>(word),
                 static_cast<int>(found.size()), found.data(), static_cast<int>(expected.size()), expected.data());
  }

  const char* format_;
  bool isFloat_;
  const std::vector<std::uint32_t>& slice_;
  std::uint64_t words_;
  std::atomic<std::uint64_t> next_ = 0;
  std::atomic<std::uint64_t> done_ = 0;
  std::atomic<std::uint64_t> differences_ = 0;
};

// Whether the format shows integers at all.
bool suitsIntegers(const char* format) {
  return fmt::sprintf(format, std::uint32_t{7}) != fmt::sprintf(format, std::uint32_t{8});
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<const char*> formats(argv + 1, argv + argc);
  std::vector<std::uint32_t> slice;
  if (!formats.empty() && std::strcmp(formats.front(), "--slice") == 0) {
    slice = sliceOfWords();
    formats.erase(formats.begin());
  }
  std::uint64_t words = 0;
  std::uint64_t differences = 0;
  for (const char* format : formats) {
    if (zarn::print::ValueWriter(format, false).maxCharacters() > 5000) {
      std::fprintf(stderr, "%s: texts are too long\n", format);
      return 2;
    }
    for (const bool isFloat : {true, false}) {
      if (!isFloat && !suitsIntegers(format)) continue;
      Sweep sweep(format, isFloat, slice);
      differences += sweep.run();
      words += sweep.words();
    }
  }
  std::printf("%llu words, %llu differences\n", static_cast<unsigned long long>(words),
              static_cast<unsigned long long>(differences));
  return differences == 0 ? 0 : 1;
}
