// Times every operation of the library against the plain implementation (the reference), and prints the figures.

#include <benchmark/benchmark.h>
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "print/fmt.h"
#include "reference.h"
#include "workloads.h"

namespace bench {

namespace reference = zarn::reference;

extern std::size_t allocations;  // so far

namespace {

// Runs an operation once, releases its result, and leaves the result's content in `*result` if that is not null. The
// calls go to other translation units, so none of them can be optimised away.
using Operation = std::function<void(std::string* result)>;

template <typename Get>
Operation valueOf(Get get) {
  return [get](std::string* result) {
    auto value = get();
    if (result != nullptr) *result = fmt::to_string(value);
  };
}

template <typename Get>
Operation textOf(Get get, void (*release)(char**)) {
  return [get, release](std::string* result) {
    char* text = get();
    if (result != nullptr && text != nullptr) *result = text;
    release(&text);
  };
}

template <typename Get, typename Release>
Operation arrayOf(Get get, Release release) {
  return [get, release](std::string* result) {
    std::uint32_t count = 0;
    DescBufInfo** infos = get(&count);
    for (std::uint32_t i = 0; i < count && result != nullptr; ++i) {
      const DescBufInfo& info = *infos[i];
      result->append(reinterpret_cast<const char*>(&info), offsetof(DescBufInfo, descSize) + sizeof info.descSize);
      result->append(info.desc, info.desc + info.descSize);
      *result += fmt::format(" {} {} {}", fmt::join(std::span(info.rbNextPtrPcs, info.rbNextPtrCount), ","),
                             fmt::join(std::span(info.rbEndPcs, info.rbEndCount), ","),
                             fmt::join(std::span(info.rbReleasePcs, info.rbReleaseCount), ","));
    }
    release(infos, count);
  };
}

struct Pair {
  Operation library;
  Operation plain;
};

// Keeps the bytes in place, so that both implementations work on the same ones.
const std::string& kept(std::string bytes) {
  static std::deque<std::string> all;
  return all.emplace_back(std::move(bytes));
}

// With `values`, the data cycles through these instead of random ones.
Pair print(std::uint32_t printKind, std::uint32_t dataType, std::uint32_t threads, const char* format,
           std::initializer_list<float> values = {}) {
  const auto& buffer = kept(printBuffer(printKind, dataType, threads, values));
  const std::size_t size = std::strlen(format) + 1;
  return {textOf([=, &buffer] { return db_get_printf_string(buffer.data(), buffer.size(), format, size); },
                 db_free_printf_string),
          valueOf([=, &buffer] { return reference::printTextAsItIs(buffer.data(), format); })};
}

Pair arrayDecode(const std::string& log) {
  return {arrayOf([&](auto* count) { return db_get_desc_buffer_info_array(log.data(), log.size(), count); },
                  [](DescBufInfo** infos, std::uint32_t count) {
                    db_free_desc_buffer_info_array(infos, static_cast<std::int32_t>(count));
                  }),
          arrayOf([&](auto* count) { return reference::decodeAll(log.data(), log.size(), count); },
                  [](DescBufInfo** infos, std::uint32_t count) { reference::release(infos, count); })};
}

Pair singleReport(const std::string& log) {
  return {textOf([&] { return db_get_desc_string(log.data(), log.size()); }, db_free_desc_string),
          valueOf([&] { return *reference::report(log.data(), log.size()); })};
}

Pair arrayReport(const std::string& log) {
  return {textOf([&] { return db_get_desc_string_array(log.data(), log.size()); }, db_free_desc_string),
          valueOf([&] { return reference::arrayReport(log.data(), log.size()); })};
}

Pair scan(std::size_t size, std::uint32_t shorts, std::uint32_t bundles) {
  const auto& bytes = kept(kernel(size, shorts, bundles));
  return {valueOf([&] { return clc_bin_has_edma_instr(bytes.data(), static_cast<std::int64_t>(bytes.size())); }),
          valueOf([&] { return reference::hasEdma(bytes.data(), static_cast<std::int64_t>(bytes.size())) ? 1 : 0; })};
}

Pair checksum(std::size_t size) {
  const auto& bytes = kept(kernel(size, 100, 0));
  return {valueOf([&] {
            std::uint64_t stored = 0;
            return clc_bin_compute_checksum(bytes.data(), bytes.size(), &stored);
          }),
          valueOf([&] { return reference::checksum(bytes.data(), bytes.size()); })};
}

// The times of the operations in one round, in order of registration.
struct Round : benchmark::BenchmarkReporter {
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const auto& run : runs) seconds.push_back(run.cpu_accumulated_time / static_cast<double>(run.iterations));
  }
  std::vector<double> seconds;
};

