// Texts that may be UTF-8.
#pragma once

#include <cstddef>
#include <string_view>

namespace tool {

// Length of the UTF-8 character at the start of `text`, which isn't empty; 0 where there is none.
std::size_t characterLength(std::string_view text);

// The start of `text`, of about `size` bytes, that can be dealt with apart from the rest: it ends in no character.
std::string_view firstPiece(std::string_view text, std::size_t size);

}  // namespace tool
