// The text of a print buffer while it is built.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "fmt.h"

namespace zarn::print {

// Copies what is mostly too short for a call of memcpy() to pay, and returns the end of the copy.
inline char* copy(char* at, std::string_view text) {
  const std::size_t size = text.size();
  const char* const from = text.data();
  if (size < 4) {
    if (size & 2) std::memcpy(at, from, 2);
    if (size & 1) at[size - 1] = from[size - 1];
  } else if (size < 8) {
    std::memcpy(at, from, 4);
    std::memcpy(at + size - 4, from + size - 4, 4);
  } else if (size <= 16) {
    std::memcpy(at, from, 8);
    std::memcpy(at + size - 8, from + size - 8, 8);
  } else {
    std::memcpy(at, from, size);
  }
  return at + size;
}

// Text is appended by writing it after the end, where makeRoom() makes room for it, and setting the new end.
class Text {
 public:
  Text() : end_(buffer_.data()), limit_(end_ + buffer_.capacity()) {}
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;

  std::string_view view() const { return {buffer_.data(), size()}; }

  char* end() { return end_; }

  // How many characters can be appended without asking for memory.
  std::size_t room() const { return static_cast<std::size_t>(limit_ - end_); }

  // The text's end, with at least `count` characters of room after it.
  char* makeRoom(std::size_t count) {
    if (room() < count) enlarge(count);
    return end_;
  }

  void setEnd(char* end) { end_ = end; }

  void append(std::string_view text) { end_ = copy(makeRoom(text.size()), text); }

  // What is appended from here on is `count` lines of much the same length.
  void expectLines(std::size_t count) {
    linesBegin_ = size();
    lines_ = count;
  }

  void endLine(char* end) {
    end_ = end;
    ++linesDone_;
  }

 private:
  std::size_t size() const { return static_cast<std::size_t>(end_ - buffer_.data()); }

  // Takes memory for the lines to come as well, judging by those that are there.
  [[gnu::noinline]] void enlarge(std::size_t count) {
    constexpr std::size_t kMaxInAdvance = 1 << 20;
    const std::size_t used = size();
    const std::size_t line = linesDone_ == 0 ? count : (used - linesBegin_) / linesDone_;
    const std::size_t others = line * (lines_ - std::min(lines_, linesDone_ + 1));
    buffer_.resize(used);
    buffer_.reserve(used + count + std::min(others + others / 4, kMaxInAdvance));
    end_ = buffer_.data() + used;
    limit_ = buffer_.data() + buffer_.capacity();
  }

  fmt::basic_memory_buffer<char, 500> buffer_;  // 500 hold most single values without the heap
  char* end_;                                   // of the text; the buffer's own size lags behind
  char* limit_;                                 // of the room after it
  std::size_t linesBegin_ = 0;
  std::size_t lines_ = 0;
  std::size_t linesDone_ = 0;
};

// Copies a literal, whose length is known here, and returns the end of the copy.
template <std::size_t size>
char* put(char* at, const char (&literal)[size]) {
  std::memcpy(at, literal, size - 1);
  return at + size - 1;
}

}  // namespace zarn::print
