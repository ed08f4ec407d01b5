#include "utf8.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tool {

std::size_t characterLength(std::string_view text) {
  const auto byte = [text](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  const auto first = byte(0);
  if (first < 0x80) return 1;
  const std::size_t length = first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF5 ? 4 : 0;
  if (length == 0 || length > text.size()) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  const bool isOverlong = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xF0 && byte(1) < 0x90);
  const bool isSurrogate = first == 0xED && byte(1) >= 0xA0;
  const bool isBeyondUnicode = first == 0xF4 && byte(1) >= 0x90;
  return isOverlong || isSurrogate || isBeyondUnicode ? 0 : length;
}

std::string_view firstPiece(std::string_view text, std::size_t size) {
  const auto most = std::min(size + 3, text.size());  // a character has at most three bytes after its first
  auto end = std::min(size, text.size());
  while (end < most && (static_cast<std::uint8_t>(text[end]) & 0xC0) == 0x80) ++end;
  return text.substr(0, end);
}

}  // namespace tool
