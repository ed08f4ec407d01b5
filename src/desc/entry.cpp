#include "entry.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "../little_endian.h"
#include "log.h"

namespace zarn::desc {
namespace {

// An entry with one record and a one-unit descriptor of 64 bytes. Entries without a descriptor are shorter.
constexpr std::uint32_t kOneUnitEntry = kHeaderSize + 64 + kRecordSize;
static_assert(EntryWalk::kMinLogSize == Log::kTrailerSize + kOneUnitEntry);

// Distances from a record's end back to its fields.
constexpr std::uint32_t kTagBeforeEnd = 2;
constexpr std::uint32_t kStartOffsetBeforeEnd = 4;

// Deliberate (design.md, "16-bit positions"): an entry's newest tag, start offset and PC are read at positions that are
// cut to 16 bits after reduction. The positions of the backward walk, the gathered PCs and the descriptor are not.
std::uint16_t low16Bits(std::uint32_t position) { return static_cast<std::uint16_t>(position); }

// The type of an entry whose newest record has this tag, or nothing if the tag is unknown.
std::optional<EntryType> typeOf(Tag tag) {
  switch (tag) {
    case Tag::kEdma:
      return EntryType::kEdma;
    case Tag::kGlsu:
      return EntryType::kGlsu;
    case Tag::kRingBufferAte:
    case Tag::kRbNextPtr:
    case Tag::kRbEnd:
    case Tag::kRbRelease:
      return EntryType::kRingBufferAte;
  }
  return std::nullopt;
}

std::uint32_t bytesPerUnit(EntryType type) {
  switch (type) {
    case EntryType::kEdma:
    case EntryType::kGlsu:
      break;
    case EntryType::kRingBufferAte:
      return 128;
  }
  return 64;
}

// Counts ring-buffer records by kind, backwards from the one whose tag is at `position`, up to the first other record.
// Checks at most `most` records, which lie in one piece, and returns how many it counted.
std::uint32_t countBack(const Log& log, std::uint32_t position, std::uint32_t most, Entry& entry) {
  const std::uint8_t* const ring = log.at(0);
  std::uint32_t left = most;
  while (left > 0) {
    const std::uint16_t tag = loadU16(ring + position);
    const std::size_t kind = rbKind(Tag{tag});
    if (kind == kRbKinds) break;
    const std::uint32_t run = runLength(tag, ring + position, -std::ptrdiff_t{kRecordSize}, left);
    entry.rbCounts[kind] += run;
    position -= kRecordSize * run;
    left -= run;
  }
  return most - left;
}

// Counts the entry's ring-buffer records from the newest backwards, up to the first other record or once round the
// ring, and finds the oldest of them.
void walkBack(const Log& log, std::uint16_t writeOffset, Entry& entry) {
  std::uint32_t position = writeOffset;
  std::uint32_t left = log.ringSize() / kRecordSize + (log.ringSize() % kRecordSize != 0);
  while (left > 0) {
    // From here down to the start of the ring, tags are one record size apart.
    const std::uint32_t tagPosition = log.ring(position - kTagBeforeEnd);
    const std::uint32_t inPiece = std::min(left, tagPosition / kRecordSize + 1);
    const std::uint32_t counted = countBack(log, tagPosition, inPiece, entry);
    position = log.ring(tagPosition - kRecordSize * counted + kTagBeforeEnd);
    if (counted < inPiece) break;
    left -= counted;
  }
  entry.oldest = position;
}

// The positions of the newest tag and start offset.
std::uint16_t tagPosition(const Log& log, std::uint16_t writeOffset) {
  return low16Bits(log.ring(writeOffset - kTagBeforeEnd));
}
std::uint16_t startPosition(const Log& log, std::uint16_t writeOffset) {
  return low16Bits(log.ring(writeOffset - kStartOffsetBeforeEnd));
}

// The start offset of the newest record: the two bytes before its tag. Their buffer offsets are 32 bits wide, so for a
// tag at 0 or 1 they lie just below 4 GiB. A byte outside the buffer is looked up in the ring like any other position.
std::uint16_t anchorBefore(const Log& log, std::uint16_t tagPosition) {
  return static_cast<std::uint16_t>(log.byteAt(tagPosition - 2U) | log.byteAt(tagPosition - 1U) << 8);
}

// The size of a descriptor in bytes, or nothing if the log is too small to cut it.
std::optional<std::uint32_t> descriptorSize(const Log& log, EntryType type, std::uint16_t units) {
  const std::uint32_t raw = units * bytesPerUnit(type);
  // Deliberate (design.md, "76 and 128"): the test and the cut differ. For logs below 76 bytes the test also wraps, so
  // nothing is ever cut: such a descriptor goes round and round its tiny ring.
  const auto size = static_cast<std::uint32_t>(log.size());
  if (raw <= size - kOneUnitEntry) return raw;
  if (log.size() < 128) return std::nullopt;
  return size - 128;
}

// Fills in the entry whose newest record ends at `writeOffset`, or says why none can be decoded there.
Stop locate(const Log& log, std::uint16_t writeOffset, Entry& entry) {
  entry = {};
  if (log.ringSize() == 0) return Stop::kNoRing;
  const std::uint16_t tagAt = tagPosition(log, writeOffset);
  const Tag tag{log.u16(tagAt)};
  const auto type = typeOf(tag);
  if (!type) return Stop::kNoTag;
  entry.type = *type;

  std::uint16_t anchor = writeOffset;
  if (rbKind(tag) != kRbKinds) {
    walkBack(log, writeOffset, entry);
    // Deliberate (design.md, "PC before the start"): it comes from the eight bytes just before the entry's own start,
    // where the newest record of the entry before it lies.
    anchor = anchorBefore(log, tagAt);
    if (anchor > log.size()) return Stop::kStartOutside;
  }

  entry.start = log.u16(startPosition(log, writeOffset));
  if (entry.start > log.size()) return Stop::kStartOutside;
  const auto units = log.descriptorUnits(entry.start);
  if (!units) return entry.rbTotal() > 0 ? Stop::kNone : Stop::kNoHeader;
  const auto size = descriptorSize(log, entry.type, *units);
  if (!size) return Stop::kTooSmallToCut;
  entry.descSize = *size;
  entry.pc = log.u32(low16Bits(log.ring(anchor - kRecordSize)));
  return Stop::kNone;
}

}  // namespace

bool locateNewest(const Log& log, Entry& entry) {
  return log.isReadable() && locate(log, log.writeOffset(), entry) == Stop::kNone;
}

Stop whyNoEntry(const Log& log, std::uint16_t writeOffset) {
  Entry entry;
  return locate(log, writeOffset, entry);
}

std::uint16_t newestTag(const Log& log, std::uint16_t writeOffset) { return log.u16(tagPosition(log, writeOffset)); }

std::uint16_t newestStart(const Log& log, std::uint16_t writeOffset) {
  return log.u16(startPosition(log, writeOffset));
}

bool isBelowZero(Stop stop, std::uint16_t writeOffset) {
  switch (stop) {
    case Stop::kNoTag:
      return writeOffset < kTagBeforeEnd;
    case Stop::kNone:
    case Stop::kStartOutside:
    case Stop::kNoHeader:
    case Stop::kTooSmallToCut:
      return writeOffset < kStartOffsetBeforeEnd;
    case Stop::kNoRing:
    case Stop::kEntryLimit:
    case Stop::kByteLimit:
      break;
  }
  return false;
}

EntryWalk::EntryWalk(const Log& log)
    : log_(log), limit_(log.ringSize() / kOneUnitEntry), writeOffset_(log.writeOffset()) {}

// Computed in 32 bits. Any ring that can hold an entry has a limit above 0.
std::uint32_t EntryWalk::byteLimit() const { return static_cast<std::uint32_t>(log_.size()) - kOneUnitEntry; }

bool EntryWalk::next(Entry& entry) {
  if (count_ == limit_ || sum_ >= byteLimit() || locate(log_, writeOffset_, entry) != Stop::kNone) return false;
  ++count_;
  // Deliberate (design.md, "Uncounted records"): end and release records take 8 bytes each in the log but add nothing
  // to this sum. Entries may refer to each other in a circle; the sum and the limit end that, too.
  sum_ +=
      std::uint64_t{kRecordSize} * entry.rbCounts[rbKind(Tag::kRbNextPtr)] + entry.descSize + kHeaderSize + kRecordSize;
  writeOffset_ = entry.start;  // entries are contiguous: the one before ends where this one starts
  return true;
}

Stop EntryWalk::stop() const {
  if (count_ == limit_) return Stop::kEntryLimit;
  return sum_ >= byteLimit() ? Stop::kByteLimit : whyNoEntry(log_, writeOffset_);
}

}  // namespace zarn::desc
