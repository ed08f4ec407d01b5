// Decodes descriptor logs into records.
//
// For some logs, the rules alone would lead outside the buffer or the record's arrays. These cases are settled as in
// the library:
//
//   - a byte of the start-offset field before the newest tag that would be outside the buffer is read from the ring
//     instead;
//   - an entry has a descriptor header only if all four bytes of the header are inside the buffer;
//   - an entry whose descriptor would have to be cut in a log of less than 128 bytes can't be decoded;
//   - a ring whose length is 0 in 32 bits has no entries;
//   - if more records are met on the way forward than were counted on the way back, the last ones are dropped, and a
//     slot that no record fills is 0.

#include <algorithm>
#include <cstdint>
#include <vector>

#include "reference.h"
#include "zarn_utility.h"

namespace zarn::reference {
namespace {

enum Tag : std::uint32_t {
  kEdma = 0x4445,
  kGlsu = 0x4C47,
  kRingBufferAte = 0x4252,
  kNextPtr = 0x504E,
  kEnd = 0x4C45,
  kRelease = 0x4C52
};

struct Log {
  const std::uint8_t* bytes;
  std::uint64_t size;
  std::uint32_t ringSize;

  Log(const void* log, std::uint64_t logSize)
      : bytes(static_cast<const std::uint8_t*>(log)),
        size(logSize),
        ringSize(static_cast<std::uint32_t>(logSize - 64)) {}

  bool isReadable() const { return bytes != nullptr && size >= 65; }

  // At buffer offsets.
  std::uint32_t u16(std::uint64_t at) const { return bytes[at] | bytes[at + 1] * 0x100U; }
  std::uint32_t u32(std::uint64_t at) const { return u16(at) | u16(at + 2) << 16; }

  std::uint32_t writeOffset() const { return u16(size - 64); }
  std::uint32_t totalUsed() const { return u32(size - 60); }

