#include "support.h"

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <new>
#include <sstream>

namespace {

struct Allocation {
  void* memory;
  std::size_t size;
  bool isArray;
};

std::atomic<long> live = 0;
std::atomic<bool> isRecording = false;
Allocation recorded[256];
std::atomic<std::size_t> recordedCount = 0;
std::atomic<std::size_t> lastArraySize = 0;

void* allocate(std::size_t size, bool isArray) {
  void* memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) std::abort();
  ++live;
  if (isArray) lastArraySize = size;
  if (isRecording && recordedCount < std::size(recorded)) recorded[recordedCount++] = {memory, size, isArray};
  return memory;
}

// What was recorded has to be given back by the kind of delete that belongs to it.
void release(void* memory, bool isArray) {
  if (memory != nullptr) --live;
  for (std::size_t i = 0; i < recordedCount; ++i) {
    if (recorded[i].memory != memory) continue;
    if (recorded[i].isArray != isArray) std::abort();
    recorded[i].memory = nullptr;
  }
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

std::vector<std::vector<std::string>> readCases(const std::string& name, std::size_t fields) {
  std::ifstream file(CASES + ("/" + name));
  std::vector<std::vector<std::string>> rows;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line.starts_with('#')) continue;
    auto& row = rows.emplace_back();
    std::istringstream stream(line + '\t');
    for (std::string field; std::getline(stream, field, '\t');) row.push_back(field);
    if (row.size() < fields) std::abort();
  }
  if (rows.empty()) std::abort();
  return rows;
}
