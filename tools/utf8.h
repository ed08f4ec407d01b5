// Texts that may be UTF-8.
#pragma once

#include <cstddef>
#include <string_view>

namespace tool {

// The length of the UTF-8 character at the start of `text`, which must not be empty; 0 if there is none.
std::size_t characterLength(std::string_view text);

// About the first `size` bytes of `text`, without splitting a character, so that they can be processed on their own.
std::string_view firstPiece(std::string_view text, std::size_t size);

}  // namespace tool
