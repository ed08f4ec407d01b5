#include "entry.h"

namespace zarn::desc {
namespace {

constexpr std::uint32_t kRecordSize = 8;

// With a descriptor of one unit.
constexpr std::uint32_t kShortestEntry = kHeaderSize + 64 + kRecordSize;

// Before a record's end.
constexpr std::uint32_t kTagBehind = 2;
constexpr std::uint32_t kStartOffsetBehind = 4;

// Three positions of an entry count modulo 65,536 once they are reduced to the ring: those of its newest tag, of its
// start offset and of its PC. In rings of more than 65,536 bytes that makes them other positions; it is meant so. The
// positions of the backward walk, of the gathered PCs and of the descriptor are not cut.
std::uint16_t cut(std::uint32_t position) { return static_cast<std::uint16_t>(position); }

// The counter of a ring-buffer record's tag, null for any other tag.
std::uint32_t* counterOf(Tag tag, RbCounts& counts) {
  switch (tag) {
    case Tag::kRbNextPtr:
      return &counts.nextPtr;
    case Tag::kRbEnd:
      return &counts.end;
    case Tag::kRbRelease:
      return &counts.release;
    default:
      return nullptr;
  }
}

bool isRbRecord(Tag tag) { return tag == Tag::kRbNextPtr || tag == Tag::kRbEnd || tag == Tag::kRbRelease; }

bool isKnown(Tag tag) {
  return tag == Tag::kEdma || tag == Tag::kGlsu || tag == Tag::kRingBufferAte || isRbRecord(tag);
}

// Counts the entry's ring-buffer records from the newest backwards, up to the first record of another kind or until the
// whole ring has been stepped over, and finds the oldest of them. A circle of entries can lead here many times over a
// ring full of one tag; counting a run of equal tags at once saves a fifth of the time then.
void walkBack(const Log& log, std::uint16_t writeOffset, Entry& entry) {
  Tag tag = entry.tag;
  std::uint32_t* counter = counterOf(tag, entry.counts);
  std::uint32_t run = 0;  // records with that tag, one behind the other
  std::uint32_t position = writeOffset;
  for (std::uint64_t scanned = 0; scanned < log.ringSize(); scanned += kRecordSize, ++run) {
    const std::uint32_t tagPosition = log.ring(position - kTagBehind);
    if (const Tag next{log.u16(tagPosition)}; next != tag) {
      *counter += run;
      run = 0;
      tag = next;
      counter = counterOf(tag, entry.counts);
      if (counter == nullptr) {
        entry.oldest = log.ring(tagPosition + kTagBehind);
        return;
      }
    }
    position = log.ring(tagPosition - (kRecordSize - kTagBehind));
  }
  *counter += run;
  entry.oldest = position;
}

// The start offset of the newest record, read at the two bytes before its tag. These are plain buffer offsets, in 32
// bits: for a tag at 0 or 1 they lie just below 4 GiB. Where the buffer does not reach that far, each byte is looked up
// in the ring like any other position.
std::uint16_t anchorBefore(const Log& log, std::uint16_t tagPosition) {
  return static_cast<std::uint16_t>(log.byteAt(tagPosition - 2U) | log.byteAt(tagPosition - 1U) << 8);
}

// The bytes of a descriptor of `units`, or nothing where the log is too small for the size it would be cut to.
std::optional<std::uint32_t> descriptorSize(const Log& log, Tag tag, std::uint16_t units) {
  const std::uint32_t raw = units * (isRingBufferAte(tag) ? 128U : 64U);
  // 76 in the test and 128 in the cut are meant to differ. Below 76 bytes the test wraps too, and nothing is ever cut:
  // such a descriptor goes round and round its tiny ring.
  const auto size = static_cast<std::uint32_t>(log.size());
  if (raw <= size - 76) return raw;
  if (log.size() < 128) return std::nullopt;
  return size - 128;
}

// Fills in the entry whose newest record ends at `writeOffset`. Says whether there is one that can be decoded.
bool find(const Log& log, std::uint16_t writeOffset, Entry& entry) {
  if (log.ringSize() == 0) return false;
  const std::uint16_t tagPosition = cut(log.ring(writeOffset - kTagBehind));
  entry.tag = Tag{log.u16(tagPosition)};
  if (!isKnown(entry.tag)) return false;

  std::uint16_t anchor = writeOffset;
  if (isRbRecord(entry.tag)) {
    walkBack(log, writeOffset, entry);
    // The PC of such an entry is read before its own start, from the eight bytes that end there. It is meant so.
    anchor = anchorBefore(log, tagPosition);
    if (anchor > log.size()) return false;
  }

  entry.start = log.u16(cut(log.ring(writeOffset - kStartOffsetBehind)));
  if (entry.start > log.size()) return false;
  const auto units = log.descriptorUnits(entry.start);
  if (!units) return entry.counts.total() > 0;
  const auto size = descriptorSize(log, entry.tag, *units);
  if (!size) return false;
  entry.descSize = *size;
  entry.pc = log.u32(cut(log.ring(anchor - kRecordSize)));
  return true;
}

}  // namespace

std::optional<Entry> locate(const Log& log, std::uint16_t writeOffset) {
  std::optional<Entry> entry(std::in_place);
  if (!find(log, writeOffset, *entry)) entry.reset();
  return entry;
}

std::optional<Entry> locateNewest(const Log& log) {
  if (!log.isReadable()) return std::nullopt;
  return locate(log, log.writeOffset());
}

EntryWalk::EntryWalk(const Log& log)
    : log_(log), limit_(log.ringSize() / kShortestEntry), writeOffset_(log.writeOffset()) {}

std::optional<Entry> EntryWalk::next() {
  const auto budget = static_cast<std::uint32_t>(log_.size()) - kShortestEntry;
  if (count_ == limit_ || (count_ > 0 && sum_ >= budget)) return std::nullopt;
  const auto entry = locate(log_, writeOffset_);
  if (!entry) return std::nullopt;
  ++count_;
  // End and release records are not counted, though they take 8 bytes each; it is meant so. Entries may refer to each
  // other in a circle: the sum and the limit end that too.
  sum_ += std::uint64_t{kRecordSize} * entry->counts.nextPtr + entry->descSize + kHeaderSize + kRecordSize;
  writeOffset_ = entry->start;  // entries are contiguous: the one before ends where this one starts
  return entry;
}

}  // namespace zarn::desc
