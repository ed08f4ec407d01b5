// The scan of a kernel's instruction stream for eDMA instructions.
#pragma once

#include <cstdint>
#include <optional>

namespace zarn::bin {

// The offset of the first instruction that is one, or nothing. There may be no bytes where `length` is below 1.
std::optional<std::int64_t> findEdma(const void* bytes, std::int64_t length);

}  // namespace zarn::bin
