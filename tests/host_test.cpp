// The shared object in a program of its own: on many threads while the locale changes, with an operator new that
// throws, and in a backtrace.

#include <execinfo.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <clocale>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "inputs.h"
#include "zarn_utility.h"

namespace {

int allocationsUntilThrow = 0;  // of the library; 0: none throws
bool isTraced = false;          // an allocation of the library leaves its backtrace
thread_local bool isInLibrary = false;
void* addresses[64];  // the backtrace, innermost call first
int addressCount = 0;
void* caller = nullptr;                    // return address of the newest call() below
std::atomic<int> objects = 0, arrays = 0;  // that the library has allocated

void* allocate(std::size_t size, std::atomic<int>& kind) {
  if (isInLibrary) ++kind;
  if (isInLibrary && allocationsUntilThrow > 0 && --allocationsUntilThrow == 0) throw std::bad_alloc();
  if (isInLibrary && isTraced) addressCount = backtrace(addresses, std::size(addresses));
  void* memory = std::malloc(std::max<std::size_t>(size, 1));
  if (memory == nullptr) std::abort();
  return memory;
}

}  // namespace

void* operator new(std::size_t size) { return allocate(size, objects); }
void* operator new[](std::size_t size) { return allocate(size, arrays); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

namespace {

using namespace zarn::inputs;

template <typename Function, typename... Arguments>
[[gnu::noinline]] auto call(Function* function, Arguments... arguments) {
  if (isTraced) caller = __builtin_return_address(0);
  isInLibrary = true;
  auto result = function(arguments...);
  isInLibrary = false;
  return result;
}

const char kStrings[] = "%a";

const std::string kPrint = [] {
  PrintBuffer buffer{headerWord(6, 5), 1, 2, 3, 4, 5};
  buffer.data.fill(0x3FC00000);  // 1.5
  return buffer.bytes();
}();

const std::string kLog = [] {
  LogWriter log(512);
  log.entry(1, 64, 0, {{100, "ED"}});
  log.entry(1, 64, 0, {{200, "NP"}, {300, "EL"}, {400, "RL"}});
  return log.log();
}();

std::string taken(char* chars, void (*release)(char**)) {
  std::string text = chars;
  release(&chars);
  return text;
}

std::string numbers() {
  std::uint64_t checksum = 0;
  std::string text = std::to_string(call(clc_bin_compute_checksum, kLog.data(), kLog.size(), &checksum)) + ' ' +
                     std::to_string(call(clc_bin_has_edma_instr, kLog.data(), std::int64_t{3})) + ' ';
  for (const auto get : {db_get_gid, db_get_kid, db_get_jid}) {
    text += std::to_string(call(get, kPrint.data(), kPrint.size())) + ' ';
  }
  return text;
}

std::string printInfo() {
  PrintBufInfo* info = call(db_get_print_buffer_info, kPrint.data(), kPrint.size(), kStrings, sizeof kStrings);
  const std::string text = std::to_string(info->totalSize) + info->format;
  db_free_print_buffer_info(&info);
  return text;
}

std::string printText() {
  return taken(call(db_get_printf_string, kPrint.data(), kPrint.size(), kStrings, sizeof kStrings),
               db_free_printf_string);
}

std::string newestRecord() {
  DescBufInfo* info = call(db_get_desc_buffer_info, kLog.data(), kLog.size());
  const std::string text = std::to_string(info->pc) + " " + std::to_string(info->rbReleasePcs[0]);
  db_free_desc_buffer_info(&info);
  return text;
}

std::string allRecords() {
  std::uint32_t count = 0;
  DescBufInfo** array = call(db_get_desc_buffer_info_array, kLog.data(), kLog.size(), &count);
  std::string text;
  for (std::uint32_t i = 0; i < count; ++i) text += std::to_string(array[i]->pc) + " ";
  db_free_desc_buffer_info_array(array, static_cast<std::int32_t>(count));
  return text;
}

template <char* get(const void*, std::uint64_t)>
std::string report() {
  return taken(call(get, kLog.data(), kLog.size()), db_free_desc_string);
}

struct {
  const char* name;
  std::string (*run)();
  bool allocates;
} const kFunctions[] = {
    {"those that give a number", numbers, false},
    {"db_get_print_buffer_info", printInfo, true},
    {"db_get_printf_string", printText, true},
    {"db_get_desc_buffer_info", newestRecord, true},
    {"db_get_desc_buffer_info_array", allRecords, true},
    {"db_get_desc_string", report<db_get_desc_string>, true},
    {"db_get_desc_string_array", report<db_get_desc_string_array>, true},
};

TEST(Host, ThreadsCallAllFunctionsWhileTheLocaleChanges) {
  std::vector<std::string> expected;
  for (const auto& function : kFunctions) expected.push_back(function.run());
  EXPECT_NE(expected[2].find("0x1.8p+0"), std::string::npos);
#ifdef LOCALES
  setenv("LOCPATH", LOCALES, 1);
  ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
#endif
  constexpr int kThreads = 4;
  std::atomic<int> running = kThreads;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int time = 0; time < 50; ++time) {
        auto text = expected.begin();
        for (const auto& function : kFunctions) EXPECT_EQ(function.run(), *text++) << function.name;
      }
      --running;
    });
  }
  while (running > 0) {
    std::setlocale(LC_ALL, "C");
    std::setlocale(LC_ALL, "de_DE.UTF-8");
  }
  for (auto& thread : threads) thread.join();
  std::setlocale(LC_ALL, "C");
}

// How a child process ends that runs a function whose allocation `nth` throws: by SIGABRT, or with one of these.
constexpr int kReturned = 10;
constexpr int kCaught = 11;

int endOfChild(std::string (*run)(), int nth) {
  const pid_t child = fork();
  if (child == 0) {
    close(STDERR_FILENO);  // std::terminate has something to say
    allocationsUntilThrow = nth;
    try {
      run();
      _exit(kReturned);
    } catch (...) {
      _exit(kCaught);
    }
  }
  int status = 0;
  waitpid(child, &status, 0);
  return status;
}

TEST(Host, AnExceptionOfOperatorNewEndsTheProcess) {
  for (const auto& function : kFunctions) {
    int nth = 1;
    int status = endOfChild(function.run, nth);
    while (WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT) status = endOfChild(function.run, ++nth);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == kReturned) << function.name << ", allocation " << nth;
    EXPECT_EQ(nth > 1, function.allocates) << function.name;
  }
}

TEST(Host, ObjectsAndArraysComeFromTheirOwnOperatorNew) {
  objects = arrays = 0;
  newestRecord();
  EXPECT_EQ(objects, 1);
  EXPECT_EQ(arrays, 4);
}

TEST(Host, ABacktraceFromInsideTheLibraryShowsTheCaller) {
  for (const auto& function : kFunctions) {
    if (!function.allocates) continue;
    isTraced = true;
    addressCount = 0;
    function.run();
    isTraced = false;
    EXPECT_NE(std::find(addresses, addresses + addressCount, caller), addresses + addressCount) << function.name;
  }
}

}  // namespace
