// Text that grows at its end. The first characters need no memory of their own.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>

namespace zarn::desc {

class TextBuilder {
 public:
  TextBuilder() = default;
  TextBuilder(const TextBuilder&) = delete;
  TextBuilder& operator=(const TextBuilder&) = delete;

  std::string_view text() const { return {begin_, end_}; }

  void append(std::string_view text) { std::memcpy(grow(text.size()), text.data(), text.size()); }

  void appendNumber(std::uint32_t number) {
    char* at = room(kDigits);
    end_ = std::to_chars(at, at + kDigits, number).ptr;
  }

  // Makes the text longer by `count` characters, which the caller writes.
  char* grow(std::size_t count) {
    char* at = room(count);
    end_ += count;
    return at;
  }

  // For text that is about to be appended piece by piece: memory is made for `count` characters of it at once.
  void reserve(std::size_t count) { room(count); }

  // A copy that ends in a NUL, as the exported interface hands out.
  char* copy() const {
    const auto whole = text();
    auto* copy = new char[whole.size() + 1];
    std::memcpy(copy, whole.data(), whole.size());
    copy[whole.size()] = '\0';
    return copy;
  }

 private:
  static constexpr std::size_t kDigits = 10;  // of the largest number

  // The text's end, with at least `count` characters behind it.
  char* room(std::size_t count) {
    if (static_cast<std::size_t>(limit_ - end_) < count) enlarge(count);
    return end_;
  }

  void enlarge(std::size_t count) {
    const std::size_t size = text().size();
    const std::size_t capacity = std::max(2 * size, size + count);
    std::unique_ptr<char[]> larger(new char[capacity]);
    std::memcpy(larger.get(), begin_, size);
    heap_ = std::move(larger);
    begin_ = heap_.get();
    end_ = begin_ + size;
    limit_ = begin_ + capacity;
  }

  char inline_[1000];
  std::unique_ptr<char[]> heap_;
  char* begin_ = inline_;
  char* end_ = inline_;
  char* limit_ = inline_ + sizeof inline_;
};

}  // namespace zarn::desc
