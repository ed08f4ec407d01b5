#include "support.h"

#include <fcntl.h>
#include <malloc.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <functional>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// Hooks of the sanitizers, if there are any.
extern "C" [[gnu::weak]] void __sanitizer_set_death_callback(void (*callback)());  // NOLINT: the name is theirs
extern "C" void __ubsan_on_report();                                               // NOLINT

thread_local AllocationHook* onAllocation = nullptr;

namespace {

std::atomic<long> live = 0;
std::atomic<bool> isRecording = false;
char recorded[4096];
std::atomic<std::size_t> recordedSize = 0;
std::atomic<std::size_t> lastArraySize = 0;

// Every allocated address, its lowest bit set if it is an array. A hash table of fixed size, since nothing can be
// allocated here. An address being freed is in it, so gaps before it do not matter.
constexpr std::size_t kSlots = 1 << 20;
std::atomic<std::uintptr_t> slots[kSlots];

// Replaces `from` with `to` in the first slot that holds it, beginning with the address's own slot.
bool replace(std::uintptr_t address, std::uintptr_t from, std::uintptr_t to) {
  for (std::size_t i = 0; i < kSlots; ++i) {
    auto& slot = slots[(address / 16 * 0x9E3779B1 + i) % kSlots];
    auto expected = from;
    if (slot.load(std::memory_order_relaxed) == from && slot.compare_exchange_strong(expected, to)) return true;
  }
  return false;
}

void* allocate(std::size_t size, bool isArray) {
#ifdef M_PERTURB
  [[maybe_unused]] static const int isPerturbed = mallopt(M_PERTURB, 0x5A);
#endif
  if (onAllocation != nullptr) onAllocation();
  void* memory = std::malloc(size == 0 ? 1 : size);
  const auto address = reinterpret_cast<std::uintptr_t>(memory);
  if (memory == nullptr || !replace(address, 0, address | (isArray ? 1 : 0))) std::abort();
  ++live;
  if (isArray) lastArraySize = size;
  if (isRecording && recordedSize < sizeof recorded - 40) {
    recordedSize += static_cast<std::size_t>(std::sprintf(recorded + recordedSize, isArray ? " %zu[]" : " %zu", size));
  }
  return memory;
}

void release(void* memory, bool isArray) {
  if (memory == nullptr) return;
  const auto address = reinterpret_cast<std::uintptr_t>(memory);
  if (!replace(address, address | (isArray ? 1 : 0), 0)) {
    std::fputs("support: given back by the wrong kind of delete, or twice\n", stderr);
    std::abort();
  }
  --live;
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) { return allocate(size, false); }
void* operator new[](std::size_t size) { return allocate(size, true); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size, false); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size, true); }
void operator delete(void* memory) noexcept { release(memory, false); }
void operator delete[](void* memory) noexcept { release(memory, true); }
void operator delete(void* memory, std::size_t) noexcept { release(memory, false); }
void operator delete[](void* memory, std::size_t) noexcept { release(memory, true); }

long liveAllocations() { return live; }

AllocationLog::AllocationLog() {
  recordedSize = lastArraySize = 0;
  isRecording = true;
}

AllocationLog::~AllocationLog() { isRecording = false; }

std::string AllocationLog::text() const {
  isRecording = false;
  return {recorded + (recordedSize != 0 ? 1 : 0), recorded + recordedSize};
}

std::size_t AllocationLog::lastSize() const { return lastArraySize; }

GuardedBytes::GuardedBytes(std::size_t size, Guard guard) : size_(size) {
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  mapped_ = (size + page - 1) / page * page + page;
  map_ = mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (map_ == MAP_FAILED) return;
  char* const first = static_cast<char*>(map_);
  data_ = guard == Guard::kBehind ? first + (mapped_ - page - size) : first + page;
  if (mprotect(guard == Guard::kBehind ? data_ + size : first, page, PROT_NONE) != 0) std::abort();
}

GuardedBytes::~GuardedBytes() {
  if (data_ != nullptr) munmap(map_, mapped_);
}

namespace {

const AtWork* atWork = nullptr;

void tell() {
  if (atWork != nullptr) atWork->tell();
}

// Restores the previous action, which then takes effect: at the instruction that caused the signal, or by abort().
struct sigaction previous[NSIG];
void onSignal(int signal) {
  tell();
  sigaction(signal, &previous[signal], nullptr);
}

bool watchForCrashes() {
  struct sigaction action {};
  action.sa_handler = onSignal;
  for (const int signal : {SIGSEGV, SIGBUS, SIGABRT, SIGFPE}) sigaction(signal, &action, &previous[signal]);
  if (__sanitizer_set_death_callback != nullptr) __sanitizer_set_death_callback(tell);
  return true;
}

}  // namespace

// UndefinedBehaviorSanitizer calls this, and then ends the program without the callback if there is another sanitizer.
void __ubsan_on_report() { tell(); }  // NOLINT

AtWork::AtWork(const std::string& name, std::string_view seed, const std::string& file)
    : text_("At work: " + name + (file.empty() ? "" : ", now in " + file + ": HACKING.md says how to replay it") +
            '\n'),
      seed_(seed),
      file_(file) {
  [[maybe_unused]] static const bool isWatching = watchForCrashes();
  atWork = this;
}

AtWork::~AtWork() { atWork = nullptr; }

// Does only what a signal handler may do.
void AtWork::tell() const {
  if (write(STDERR_FILENO, text_.data(), text_.size()) < 0 || file_.empty()) return;
  const int file = open(file_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
  if (file >= 0 && write(file, seed_.data(), seed_.size()) >= 0) close(file);
}

std::uint64_t number(const std::string& text) {
  const bool isNumber = std::isdigit(static_cast<unsigned char>(text.c_str()[0])) != 0;
  std::size_t used = 0;
  const std::uint64_t value = isNumber ? std::stoull(text, &used, text.starts_with("0x") ? 16 : 10) : 0;
  if (!isNumber || used != text.size()) throw std::invalid_argument('"' + text + "\" is no number");
  return value;
}

void forEachRow(const std::string& table, std::size_t columns, const std::function<void(const Row&)>& check) {
  std::ifstream file(CASES + ("/" + table));
  std::string line;
  int rows = 0;
  for (int at = 1; std::getline(file, line); ++at) {
    if (line.empty() || line.starts_with('#')) continue;
    Row row{table + ':' + std::to_string(at) + ": " + line.substr(0, line.find('\t')), {}};
    std::istringstream stream(line + '\t');
    for (std::string field; std::getline(stream, field, '\t');) row.fields.push_back(field);
    const AtWork work(row.place);
    try {
      if (row.fields.size() != columns) throw std::invalid_argument(std::to_string(row.fields.size()) + " columns");
      check(row);
    } catch (const std::exception& error) {
      throw std::runtime_error(row.place + ": " + error.what());
    }
    ++rows;
  }
  if (rows == 0) throw std::runtime_error(table + ": no rows");
}
