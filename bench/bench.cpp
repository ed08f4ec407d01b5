// Times every operation of the library against the plain way of doing the same, and prints the figures as Markdown.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <functional>
#include <new>
#include <utility>
#include <vector>

#include "inputs.h"
#include "plain.h"

// The library, too, allocates through these.
static std::size_t allocations = 0;
void* operator new(std::size_t size) {
  ++allocations;
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  std::abort();
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

namespace bench {
namespace {

// Does something once, releases what came of it, and leaves its content in `*result` if that is not null.
using Operation = std::function<void(std::string* result)>;

std::string content(std::string text) { return text; }
std::string content(std::uint64_t value) { return std::to_string(value); }

template <typename Get>
Operation valueOf(Get get) {
  return [get](std::string* result) {
    auto value = get();
    benchmark::DoNotOptimize(value);
    if (result != nullptr) *result = content(value);
  };
}

template <typename Get>
Operation textOf(Get get, void (*release)(char**)) {
  return [get, release](std::string* result) {
    char* text = get();
    benchmark::DoNotOptimize(text);
    if (result != nullptr && text != nullptr) *result = text;
    release(&text);
  };
}

template <typename Get>
Operation arrayOf(Get get) {
  return [get](std::string* result) {
    std::uint32_t count = 0;
    DescBufInfo** infos = get(&count);
    benchmark::DoNotOptimize(infos);
    const auto append = [result](const void* bytes, std::size_t size) {
      result->append(static_cast<const char*>(bytes), size);
    };
    for (std::uint32_t i = 0; i < count && result != nullptr; ++i) {
      const DescBufInfo& info = *infos[i];
      append(&info, offsetof(DescBufInfo, descSize) + sizeof info.descSize);
      append(info.desc, info.descSize);
      append(info.rbNextPtrPcs, 4 * info.rbNextPtrCount);
      append(info.rbEndPcs, 4 * info.rbEndCount);
      append(info.rbReleasePcs, 4 * info.rbReleaseCount);
    }
    db_free_desc_buffer_info_array(infos, static_cast<std::int32_t>(count));
  };
}

struct Pair {
  Operation library;
  Operation plain;
};

// The bytes stay where they are, so that both ways work on the same ones.
const std::string& kept(std::string bytes) {
  static std::deque<std::string> all;
  return all.emplace_back(std::move(bytes));
}

Pair print(std::uint32_t printKind, std::uint32_t dataType, std::uint32_t threads, const char* format) {
  const auto& buffer = kept(printBuffer(printKind, dataType, threads));
  const std::size_t size = std::strlen(format) + 1;
  return {textOf([=, &buffer] { return db_get_printf_string(buffer.data(), buffer.size(), format, size); },
                 db_free_printf_string),
          valueOf([=, &buffer] { return plain::printText(buffer.data(), format); })};
}

Pair arrayDecode(const std::string& log) {
  return {arrayOf([&](auto* count) { return db_get_desc_buffer_info_array(log.data(), log.size(), count); }),
          arrayOf([&](auto* count) { return plain::decodeLog(log, count); })};
}

Pair report(const std::string& log) {
  return {textOf([&] { return db_get_desc_string(log.data(), log.size()); }, db_free_desc_string),
          valueOf([&] { return plain::report(log); })};
}

Pair arrayReport(const std::string& log) {
  return {textOf([&] { return db_get_desc_string_array(log.data(), log.size()); }, db_free_desc_string),
          valueOf([&] { return plain::arrayReport(log); })};
}

Pair scan(std::size_t size, std::uint32_t shorts, std::uint32_t bundles) {
  const auto& bytes = kept(kernel(size, shorts, bundles));
  return {valueOf([&] { return clc_bin_has_edma_instr(bytes.data(), static_cast<std::int64_t>(bytes.size())); }),
          valueOf([&] { return plain::hasEdma(bytes.data(), bytes.size()); })};
}

Pair checksum(std::size_t size) {
  const auto& bytes = kept(kernel(size, 100, 0));
  return {valueOf([&] {
            std::uint64_t stored = 0;
            return clc_bin_compute_checksum(bytes.data(), bytes.size(), &stored);
          }),
          valueOf([&] { return plain::checksum(bytes.data(), bytes.size()); })};
}

// Takes the times of one run in the order in which the benchmarks were registered.
struct Times : benchmark::BenchmarkReporter {
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const auto& run : runs) seconds.push_back(run.cpu_accumulated_time / static_cast<double>(run.iterations));
  }
  std::vector<double> seconds;
};

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// Some operations that are timed in turn, round by round, so that what slows the machine down meets all of them.
class Rounds {
 public:
  explicit Rounds(const std::vector<std::pair<std::string, Operation>>& operations) {
    for (const auto& [name, operation] : operations) {
      const auto run = [&op = operation](benchmark::State& state) {
        for (auto _ : state) op(nullptr);
      };
      benchmark::RegisterBenchmark(name.c_str(), run)->MinTime(0.005);
    }
    for (auto& round : rounds_) benchmark::RunSpecifiedBenchmarks(&round, ".");
    benchmark::ClearRegisteredBenchmarks();
  }

  // The medians of the time of operation `i`, and of how many times that of operation `other` it is.
  double seconds(std::size_t i) const {
    return medianOf([i](const Times& round) { return round.seconds[i]; });
  }
  double ratio(std::size_t i, std::size_t other) const {
    return medianOf([=](const Times& round) { return round.seconds[i] / round.seconds[other]; });
  }

 private:
  template <typename Figure>
  double medianOf(Figure figure) const {
    std::vector<double> figures;
    for (const auto& round : rounds_) figures.push_back(figure(round));
    return median(figures);
  }

  Times rounds_[15];
};

// A kind of workload and how many times as fast as the plain way it is to be.
struct Target {
  const char* group;
  double ratio;
};
constexpr Target kPlainConversions = {"print, plain integers", 6};
constexpr Target kOtherConversions = {"print, everything else", 1.6};
constexpr Target kReports = {"reports", 25};
constexpr Target kSmallEntries = {"array decode, small entries", 1.5};
constexpr Target kBigDescriptor = {"array decode, big descriptor", 20};
constexpr Target kEndRecords = {"array decode, end records", 5};
constexpr Target kUniformScan = {"scan, words or shorts", 1};
constexpr Target kMixedScan = {"scan, mixes", 1.3};
constexpr Target kChecksum = {"checksum from 4 KiB", 0.97};
constexpr Target kSmallChecksum = {"checksum below 4 KiB", 0};

// Ends the program where the two ways differ: their times would mean nothing then.
std::string verified(const std::string& name, const Pair& ways) {
  std::string expected, found;
  ways.plain(&expected);
  ways.library(&found);
  if (found == expected && !found.empty()) return found;
  std::fprintf(stderr, "%s: the two ways give unlike results\n", name.c_str());
  std::exit(1);
}

void compare(const Target& target, const std::string& name, const Pair& ways) {
  const auto result = verified(name, ways);
  const auto before = allocations;
  ways.library(nullptr);
  const auto allocated = allocations - before;
  const Rounds rounds({{"library/" + name, ways.library}, {"plain/" + name, ways.plain}});
  const double ratio = rounds.ratio(1, 0);
  const char* verdict = target.ratio == 0 ? "" : ratio >= target.ratio ? "reached" : "missed";
  std::printf("| %s | %s | %.2f | %.2f | %.2f | %g | %s | %zu |", name.c_str(), target.group, rounds.seconds(0) * 1e6,
              rounds.seconds(1) * 1e6, ratio, target.ratio, verdict, allocated);
  if (&target == &kReports) std::printf(" %.2f", static_cast<double>(result.size()) / rounds.seconds(0) / 1e9);
  std::printf(" |\n");
  std::fflush(stdout);
}

void grow(const char* name, const std::function<Pair(std::uint32_t)>& ofSize) {
  const Rounds rounds({{"1x", ofSize(1).library}, {"4x", ofSize(4).library}, {"16x", ofSize(16).library}});
  std::printf("| %s | %.2f | %.1f | %.1f |\n", name, rounds.seconds(0) * 1e6, rounds.ratio(1, 0), rounds.ratio(2, 0));
}

void compareAll() {
  std::printf("| workload | group | library, us | plain, us | ratio | target | | allocations | text, GB/s |\n"
              "|---|---|--:|--:|--:|--:|---|--:|--:|\n");
  compare(kPlainConversions, "64 threads, `%u`", print(0, 2, 64, "%u"));
  compare(kPlainConversions, "64 threads, `count = %d items`", print(0, 2, 64, "count = %d items"));
  compare(kPlainConversions, "64 threads, `i=%i`", print(0, 2, 64, "i=%i"));
  compare(kPlainConversions, "64 threads, `[%x]`", print(0, 2, 64, "[%x]"));
  compare(kPlainConversions, "64 threads, 64-bit `%x`", print(0, 3, 64, "%x"));
  compare(kPlainConversions, "all threads and pads, `%d`", print(6, 0, 64, "%d"));
  compare(kPlainConversions, "single value, `%u`", print(2, 0, 64, "%u"));
  compare(kOtherConversions, "64 threads, `0x%08x`", print(0, 2, 64, "0x%08x"));
  compare(kOtherConversions, "64 threads, `%.2f`", print(0, 5, 64, "%.2f"));
  compare(kOtherConversions, "64 threads, `%f`", print(0, 5, 64, "%f"));

  const struct {
    const char* name;
    const Target& decode;
    std::string log;
  } logs[] = {
      {"1 KiB, 13 eDMA entries", kSmallEntries, descriptorLog(1024, 13, 1, "ED")},
      {"16 KiB, 215 eDMA entries", kSmallEntries, descriptorLog(16384, 215, 1, "ED")},
      {"64 KiB, 420 RingBufferATE entries", kSmallEntries, descriptorLog(65536, 420, 1, "NPELRL")},
      {"64 KiB, one descriptor of 1,000 units", kBigDescriptor, descriptorLog(65536, 1, 1000, "ED")},
      {"8 KiB, end records alone", kEndRecords, descriptorLog(8192, 1024, 0, "EL")},
  };
  for (const auto& [name, target, log] : logs) {
    compare(target, std::string(name) + ", array decode", arrayDecode(log));
    compare(kReports, std::string(name) + ", single report", report(log));
    compare(kReports, std::string(name) + ", array report", arrayReport(log));
  }

  compare(kUniformScan, "1 MiB, words", scan(1 << 20, 0, 0));
  compare(kUniformScan, "1 MiB, shorts", scan(1 << 20, 100, 0));
  compare(kMixedScan, "1 MiB, 30 % shorts, 20 % bundles", scan(1 << 20, 30, 20));
  compare(kMixedScan, "1 MiB, 10 % shorts, 60 % bundles", scan(1 << 20, 10, 60));
  compare(kSmallChecksum, "64 B, checksum", checksum(64));
  compare(kChecksum, "4 KiB, checksum", checksum(4 << 10));
  compare(kChecksum, "1 MiB, checksum", checksum(1 << 20));
  compare(kChecksum, "64 MiB, checksum", checksum(64 << 20));
}

void growAll() {
  const auto edmaLog = [](std::uint32_t n) -> auto& { return kept(descriptorLog(4096 * n, 53 * n, 1, "ED")); };
  const auto bigLog = [](std::uint32_t n) -> auto& { return kept(descriptorLog(4096 * n, 1, 62 * n, "ED")); };
  std::printf("\n| operation | 1x, us | 4x | 16x |\n|---|--:|--:|--:|\n");
  grow("print, `%u`, of 4 threads", [](auto n) { return print(0, 2, 4 * n, "%u"); });
  grow("print, `%f`, of 4 threads", [](auto n) { return print(0, 5, 4 * n, "%f"); });
  grow("array decode of 53 eDMA entries", [&](auto n) { return arrayDecode(edmaLog(n)); });
  grow("array report of 53 eDMA entries", [&](auto n) { return arrayReport(edmaLog(n)); });
  grow("single report of 62 units", [&](auto n) { return report(bigLog(n)); });
  grow("scan of 64 KiB, 30 % shorts, 20 % bundles", [](auto n) { return scan(n << 16, 30, 20); });
  grow("checksum of 64 KiB", [](auto n) { return checksum(n << 16); });
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  bench::compareAll();
  bench::growAll();
  return 0;
}
