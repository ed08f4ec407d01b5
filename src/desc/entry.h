// Where an entry of a descriptor log lies and what it holds, found without allocating anything.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <optional>

#include "log.h"

namespace zarn::desc {

// Tags of records; that of the newest record is the kind of its entry.
enum class Tag : std::uint16_t {
  kEdma = 0x4445,           // "ED"
  kGlsu = 0x4C47,           // "GL"
  kRingBufferAte = 0x4252,  // "RB"
  kRbNextPtr = 0x504E,      // "NP", and like the two below a record of a RingBufferATE entry
  kRbEnd = 0x4C45,          // "EL"
  kRbRelease = 0x4C52,      // "RL"
};

inline bool isRingBufferAte(Tag tag) { return tag != Tag::kEdma && tag != Tag::kGlsu; }

// The kinds of ring-buffer records, in the order in which decoded records and reports have them.
constexpr std::array kRbTags = {Tag::kRbNextPtr, Tag::kRbEnd, Tag::kRbRelease};
constexpr std::size_t kRbKinds = kRbTags.size();

// The index of a tag in kRbTags; kRbKinds for any other tag.
constexpr std::size_t rbKind(Tag tag) {
  std::size_t kind = 0;
  while (kind < kRbKinds && kRbTags[kind] != tag) ++kind;
  return kind;
}

constexpr std::uint32_t kHeaderSize = 4;  // the descriptor begins that many bytes after its header's start

struct Entry {
  Tag tag{};                 // of the newest record
  std::uint16_t start = 0;   // buffer offset of the descriptor header; the entry before this one ends there
  std::uint32_t oldest = 0;  // position of the oldest ring-buffer record
  std::array<std::uint32_t, kRbKinds> rbCounts{};
  std::uint32_t pc = 0xFFFFFFFF;
  std::uint32_t descSize = 0;  // in bytes

  std::uint32_t rbTotal() const { return std::accumulate(rbCounts.begin(), rbCounts.end(), std::uint32_t{0}); }
};

// The newest entry of the log, or nothing where there is none that can be decoded, or the log is not readable.
std::optional<Entry> locateNewest(const Log& log);

// Goes through the entries of a readable log from the newest backwards.
class EntryWalk {
 public:
  explicit EntryWalk(const Log& log);

  // The most entries that a walk can have.
  std::uint32_t limit() const { return limit_; }

  // The next entry, or nothing at the end of the walk.
  std::optional<Entry> next();

 private:
  const Log& log_;
  std::uint32_t limit_;
  std::uint32_t count_ = 0;
  std::uint64_t sum_ = 0;  // bytes that the entries so far are counted with
  std::uint16_t writeOffset_;
};

}  // namespace zarn::desc
