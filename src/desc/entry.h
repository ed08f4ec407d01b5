// Where an entry of a descriptor log lies and what it holds, found without allocating anything.
#pragma once

#include <cstdint>
#include <optional>

#include "log.h"

namespace zarn::desc {

// Tags of records, and so the kinds of entries.
enum class Tag : std::uint16_t {
  kEdma = 0x4445,           // "ED"
  kGlsu = 0x4C47,           // "GL"
  kRingBufferAte = 0x4252,  // "RB"
  kRbNextPtr = 0x504E,      // "NP", and with the two below a RingBufferATE entry
  kRbEnd = 0x4C45,          // "EL"
  kRbRelease = 0x4C52,      // "RL"
};

// Of ring-buffer records.
struct RbCounts {
  std::uint32_t nextPtr = 0;
  std::uint32_t end = 0;
  std::uint32_t release = 0;

  std::uint32_t total() const { return nextPtr + end + release; }
};

inline bool isRingBufferAte(Tag tag) { return tag != Tag::kEdma && tag != Tag::kGlsu; }

constexpr std::uint32_t kHeaderSize = 4;  // the descriptor begins that many bytes behind its header's start

struct Entry {
  Tag tag{};                 // of the newest record
  std::uint16_t start = 0;   // buffer offset of the descriptor header; the entry before this one ends there
  std::uint32_t oldest = 0;  // position of the oldest ring-buffer record
  RbCounts counts;
  std::uint32_t pc = 0xFFFFFFFF;
  std::uint32_t descSize = 0;  // in bytes
};

// The entry whose newest record ends at `writeOffset`, or nothing where there is none that can be decoded.
std::optional<Entry> locate(const Log& log, std::uint16_t writeOffset);

// The newest entry of the log; nothing for a log that is not readable, either.
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
