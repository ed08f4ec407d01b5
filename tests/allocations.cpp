#include "allocations.h"

#include <atomic>
#include <cstdlib>
#include <iterator>
#include <new>

namespace {

struct Allocation {
  std::size_t size;
  bool isArray;
};

std::atomic<long> live = 0;
std::atomic<bool> isRecording = false;
Allocation recorded[256];
std::atomic<std::size_t> recordedCount = 0;

void* allocate(std::size_t size, bool isArray) {
  ++live;
  if (isRecording && recordedCount < std::size(recorded)) recorded[recordedCount++] = {size, isArray};
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  std::abort();
}

void release(void* memory) {
  if (memory != nullptr) --live;
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) { return allocate(size, false); }
void* operator new[](std::size_t size) { return allocate(size, true); }
void operator delete(void* memory) noexcept { release(memory); }
void operator delete[](void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t) noexcept { release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { release(memory); }

long liveAllocations() { return live; }

AllocationLog::AllocationLog() {
  recordedCount = 0;
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
