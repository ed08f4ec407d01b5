#include "support.h"

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <new>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct Allocation {
  std::size_t size;
  bool isArray;
};

std::atomic<long> live = 0;
std::atomic<bool> isRecording = false;
Allocation recorded[256];
std::atomic<std::size_t> recordedCount = 0;
std::atomic<std::size_t> lastArraySize = 0;

// Every address that is allocated, and in its lowest bit whether it is an array. A hash table of fixed size, since
// nothing can be allocated here; an address that is given back is in it, so gaps in front of it do not matter.
constexpr std::size_t kSlots = 1 << 20;
std::atomic<std::uintptr_t> slots[kSlots];

// Replaces `from` by `to` in the first slot that holds it, at or after the place of the address.
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
  void* memory = std::malloc(size == 0 ? 1 : size);
  const auto address = reinterpret_cast<std::uintptr_t>(memory);
  if (memory == nullptr || !replace(address, 0, address | (isArray ? 1 : 0))) std::abort();
  ++live;
  if (isArray) lastArraySize = size;
  if (isRecording && recordedCount < std::size(recorded)) recorded[recordedCount++] = {size, isArray};
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
  recordedCount = 0;
  lastArraySize = 0;
  isRecording = true;
}

AllocationLog::~AllocationLog() { isRecording = false; }

std::string AllocationLog::text() const {
  isRecording = false;
  std::string text;
  for (std::size_t i = 0; i < recordedCount; ++i) {
    if (i != 0) text += ' ';
    text += std::to_string(recorded[i].size);
    if (recorded[i].isArray) text += "[]";
  }
  return text;
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

std::vector<std::vector<std::string>> readCases(const std::string& name, std::size_t fields) {
  std::ifstream file(CASES + ("/" + name));
  std::vector<std::vector<std::string>> rows;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line.starts_with('#')) continue;
    auto& row = rows.emplace_back();
    std::istringstream stream(line + '\t');
    for (std::string field; std::getline(stream, field, '\t');) row.push_back(field);
    if (row.size() >= fields) continue;
    std::fprintf(stderr, "%s: a row of fewer than %zu columns: %s\n", name.c_str(), fields, line.c_str());
    std::abort();
  }
  if (rows.empty()) std::abort();
  return rows;
}
