// A walk over the entries of a descriptor log that keeps account of what it has shown of it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "desc/entry.h"
#include "desc/log.h"

namespace tool {

// Why no entry ends at `writeOffset`, or none is looked for there.
std::string reasonOf(const zarn::desc::Log& log, zarn::desc::Stop stop, std::uint16_t writeOffset);

class Walk {
 public:
  explicit Walk(const zarn::desc::Log& log) : log_(log), walk_(log) {}

  // Fills in the next entry. False: the walk has ended, and only then can be asked what is below.
  bool next(zarn::desc::Entry& entry);

  // Whether the entries are all that the log holds, but for what is left of one that the newest have overwritten.
  bool isComplete() const;

  std::uint32_t stoppedAt() const { return walk_.writeOffset(); }
  std::string reason() const;

  // The bytes of the ring that no entry accounts for.
  std::uint32_t bytesNotShown() const;

  // What there is to tell of a walk that isn't complete.
  std::string problem() const;

 private:
  void account(std::uint16_t end, const zarn::desc::Entry& entry);
  std::uint32_t distance(std::uint32_t from, std::uint32_t to) const;
  bool isOverSized() const { return log_.totalUsed() != log_.writeOffset(); }

  const zarn::desc::Log& log_;
  zarn::desc::EntryWalk walk_;
  std::uint32_t count_ = 0;
  std::uint64_t stepped_ = 0;               // over that many bytes, from the write offset backwards
  std::uint64_t shown_ = 0;                 // that many of them, each of them once
  std::uint32_t longest_ = 0;               // bytes of the longest entry
  std::optional<std::uint32_t> misplaced_;  // the first entry that was found by a position below zero
  std::optional<std::uint32_t> again_;      // the first that comes over bytes shown before
};

}  // namespace tool