// Whether the C library returns freed memory to the system after each call.
bool isCold = false;

void coolHeap() {
#ifdef __GLIBC__
  malloc_trim(0);
#endif
}

// Times the operations in turn, round by round, so that whatever slows the machine down affects all of them.
std::vector<Round> timeRounds(const std::vector<std::pair<std::string, Operation>>& operations) {
  for (const auto& [name, operation] : operations) {
    const auto run = [&op = operation](benchmark::State& state) {
      for (auto _ : state) {
        op(nullptr);
        if (!isCold) continue;
        state.PauseTiming();
        coolHeap();
        state.ResumeTiming();
      }
    };
    benchmark::RegisterBenchmark(name.c_str(), run)->MinTime(0.005);
  }
  std::vector<Round> rounds(31);
  for (auto& round : rounds) benchmark::RunSpecifiedBenchmarks(&round, ".");
  benchmark::ClearRegisteredBenchmarks();
  return rounds;
}

template <typename Figure>
double median(const std::vector<Round>& rounds, Figure figure) {
  std::vector<double> figures;
  for (const auto& round : rounds) figures.push_back(figure(round.seconds));
  std::sort(figures.begin(), figures.end());
  return figures[figures.size() / 2];
}

double microseconds(const std::vector<Round>& rounds, std::size_t i) {
  return median(rounds, [i](const auto& seconds) { return seconds[i] * 1e6; });
}

// The time of operation `i` as a multiple of the first operation's.
double ratio(const std::vector<Round>& rounds, std::size_t i) {
  return median(rounds, [i](const auto& seconds) { return seconds[i] / seconds[0]; });
}

// Targets: how many times as fast as the reference the library should be.
constexpr double kPlainIntegers = 8.5;
constexpr double kOtherIntegers = 5;
constexpr double kFixedFloats = 10;
constexpr double kOtherFloats = 6;
constexpr double kFloatsByFmt = 1.3;
constexpr double kSingleValue = 4;
constexpr double kReports = 25;
constexpr double kBigReport = 80;
constexpr double kRbReport = 10;
constexpr double kRbArrayReport = 8.5;
constexpr double kSmallEntries = 1.5;
constexpr double kBigDescriptor = 20;
constexpr double kEndRecords = 8;
constexpr double kUniformScan = 1;
constexpr double kMixedScan = 1.3;
constexpr double kChecksum = 0.97;
constexpr double kNoTarget = 0;

// Only rows whose names contain one of these are shown; if there are none, all rows.
std::vector<std::string> wanted;

bool isWanted(const std::string& name) {
  return wanted.empty() || std::any_of(wanted.begin(), wanted.end(),
                                       [&](const auto& part) { return name.find(part) != std::string::npos; });
}

// Tables are indented, as verbatim text is in Markdown. A head is printed before the table's first row.
struct Table {
  const char* head;

  void begin() {
    if (head != nullptr) std::puts(head);
    head = nullptr;
  }
};
Table comparisons = {
    "    workload                                               library, us plain, us  ratio target allocations"
    " text, GB/s"};
Table growths = {"\n    times as much work                                          1x, us        4x    16x"};

void compare(double target, const std::string& name, const Pair& ways) {
  if (!isWanted(name)) return;
  std::string expected, found;
  ways.plain(&expected);
  ways.library(&found);
  if (found != expected || found.empty()) {
    std::fprintf(stderr, "%s: the two ways give unlike results\n", name.c_str());
    std::exit(1);
  }
  const std::size_t before = allocations;
  ways.library(nullptr);
  const std::size_t allocated = allocations - before;

  const auto rounds = timeRounds({{"library/" + name, ways.library}, {"plain/" + name, ways.plain}});
  const double reached = ratio(rounds, 1);
  comparisons.begin();
  std::printf("    %-54s %11.2f %9.2f %6.2f", name.c_str(), microseconds(rounds, 0), microseconds(rounds, 1), reached);
  std::printf(" %6s %11zu", target == kNoTarget ? "" : fmt::format("{}", target).c_str(), allocated);
  if (name.find("report") != std::string::npos) {
    std::printf(" %10.2f", static_cast<double>(found.size()) / microseconds(rounds, 0) / 1e3);
  }
  std::puts(reached < target ? "  missed" : "");
}