  // In 32 bits: a position below zero has wrapped before it is reduced.
  std::uint32_t ring(std::uint32_t position) const { return position % ringSize; }
  std::uint32_t ring16(std::uint32_t position) const { return ring(position) & 0xFFFF; }
};

// The index of a tag's list among a record's three lists of PCs; 3 for any other tag.
std::uint32_t listOf(std::uint32_t tag) { return tag == kNextPtr ? 0 : tag == kEnd ? 1 : tag == kRelease ? 2 : 3; }

// Decodes the entry that ends at `writeOffset`, and sets that to the end of the entry before it. Returns null if there
// is none.
DescBufInfo* decodeEntry(const Log& log, std::uint32_t& writeOffset) {
  if (log.ringSize == 0) return nullptr;
  const std::uint32_t tagPosition = log.ring16(writeOffset - 2);
  const std::uint32_t newest = log.u16(tagPosition);
  const bool isRingBuffer = newest == kRingBufferAte || listOf(newest) != 3;
  if (newest != kEdma && newest != kGlsu && !isRingBuffer) return nullptr;

  const std::uint32_t start = log.u16(log.ring16(writeOffset - 4));
  std::uint32_t anchor = writeOffset;
  std::uint32_t oldest = writeOffset;
  std::uint32_t counts[4] = {};
  if (listOf(newest) != 3) {
    std::uint32_t position = writeOffset;
    std::uint64_t scanned = 0;
    for (;;) {
      const std::uint32_t at = log.ring(position - 2);
      const std::uint32_t list = listOf(log.u16(at));
      if (list == 3) {
        oldest = log.ring(at + 2);
        break;
      }
      ++counts[list];
      scanned += 8;
      position = log.ring(at - 6);
      if (scanned >= log.ringSize) {
        oldest = position;
        break;
      }
    }
    const auto byteAt = [&log](std::uint32_t offset) {
      return log.bytes[offset < log.size ? offset : log.ring(offset)];
    };
    anchor = byteAt(tagPosition - 2) | byteAt(tagPosition - 1) * 0x100U;
    if (anchor > log.size) return nullptr;
  }
  const std::uint32_t records = counts[0] + counts[1] + counts[2];
  if (start > log.size) return nullptr;

  std::uint32_t pc = 0xFFFFFFFF;
  std::uint32_t descSize = 0;
  if (start + std::uint64_t{4} <= log.size && log.u16(start) == 0x5453) {
    const auto size = static_cast<std::uint32_t>(log.size);
    descSize = log.u16(start + 2) * (isRingBuffer ? 128 : 64);
    if (descSize > size - 76) {
      if (log.size < 128) return nullptr;
      descSize = size - 128;
    }
    pc = log.u32(log.ring16(anchor - 8));
  } else if (records == 0) {
    return nullptr;
  }

  std::uint32_t* const pcs[] = {new std::uint32_t[counts[0]](), new std::uint32_t[counts[1]](),
                                new std::uint32_t[counts[2]]()};
  std::uint32_t filled[4] = {};
  for (std::uint32_t i = 0; i < records; ++i) {
    const std::uint32_t position = oldest + 8 * i;
    const std::uint32_t list = listOf(log.u16(log.ring(position + 6)));
    if (list != 3 && filled[list] < counts[list]) pcs[list][filled[list]++] = log.u32(log.ring(position));
  }
  auto* desc = new std::uint8_t[descSize];
  for (std::uint32_t i = 0; i < descSize; ++i) desc[i] = log.bytes[log.ring(start + 4 + i)];

  writeOffset = start;
  return new DescBufInfo{.valid = 1,
                         .overSized = log.totalUsed() != log.writeOffset(),
                         .isEdma = newest == kEdma,
                         .isGlsu = newest == kGlsu,
                         .isRingBufferAte = isRingBuffer,
                         .hasRbNextPtr = counts[0] != 0,
                         .hasRbEnd = counts[1] != 0,
                         .hasRbRelease = counts[2] != 0,
                         .totalLogUsed = log.totalUsed(),
                         .pc = pc,
                         .descSize = descSize,
                         .desc = desc,
                         .rbNextPtrCount = counts[0],
                         .rbNextPtrPcs = pcs[0],
                         .rbEndCount = counts[1],
                         .rbEndPcs = pcs[1],
                         .rbReleaseCount = counts[2],
                         .rbReleasePcs = pcs[2]};
}

}  // namespace

DescBufInfo* decodeNewest(const void* buffer, std::uint64_t size) {
  const Log log(buffer, size);
  if (!log.isReadable()) return nullptr;
  std::uint32_t writeOffset = log.writeOffset();
  return decodeEntry(log, writeOffset);
}

DescBufInfo** decodeAll(const void* buffer, std::uint64_t size, std::uint32_t* count) {
  const Log log(buffer, size);
  if (!log.isReadable()) return nullptr;
  const std::uint32_t limit = log.ringSize / 76;
  const auto budget = static_cast<std::uint32_t>(size) - 76;
  std::vector<DescBufInfo*> records;
  std::uint32_t writeOffset = log.writeOffset();
  for (std::uint64_t sum = 0; records.size() < limit && (records.empty() || sum < budget);) {
    DescBufInfo* record = decodeEntry(log, writeOffset);
    if (record == nullptr) break;
    records.push_back(record);
    sum += std::uint64_t{8} * record->rbNextPtrCount + record->descSize + 12;  // end and release records never count
  }
  *count = static_cast<std::uint32_t>(records.size());
  auto** array = new DescBufInfo*[records.size()];
  std::copy(records.begin(), records.end(), array);
  return array;
}

void release(DescBufInfo* record) {
  delete[] record->desc;
  delete[] record->rbNextPtrPcs;
  delete[] record->rbEndPcs;
  delete[] record->rbReleasePcs;
  delete record;
}

void release(DescBufInfo** records, std::uint32_t count) {
  for (std::uint32_t i = 0; i < count; ++i) release(records[i]);
  delete[] records;
}

}  // namespace zarn::reference
