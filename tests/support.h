// Shared by tests and fuzz targets: inputs in memory of exactly their size, and a record of what the code under test
// allocates.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// The allocations of the whole program that have not been freed. Freeing an object as an array, an array as an object,
// or anything that was not allocated ends the program. New memory is not zeroed if the C library allows that.
long liveAllocations();

// Called at each allocation of its thread, unless null. It may throw.
using AllocationHook = void();
extern thread_local AllocationHook* onAllocation;

// Records the sizes that operator new is called with during this object's lifetime: "80 4[] 0[]" for one object and two
// arrays.
class AllocationLog {
 public:
  AllocationLog();
  ~AllocationLog();
  std::string text() const;
  std::size_t lastSize() const;  // of the newest array; 0 if there is none
};

// The text that `get` returns, at the size of its allocation, so that a NUL inside it hides nothing; "null" for null.
template <typename Get>
std::string textOf(Get get, void (*release)(char**)) {
  const AllocationLog allocations;
  char* text = get();
  if (text == nullptr) return "null";
  const std::size_t size = allocations.lastSize();
  if (size == 0 || text[size - 1] != '\0') std::abort();
  std::string copy(text, size - 1);
  release(&text);
  if (text != nullptr) std::abort();
  release(&text);
  return copy;
}

// A copy of `bytes` in an allocation of exactly their size, so that a sanitizer or valgrind sees any stray access. A
// `shift` moves it that many bytes further on, to an unaligned address.
class ExactBytes {
 public:
  explicit ExactBytes(std::string_view bytes, std::size_t shift = 0)
      : size_(bytes.size()), shift_(shift), memory_(new char[bytes.size() + shift]) {
    if (size_ != 0) std::memcpy(memory_.get() + shift_, bytes.data(), size_);
  }
  const char* data() const { return memory_.get() + shift_; }
  std::size_t size() const { return size_; }

 private:
  std::size_t size_;
  std::size_t shift_;
  std::unique_ptr<char[]> memory_;
};

// Writable zeros right before or right after memory that can't be read, so that a stray access there ends the program.
// Only pages that are written to take memory, so there may be gibibytes of them.
class GuardedBytes {
 public:
  enum class Guard { kBehind, kInFront };

  explicit GuardedBytes(std::size_t size, Guard guard = Guard::kBehind);
  explicit GuardedBytes(std::string_view bytes, Guard guard = Guard::kBehind) : GuardedBytes(bytes.size(), guard) {
    write(0, bytes);
  }
  ~GuardedBytes();
  GuardedBytes(const GuardedBytes&) = delete;
  GuardedBytes& operator=(const GuardedBytes&) = delete;

  // Whether there was enough memory.
  explicit operator bool() const { return data_ != nullptr; }
  const char* data() const { return data_; }
  std::size_t size() const { return size_; }

  void write(std::size_t at, std::string_view bytes) {
    if (at > size_ || size_ - at < bytes.size()) throw std::out_of_range("a write beyond the end");
    if (!bytes.empty()) std::memcpy(data_ + at, bytes.data(), bytes.size());
  }

 private:
  std::size_t size_;
  std::size_t mapped_;
  void* map_;
  char* data_ = nullptr;
};

// Names the work being done while this object lives: on standard error by tell(), and when a signal or a sanitizer ends
// the program. If it has grown from a seed, the seed is written to `file`, and the message says so.
class AtWork {
 public:
  explicit AtWork(const std::string& name, std::string_view seed = {}, const std::string& file = "");
  ~AtWork();
  AtWork(const AtWork&) = delete;
  AtWork& operator=(const AtWork&) = delete;
  void tell() const;

 private:
  std::string text_;
  std::string_view seed_;
  std::string file_;
};

// Parses a decimal number, or a hexadecimal one in C's notation. Throws on anything else.
std::uint64_t number(const std::string& text);

// A row of a table in tests/cases.
struct Row {
  std::string place;  // file, line and first field
  std::vector<std::string> fields;
  const std::string& operator[](std::size_t field) const { return fields.at(field); }
};

// Checks each row of a file in tests/cases: `columns` fields separated by tabs. Empty lines and lines beginning with
// '#' are skipped. Throws, naming the row, if it has more or fewer fields or check() throws.
void forEachRow(const std::string& table, std::size_t columns, const std::function<void(const Row&)>& check);