void grow(const char* name, const std::function<Pair(std::uint32_t)>& ofSize) {
  if (!isWanted(name)) return;
  growths.begin();
  const auto rounds = timeRounds({{"1x", ofSize(1).library}, {"4x", ofSize(4).library}, {"16x", ofSize(16).library}});
  std::printf("    %-54s %11.2f %9.1f %6.1f\n", name, microseconds(rounds, 0), ratio(rounds, 1), ratio(rounds, 2));
}

void compareLogs() {
  const struct {
    const char* name;
    double decode;
    double single;
    double array;
    std::string log;
  } logs[] = {
      {"1 KiB, 13 eDMA entries", kSmallEntries, kReports, kReports, descriptorLog(1024, 13, 1, "ED")},
      {"16 KiB, 215 eDMA entries", kSmallEntries, kReports, kReports, descriptorLog(16384, 215, 1, "ED")},
      {"64 KiB, 420 RingBufferATE entries", kSmallEntries, kReports, kReports, descriptorLog(65536, 420, 1, "NPELRL")},
      {"64 KiB, one descriptor of 1,000 units", kBigDescriptor, kBigReport, kBigReport,
       descriptorLog(65536, 1, 1000, "ED")},
      {"8 KiB, only end records", kEndRecords, kRbReport, kRbArrayReport, descriptorLog(8192, 1024, 0, "EL")},
      {"8 KiB, end records with one-digit PCs", kEndRecords, kRbReport, kRbArrayReport,
       descriptorLog(8192, 1024, 0, "EL", 7)},
  };
  for (const auto& [name, decode, single, array, log] : logs) {
    compare(decode, std::string(name) + ", array decode", arrayDecode(log));
    compare(single, std::string(name) + ", single report", singleReport(log));
    compare(array, std::string(name) + ", array report", arrayReport(log));
  }
}

void compareAll() {
  const auto compareThreads = [](double target, std::uint32_t dataType, const char* format) {
    compare(target, format, print(0, dataType, 64, format));
  };
  for (const char* format : {"%u", "count = %d items", "i=%i", "[%x]"}) compareThreads(kPlainIntegers, 2, format);
  compare(kPlainIntegers, "64-bit %x", print(0, 3, 64, "%x"));
  compare(kPlainIntegers, "all threads and pads, %d", print(6, 0, 64, "%d"));
  for (const char* format :
       {"%08x", "0x%08x", "%5d %-8u %+d", "%X %#x %02x", "%o", "%c", "%u (0x%x)", "%d%%", "tick", "%hhu %lu"}) {
    compareThreads(kOtherIntegers, 2, format);
  }
  for (const char* format : {"%f", "%.2f", "%8.3f"}) compareThreads(kFixedFloats, 5, format);
  for (const char* format : {"%e", "%g", "%.9g", "%e %g"}) compareThreads(kOtherFloats, 5, format);
  compare(kOtherFloats, "%g of 1.5 and 0.25", print(0, 5, 64, "%g", {1.5F, 0.25F}));
  compare(kOtherFloats, "%f of 1e30", print(0, 5, 64, "%f", {1e30F}));
  compareThreads(kFloatsByFmt, 5, "%.12g");
  compare(kFloatsByFmt, "%g of infinities and NaNs", print(0, 5, 64, "%g", {HUGE_VALF, NAN}));
  compare(kSingleValue, "single value, %u", print(2, 0, 64, "%u"));

  compareLogs();

  compare(kUniformScan, "1 MiB, words", scan(1 << 20, 0, 0));
  compare(kUniformScan, "1 MiB, shorts", scan(1 << 20, 100, 0));
  compare(kMixedScan, "1 MiB, 30 % shorts, 20 % bundles", scan(1 << 20, 30, 20));
  compare(kMixedScan, "1 MiB, 10 % shorts, 60 % bundles", scan(1 << 20, 10, 60));
  compare(kNoTarget, "64 B, checksum", checksum(64));
  compare(kChecksum, "4 KiB, checksum", checksum(4 << 10));
  compare(kChecksum, "1 MiB, checksum", checksum(1 << 20));
  compare(kChecksum, "64 MiB, checksum", checksum(64 << 20));
}

