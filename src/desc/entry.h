// Locates the entries of a descriptor log, and what they hold, without allocating anything.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <numeric>

#include "log.h"

namespace zarn::desc {

// Record tags. The tag of the newest record gives the type of its entry.
enum class Tag : std::uint16_t {
  kEdma = 0x4445,           // "ED"
  kGlsu = 0x4C47,           // "GL"
  kRingBufferAte = 0x4252,  // "RB"
  kRbNextPtr = 0x504E,      // "NP"; like the two below, in a RingBufferATE entry
  kRbEnd = 0x4C45,          // "EL"
  kRbRelease = 0x4C52,      // "RL"
};

enum class EntryType : std::uint16_t { kEdma, kGlsu, kRingBufferAte };

// The number of kinds of ring-buffer records. Decoded records and reports have them in the order of rbKind().
constexpr std::size_t kRbKinds = 3;

// A tag's index in that order, or kRbKinds for any other tag.
constexpr std::size_t rbKind(Tag tag) {
  switch (tag) {
    case Tag::kRbNextPtr:
      return 0;
    case Tag::kRbEnd:
      return 1;
    case Tag::kRbRelease:
      return 2;
    case Tag::kEdma:
    case Tag::kGlsu:
    case Tag::kRingBufferAte:
      break;
  }
  return kRbKinds;
}

constexpr std::uint32_t kHeaderSize = 4;  // from the entry's start to its descriptor

struct Entry {
  EntryType type{};
  std::uint16_t start = 0;   // buffer offset of the descriptor header; the entry before this one ends there
  std::uint32_t oldest = 0;  // position of the oldest ring-buffer record
  std::array<std::uint32_t, kRbKinds> rbCounts{};
  std::uint32_t pc = 0xFFFFFFFF;
  std::uint32_t descSize = 0;  // in bytes

  std::uint32_t rbTotal() const { return std::accumulate(rbCounts.begin(), rbCounts.end(), std::uint32_t{0}); }
};

// Entries are filled in where the caller wants them: moving them there made array reports of small entries 8 to 12 %
// slower.

// Fills in the newest entry of the log. Returns false if it can't be decoded or the log is not readable.
bool locateNewest(const Log& log, Entry& entry);

// Why there is no entry, or why a walk has ended.
enum class Stop {
  kNone,  // there is an entry
  kNoRing,
  kNoTag,
  kStartOutside,  // the start offset lies outside the log
  kNoHeader,
  kTooSmallToCut,  // the log is too small to cut the descriptor
  kEntryLimit,
  kByteLimit,
};

// Why no entry of a readable log ends at `writeOffset`, and two fields of what would be its newest record.
Stop whyNoEntry(const Log& log, std::uint16_t writeOffset);
std::uint16_t newestTag(const Log& log, std::uint16_t writeOffset);
std::uint16_t newestStart(const Log& log, std::uint16_t writeOffset);

// Whether a field that decided this outcome was read at a position below zero.
bool isBelowZero(Stop stop, std::uint16_t writeOffset);

// Walks the entries of a readable log from the newest backwards.
class EntryWalk {
 public:
  explicit EntryWalk(const Log& log);

  // The smallest log in which a walk can find an entry.
  static constexpr std::uint64_t kMinLogSize = 140;

  // The most entries that a walk can return, and the number of bytes at which it ends.
  std::uint32_t limit() const { return limit_; }
  std::uint32_t byteLimit() const;

  // Fills in the next entry. Returns false once the walk has ended.
  bool next(Entry& entry);

  // Where the next entry would end, and why there is none.
  std::uint16_t writeOffset() const { return writeOffset_; }
  Stop stop() const;

 private:
  const Log& log_;
  std::uint32_t limit_;
  std::uint32_t count_ = 0;
  std::uint64_t sum_ = 0;  // of the bytes counted for the entries so far
  std::uint16_t writeOffset_;
};

}  // namespace zarn::desc
