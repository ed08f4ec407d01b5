// The scan of a kernel's instruction stream for eDMA instructions.
#pragma once

#include <cstdint>
#include <optional>

namespace zarn::bin {

// The offset of the first eDMA instruction, if there is one. `bytes` may be null if `length` is below 1.
std::optional<std::int64_t> findEdma(const void* bytes, std::int64_t length);

}  // namespace zarn::bin
