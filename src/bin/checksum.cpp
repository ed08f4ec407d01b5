// The checksum of a kernel binary.

#include <cstdint>
#include <string_view>

#define XXH_INLINE_ALL  // private to this file: nothing of xxHash is exported or linked
#include <xxhash.h>

#include "zarn_utility.h"

namespace {

// XXH64 with seed 0.
std::uint64_t xxHash64(std::string_view data) { return XXH64(data.data(), data.size(), 0); }

}  // namespace

std::uint64_t clc_bin_compute_checksum(const void* bytes, std::uint64_t length, std::uint64_t* out) {
  *out = xxHash64({static_cast<const char*>(bytes), length});
  return *out;
}
