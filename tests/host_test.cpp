// The shared object in a host program: on many threads while the locale changes, with an operator new that throws, and
// in a backtrace.

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
#include <iterator>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "inputs.h"
#include "support.h"
#include "zarn_utility.h"

namespace {

int allocationsUntilThrow = 0;  // of the library
void* addresses[64];            // the backtrace of its newest allocation, innermost call first
int addressCount = 0;
void* caller = nullptr;  // return address of the newest call() below

void throwAtLast() {
  if (--allocationsUntilThrow == 0) throw std::bad_alloc();
}

void trace() { addressCount = backtrace(addresses, std::size(addresses)); }

// Calls a function of the library; `duringAllocation` is called at each of its allocations.
AllocationHook* duringAllocation = nullptr;
template <typename Function, typename... Arguments>
[[gnu::noinline]] auto call(Function* function, Arguments... arguments) {
  if (duringAllocation == trace) caller = __builtin_return_address(0);
  onAllocation = duringAllocation;
  auto result = function(arguments...);
  onAllocation = nullptr;
  return result;
}

using namespace zarn::inputs;

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

template <char* get(const void*, std::uint64_t)>
std::string report() {
  return taken(call(get, kLog.data(), kLog.size()), db_free_desc_string);
}

// The functions of the first row allocate nothing.
const struct {
  const char* name;
  std::string (*run)();
} kFunctions[] = {
    {"those that give a number",
     [] {
       std::uint64_t sum = 0;
       call(clc_bin_compute_checksum, kLog.data(), kLog.size(), &sum);
       for (const auto get : {db_get_gid, db_get_kid, db_get_jid}) sum += call(get, kPrint.data(), kPrint.size());
       return std::to_string(sum) + std::to_string(call(clc_bin_has_edma_instr, kLog.data(), std::int64_t{3}));
     }},
    {"db_get_print_buffer_info",
     [] {
       PrintBufInfo* info = call(db_get_print_buffer_info, kPrint.data(), kPrint.size(), kStrings, sizeof kStrings);
       const std::string text = std::to_string(info->totalSize) + info->format;
       db_free_print_buffer_info(&info);
       return text;
     }},
    {"db_get_printf_string",
     [] {
       return taken(call(db_get_printf_string, kPrint.data(), kPrint.size(), kStrings, sizeof kStrings),
                    db_free_printf_string);
     }},
    {"db_get_desc_buffer_info",
     [] {
       DescBufInfo* info = call(db_get_desc_buffer_info, kLog.data(), kLog.size());
       const std::string text = std::to_string(info->pc) + " " + std::to_string(info->rbReleasePcs[0]);
       db_free_desc_buffer_info(&info);
       return text;
     }},
    {"db_get_desc_buffer_info_array",
     [] {
       std::uint32_t count = 0;
       DescBufInfo** array = call(db_get_desc_buffer_info_array, kLog.data(), kLog.size(), &count);
       const std::string text = std::to_string(count) + " " + std::to_string(array[count - 1]->pc);
       db_free_desc_buffer_info_array(array, static_cast<std::int32_t>(count));
       return text;
     }},
    {"db_get_desc_string", report<db_get_desc_string>},
    {"db_get_desc_string_array", report<db_get_desc_string_array>},
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

// How a child process ends when allocation `nth` of a function throws: by SIGABRT, with status 0 if nothing was thrown,
// or with 1 if the exception left the library.
int endOfChild(std::string (*run)(), int nth) {
  const pid_t child = fork();
  if (child == 0) {
    close(STDERR_FILENO);  // std::terminate prints a message
    allocationsUntilThrow = nth;
    duringAllocation = throwAtLast;
    try {
      run();
      _exit(0);
    } catch (...) {
      _exit(1);
    }
  }
  int status = 0;
  waitpid(child, &status, 0);
  return status;
}

TEST(Host, ThrowingOperatorNewEndsTheProcess) {
  for (const auto& function : kFunctions) {
    int nth = 1;
    int status = endOfChild(function.run, nth);
    while (WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT && nth < 50) status = endOfChild(function.run, ++nth);
    EXPECT_EQ(status, 0) << function.name << ", allocation " << nth;
    EXPECT_EQ(nth > 1, &function != kFunctions) << function.name;
  }
}

TEST(Host, ObjectsAndArraysComeFromTheirOwnOperatorNew) {
  const AllocationLog allocations;
  DescBufInfo* info = db_get_desc_buffer_info(kLog.data(), kLog.size());
  EXPECT_EQ(allocations.text(), "80 4[] 4[] 4[] 128[]");
  db_free_desc_buffer_info(&info);
}

TEST(Host, BacktracesShowTheCaller) {
  duringAllocation = trace;
  for (const auto& function : kFunctions) {
    if (&function == kFunctions) continue;
    addressCount = 0;
    function.run();
    EXPECT_NE(std::find(addresses, addresses + addressCount, caller), addresses + addressCount) << function.name;
  }
  duringAllocation = nullptr;
}

}  // namespace
