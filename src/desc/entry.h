// Where an entry of a descriptor log lies and what it holds, found without allocating anything.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <numeric>

#include "log.h"

namespace zarn::desc {

// Tags of records; that of the newest record tells the type of its entry.
enum class Tag : std::uint16_t {
  kEdma = 0x4445,           // "ED"
  kGlsu = 0x4C47,           // "GL"
  kRingBufferAte = 0x4252,  // "RB"
  kRbNextPtr = 0x504E,      // "NP", and like the two below a record of a RingBufferATE entry
  kRbEnd = 0x4C45,          // "EL"
  kRbRelease = 0x4C52,      // "RL"
};

enum class EntryType : std::uint16_t { kEdma, kGlsu, kRingBufferAte };

// The kinds of ring-buffer records, in the order in which decoded records and reports have them.
constexpr std::size_t kRbKinds = 3;

// The place of a tag in that order; kRbKinds for any other tag.
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

constexpr std::uint32_t kHeaderSize = 4;  // from its start to the descriptor

struct Entry {
  EntryType type{};
  std::uint16_t start = 0;   // buffer offset of the descriptor header; the entry before this one ends there
  std::uint32_t oldest = 0;  // position of the oldest ring-buffer record
  std::array<std::uint32_t, kRbKinds> rbCounts{};
  std::uint32_t pc = 0xFFFFFFFF;
  std::uint32_t descSize = 0;  // in bytes

  std::uint32_t rbTotal() const { return std::accumulate(rbCounts.begin(), rbCounts.end(), std::uint32_t{0}); }
};

// Entries are filled in where the caller wants them: moving them there made an array report of small entries 8 to 12 %
// slower.

// Fills in the newest entry of the log. False: there is none that can be decoded, or the log is not readable.
bool locateNewest(const Log& log, Entry& entry);

// Why there is no entry, or a walk has ended.
enum class Stop {
  kNone,  // there is one
  kNoRing,
  kNoTag,
  kStartOutside,  // the start offset lies outside the log
  kNoHeader,
  kTooSmallToCut,  // the log, for its descriptor
  kEntryLimit,
  kByteLimit,
};

// Why there is no entry of a readable log that ends at `writeOffset`, and two fields of what would be its newest
// record.
Stop whyNoEntry(const Log& log, std::uint16_t writeOffset);
std::uint16_t newestTag(const Log& log, std::uint16_t writeOffset);
std::uint16_t newestStart(const Log& log, std::uint16_t writeOffset);

// Whether one of these fields that there is an entry for, or none, lies at a position below zero.
bool isBelowZero(Stop stop, std::uint16_t writeOffset);

// Goes through the entries of a readable log from the newest backwards.
class EntryWalk {
 public:
  explicit EntryWalk(const Log& log);

  // The smallest log that a walk has an entry in.
  static constexpr std::uint64_t kMinLogSize = 140;

  // The most entries that a walk can have, and the bytes of entries after which it ends.
  std::uint32_t limit() const { return limit_; }
  std::uint32_t byteLimit() const;

  // Fills in the next entry. False: the walk has ended.
  bool next(Entry& entry);

  // Where the next entry would end, and why there is none.
  std::uint16_t writeOffset() const { return writeOffset_; }
  Stop stop() const;

 private:
  const Log& log_;
  std::uint32_t limit_;
  std::uint32_t count_ = 0;
  std::uint64_t sum_ = 0;  // bytes that the entries so far are counted with
  std::uint16_t writeOffset_;
};

}  // namespace zarn::desc
