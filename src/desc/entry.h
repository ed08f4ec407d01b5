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

constexpr std::uint32_t kHeaderSize = 4;  // the descriptor begins that many bytes after its header's start

struct Entry {
  EntryType type{};
  std::uint16_t start = 0;   // buffer offset of the descriptor header; the entry before this one ends there
  std::uint32_t oldest = 0;  // position of the oldest ring-buffer record
  std::array<std::uint32_t, kRbKinds> rbCounts{};
  std::uint32_t pc = 0xFFFFFFFF;
  std::uint32_t descSize = 0;  // in bytes

  std::uint32_t rbTotal() const { return std::accumulate(rbCounts.begin(), rbCounts.end(), std::uint32_t{0}); }
};

// Entries are filled in where the caller wants them: an array report of small entries took 8 to 12 % longer with those
// that were moved there.

// Fills in the newest entry of the log. False: there is none that can be decoded, or the log is not readable.
bool locateNewest(const Log& log, Entry& entry);

// Goes through the entries of a readable log from the newest backwards.
class EntryWalk {
 public:
  explicit EntryWalk(const Log& log);

  // The most entries that a walk can have.
  std::uint32_t limit() const { return limit_; }

  // Fills in the next entry. False: the walk has ended.
  bool next(Entry& entry);

 private:
  const Log& log_;
  std::uint32_t limit_;
  std::uint32_t count_ = 0;
  std::uint64_t sum_ = 0;  // bytes that the entries so far are counted with
  std::uint16_t writeOffset_;
};

}  // namespace zarn::desc
