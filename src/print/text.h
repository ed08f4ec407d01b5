// The text of a print buffer as it is built.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "fmt.h"

namespace zarn::print {

// Copies text, which is mostly too short for a call to memcpy() to pay off, and returns the end of the copy.
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

// Text is appended by writing it after the end and setting the new end. There is always some spare room, so that
// nothing takes memory only because it writes a little surplus, or because it might have been a little longer.
class Text {
 public:
  Text() : end_(buffer_.data()), limit_(end_ + kWithoutHeap) {}
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;

  std::string_view view() const { return {buffer_.data(), size()}; }

  char* end() { return end_; }

  // How many characters can be written after the end.
  std::size_t room() const { return static_cast<std::size_t>(limit_ - end_) + kSpare; }

  void append(std::string_view text) {
    if (static_cast<std::size_t>(limit_ - end_) < text.size()) enlarge(text.size());
    end_ = copy(end_, text);
  }

  // Calls `write` with a place that has room for `most` characters, and appends what it writes up to the end that it
  // returns. A text that fits takes no memory if `most` exceeds its size by at most kSpare.
  template <typename Write>
  void append(std::size_t most, Write write) {
    if (room() < most) enlarge(most);
    setEnd(write(end_));
  }

  // The next `count` lines will be of similar length.
  void expectLines(std::size_t count) {
    linesBegin_ = size();
    lines_ = count;
  }

  void endLine(char* end) {
    ++linesDone_;
    setEnd(end);
  }

 private:
  static constexpr std::size_t kWithoutHeap = 500;  // most single values are shorter
  static constexpr std::size_t kSpare = 192;

  std::size_t size() const { return static_cast<std::size_t>(end_ - buffer_.data()); }

  void setEnd(char* end) {
    end_ = end;
    if (end > limit_) [[unlikely]]
      enlarge(0);
  }

  // Makes room for `count` characters and, judging by the lines so far, for the lines to come.
  [[gnu::noinline]] void enlarge(std::size_t count) {
    constexpr std::size_t kMaxInAdvance = 1 << 20;
    const std::size_t used = size();
    const std::size_t line = linesDone_ == 0 ? count : (used - linesBegin_) / linesDone_;
    const std::size_t others = line * (lines_ - std::min(lines_, linesDone_));
    buffer_.resize(used);
    buffer_.reserve(used + count + std::min(others + others / 4, kMaxInAdvance) + kSpare);
    end_ = buffer_.data() + used;
    limit_ = buffer_.data() + buffer_.capacity() - kSpare;
  }

  fmt::basic_memory_buffer<char, kWithoutHeap + kSpare> buffer_;
  char* end_;    // of the text; the buffer's own size lags behind
  char* limit_;  // of the text, with the spare room after it
  std::size_t linesBegin_ = 0;
  std::size_t lines_ = 0;
  std::size_t linesDone_ = 0;
};

}  // namespace zarn::print
