// The bytes of a descriptor log: a ring of records and descriptors, then a 64-byte trailer. zarn_utility.h has the
// layout.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>

#include "../little_endian.h"

namespace zarn::desc {

class Log {
 public:
  // `buffer` may be null; else its `size` bytes are readable, and outlive this object.
  Log(const void* buffer, std::uint64_t size)
      : bytes_(static_cast<const std::uint8_t*>(buffer)),
        size_(size),
        ringSize_(static_cast<std::uint32_t>(size - kTrailerSize)) {}

  // Whether there is a trailer and at least one byte of ring. Nothing else may be asked where there is not.
  bool isReadable() const { return bytes_ != nullptr && size_ > kTrailerSize; }

  std::uint64_t size() const { return size_; }

  // 32 bits, as the device counts; 0 for some sizes above 4 GiB, and such a ring has no positions to read at.
  std::uint32_t ringSize() const { return ringSize_; }

  std::uint16_t writeOffset() const { return loadU16(bytes_ + (size_ - kTrailerSize)); }
  std::uint32_t totalUsed() const { return loadU32(bytes_ + (size_ - kTrailerSize) + 4); }

  // A position below zero has wrapped modulo 2^32 by the time it is reduced here. That is the device's rule, also for a
  // ring whose length does not divide 2^32: then -2 is not the last position but one. It is meant and has to stay.
  std::uint32_t ring(std::uint32_t position) const { return position < ringSize_ ? position : position % ringSize_; }

  // The word whose first byte lies at ring(position). The others follow it in the buffer, not in the ring: the trailer
  // behind the ring keeps them inside the buffer.
  std::uint16_t u16(std::uint32_t position) const { return loadU16(bytes_ + ring(position)); }
  std::uint32_t u32(std::uint32_t position) const { return loadU32(bytes_ + ring(position)); }

  // The byte at a plain buffer offset; one outside the buffer is taken as a position of the ring.
  std::uint8_t byteAt(std::uint32_t offset) const { return bytes_[offset < size_ ? offset : ring(offset)]; }

  // The length in units that the descriptor header at buffer offset `start` gives, if there is a header.
  std::optional<std::uint16_t> descriptorUnits(std::uint16_t start) const {
    if (start > size_ - 4 || loadU16(bytes_ + start) != kHeaderMark) return std::nullopt;
    return loadU16(bytes_ + start + 2);
  }

  // Calls visit(pc, tag) for `count` records that lie one behind the other from ring(position) on.
  template <typename Visit>
  void visitRecords(std::uint32_t position, std::uint32_t count, Visit visit) const {
    while (count > 0) {
      // What lies whole in front of the ring's end, and of where the position wraps, needs no reduction of its own.
      const std::uint32_t start = ring(position);
      const auto whole = static_cast<std::uint32_t>(
          std::min<std::uint64_t>({count, (ringSize_ - start) / 8, positionsFrom(position) / 8}));
      const std::uint8_t* at = bytes_ + start;
      for (std::uint32_t i = 0; i < whole; ++i, at += 8) visit(loadU32(at), loadU16(at + 6));
      position += 8 * whole;
      count -= whole;
      if (count == 0) break;
      visit(u32(position), u16(position + 6));
      position += 8;
      --count;
    }
  }

  // The bytes from ring(position) on, where `count` of them lie in one piece; else null.
  const std::uint8_t* inOnePiece(std::uint32_t position, std::uint32_t count) const {
    const std::uint32_t at = ring(position);
    return count <= ringSize_ - at && count <= positionsFrom(position) ? bytes_ + at : nullptr;
  }

  // Copies `count` bytes from ring(position) on, in whole runs; a count beyond the ring's length goes round again.
  void copy(std::uint32_t position, std::uint32_t count, std::uint8_t* out) const {
    while (count > 0) {
      const std::uint32_t at = ring(position);
      const auto run =
          static_cast<std::uint32_t>(std::min<std::uint64_t>({count, ringSize_ - at, positionsFrom(position)}));
      std::memcpy(out, bytes_ + at, run);
      out += run;
      count -= run;
      position += run;
    }
  }

 private:
  static constexpr std::uint64_t kTrailerSize = 64;
  static constexpr std::uint16_t kHeaderMark = 0x5453;

  // How far it is to where a position wraps modulo 2^32.
  static std::uint64_t positionsFrom(std::uint32_t position) { return (std::uint64_t{1} << 32) - position; }

  const std::uint8_t* bytes_;
  std::uint64_t size_;
  std::uint32_t ringSize_;
};

}  // namespace zarn::desc
