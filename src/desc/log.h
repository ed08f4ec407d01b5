// The bytes of a descriptor log; docs/formats.md has the layout. A device may still be writing to it, so any byte of
// the ring may differ when it is read again.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

#include "../little_endian.h"

namespace zarn::desc {

constexpr std::uint32_t kRecordSize = 8;
constexpr std::uint32_t kTagInRecord = 6;  // the PC is at 0

// How many consecutive records, at most `most`, have the same tag as the first. Their tags are `step` bytes apart.
// Records of one kind mostly come in runs, and a circle of entries can lead over the same ones many times. Going one
// record at a time, the array decode of a ring full of end records took 1.8 times as long; without checking the second
// record first, array reports of such rings took up to 12 % longer (GCC 12, x86).
inline std::uint32_t runLength(std::uint16_t tag, const std::uint8_t* first, std::ptrdiff_t step, std::uint32_t most) {
  const auto continues = [=](std::ptrdiff_t i) { return rawU16(first + step * i) == tag; };
  if (most == 1 || !continues(1)) return 1;
  std::uint32_t length = 2;
  while (most - length >= 4 && continues(length) && continues(length + 1) && continues(length + 2) &&
         continues(length + 3)) {
    length += 4;
  }
  while (length < most && continues(length)) ++length;
  return length;
}

class Log {
 public:
  // `buffer` may be null; otherwise its `size` bytes are readable and outlive this object.
  Log(const void* buffer, std::uint64_t size)
      : bytes_(static_cast<const std::uint8_t*>(buffer)),
        size_(size),
        ringSize_(static_cast<std::uint32_t>(size - kTrailerSize)) {
    if (!isReadable()) return;
    writeOffset_ = loadU16(bytes_ + (size_ - kTrailerSize));
    totalUsed_ = loadU32(bytes_ + (size_ - kTrailerSize) + 4);
  }

  static constexpr std::uint64_t kTrailerSize = 64;
  static constexpr std::uint64_t kMinSize = kTrailerSize + 1;

  // Whether there is a trailer and at least one byte of ring. If not, the functions below must not be called.
  bool isReadable() const { return bytes_ != nullptr && size_ >= kMinSize; }

  std::uint64_t size() const { return size_; }

  // In 32 bits. It is 0 for some sizes above 4 GiB, and such a ring has no position to read at.
  std::uint32_t ringSize() const { return ringSize_; }

  // The trailer's fields as read by the constructor, so that they are the same for all entries.
  std::uint16_t writeOffset() const { return writeOffset_; }
  std::uint32_t totalUsed() const { return totalUsed_; }

  // From now on the log is read as if this were its write offset.
  void setWriteOffset(std::uint16_t writeOffset) { writeOffset_ = writeOffset; }

  // Deliberate (design.md, "Positions below zero"): such a position has wrapped modulo 2^32 by the time it is reduced
  // here. So in a ring whose length is not a power of two, -2 is not the last position but one.
  std::uint32_t ring(std::uint32_t position) const { return position < ringSize_ ? position : position % ringSize_; }
  bool wrapsToEnd() const { return (std::uint64_t{1} << 32) % ringSize_ == 0; }

  // The bytes from ring(position) on.
  // Deliberate (design.md, "Words past the end"): words continue in the buffer, not in the ring. Up to 64 bytes are
  // readable even past the ring's last byte, in the trailer.
  const std::uint8_t* at(std::uint32_t position) const { return bytes_ + ring(position); }

  std::uint16_t u16(std::uint32_t position) const { return loadU16(at(position)); }
  std::uint32_t u32(std::uint32_t position) const { return loadU32(at(position)); }

  // The byte at a plain buffer offset. An offset outside the buffer is taken as a ring position.
  std::uint8_t byteAt(std::uint32_t offset) const { return bytes_[offset < size_ ? offset : ring(offset)]; }

  // The length in units from the descriptor header at buffer offset `start`, if there is a header.
  std::optional<std::uint16_t> descriptorUnits(std::uint16_t start) const {
    if (start > size_ - 4 || loadU16(bytes_ + start) != kHeaderMark) return std::nullopt;
    return loadU16(bytes_ + start + 2);
  }

  // How many bytes lie in one piece from ring(position) on: up to the ring's end, or to where the position wraps modulo
  // 2^32. Within a piece, positions need no further reduction.
  std::uint32_t pieceSize(std::uint32_t position) const {
    constexpr std::uint64_t kPositions = std::uint64_t{1} << 32;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(ringSize_ - ring(position), kPositions - position));
  }

  // Visits `count` consecutive records from ring(position) on: calls visit(records, n) for each n of them that lie in
  // one piece.
  template <typename Visit>
  void visitRecords(std::uint32_t position, std::uint32_t count, Visit visit) const {
    while (count > 0) {
      std::uint32_t n = std::min(count, pieceSize(position) / kRecordSize);
      if (n > 0) {
        visit(at(position), n);
      } else {
        // A record that crosses the end of a piece: its PC continues in the buffer, its tag is where the ring
        // continues.
        std::uint8_t record[kRecordSize] = {};
        std::memcpy(record, at(position), sizeof(std::uint32_t));
        std::memcpy(record + kTagInRecord, at(position + kTagInRecord), sizeof(std::uint16_t));
        visit(record, n = 1);
      }
      position += kRecordSize * n;
      count -= n;
    }
  }

  // Copies `count` bytes from ring(position) on, piece by piece. A count beyond the ring's length goes round again.
  void copy(std::uint32_t position, std::uint32_t count, std::uint8_t* out) const {
    while (count > 0) {
      const std::uint32_t length = std::min(count, pieceSize(position));
      std::memcpy(out, at(position), length);
      out += length;
      position += length;
      count -= length;
    }
  }

 private:
  static constexpr std::uint16_t kHeaderMark = 0x5453;  // "ST"

  const std::uint8_t* bytes_;
  std::uint64_t size_;
  std::uint32_t ringSize_;
  std::uint16_t writeOffset_ = 0;
  std::uint32_t totalUsed_ = 0;
};

}  // namespace zarn::desc