void growAll() {
  const auto edmaLog = [](std::uint32_t n) -> auto& { return kept(descriptorLog(4096 * n, 53 * n, 1, "ED")); };
  const auto bigLog = [](std::uint32_t n) -> auto& { return kept(descriptorLog(4096 * n, 1, 62 * n, "ED")); };
  grow("print, %u, of 4 threads", [](auto n) { return print(0, 2, 4 * n, "%u"); });
  grow("print, %f, of 4 threads", [](auto n) { return print(0, 5, 4 * n, "%f"); });
  grow("array decode of 53 eDMA entries", [&](auto n) { return arrayDecode(edmaLog(n)); });
  grow("array report of 53 eDMA entries", [&](auto n) { return arrayReport(edmaLog(n)); });
  grow("single report of 62 units", [&](auto n) { return singleReport(bigLog(n)); });
  grow("scan of 64 KiB, 30 % shorts, 20 % bundles", [](auto n) { return scan(n << 16, 30, 20); });
  grow("checksum of 64 KiB", [](auto n) { return checksum(n << 16); });
}

#ifdef TOOL
Table toolRuns = {"\n    tool                                                      text, ms  JSON, ms  ratio"};

std::filesystem::path folder() {
  auto name = (std::filesystem::temp_directory_path() / "zarn-bench-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) std::abort();
  return name;
}

void write(const std::filesystem::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

// The processor time that the tool takes, with its output discarded.
double millisecondsOfTool(std::vector<std::string> arguments) {
  std::vector<char*> argv = {const_cast<char*>(TOOL)};
  for (auto& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    if (std::freopen("/dev/null", "w", stdout) != nullptr) execv(TOOL, argv.data());
    _exit(127);
  }
  int status = 0;
  rusage used;
  if (wait4(child, &status, 0, &used) != child || status != 0) {
    std::fprintf(stderr, "%s failed\n", TOOL);
    std::exit(1);
  }
  const auto milliseconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
  };
  return milliseconds(used.ru_utime) + milliseconds(used.ru_stime);
}

// Alternates between text and JSON, as with the operations of the library.
void runTool(const char* name, const std::vector<std::string>& arguments, const std::vector<std::string>& files) {
  if (!isWanted(name)) return;
  auto text = arguments;
  text.insert(text.end(), files.begin(), files.end());
  auto json = arguments;
  json.push_back("--json");
  json.insert(json.end(), files.begin(), files.end());
  std::vector<Round> rounds(11);
  for (auto& round : rounds) round.seconds = {millisecondsOfTool(text), millisecondsOfTool(json)};
  toolRuns.begin();
  std::printf("    %-54s %11.1f %9.1f %6.2f\n", name, microseconds(rounds, 0) / 1e6, microseconds(rounds, 1) / 1e6,
              ratio(rounds, 1));
}

void runToolOnFolders() {
  const auto path = folder();
  const auto strings = (path / "strings").string();
  write(strings, std::string("count = %d items\0", 17));
  std::vector<std::string> prints, logs;
  for (int i = 0; i < 1000; ++i) {
    write(prints.emplace_back((path / ("print-" + std::to_string(i))).string()), printBuffer(0, 2, 64));
    if (i % 10 != 0) continue;
    write(logs.emplace_back((path / ("log-" + std::to_string(i))).string()), descriptorLog(16384, 215, 1, "ED"));
  }
  runTool("tool, 1,000 prints of 64 threads", {"print", "--strings", strings}, prints);
  runTool("tool, 100 logs of 16 KiB, --all", {"log", "--all"}, logs);
  std::filesystem::remove_all(path);
}
#endif

}  // namespace
}  // namespace bench

// zarn_bench [--cold] [PART OF A ROW'S NAME]...
//
// With --cold, runs only the descriptor logs, and each call finds an empty heap.
int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  bench::wanted.assign(argv + 1, argv + argc);
  bench::isCold = std::erase(bench::wanted, "--cold") != 0;
  if (bench::isCold) {
    bench::compareLogs();
    return 0;
  }
  bench::compareAll();
  bench::growAll();
#ifdef TOOL
  bench::runToolOnFolders();
#endif
  return 0;
}
