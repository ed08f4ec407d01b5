// A walk over the entries of a descriptor log that keeps track of how much of the log it has shown.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "desc/entry.h"
#include "desc/log.h"

namespace tool {

// Why no entry ends at `writeOffset`, or why none is looked for there.
std::string reasonOf(const zarn::desc::Log& log, zarn::desc::Stop stop, std::uint16_t writeOffset);

class Walk {
 public:
  explicit Walk(const zarn::desc::Log& log) : log_(log), walk_(log) {}

  // Fills in the next entry. Returns false once the walk has ended; only then may the functions below be called.
  bool next(zarn::desc::Entry& entry);

  // Whether the entries are all that the log holds, except for the remains of one that the newest have overwritten.
  bool isComplete() const;

  std::uint32_t stoppedAt() const { return walk_.writeOffset(); }
  std::string reason() const;

  // The bytes of the ring that no entry accounts for.
  std::uint32_t bytesNotShown() const;

  // The message about a walk that isn't complete.
  std::string problem() const;

 private:
  void account(std::uint16_t end, const zarn::desc::Entry& entry);
  std::uint32_t distance(std::uint32_t from, std::uint32_t to) const;
  bool isOverSized() const { return log_.totalUsed() != log_.writeOffset(); }

  const zarn::desc::Log& log_;
  zarn::desc::EntryWalk walk_;
  std::uint32_t count_ = 0;
  std::uint64_t bytesStepped_ = 0;              // bytes stepped over, from the write offset backwards
  std::uint64_t bytesShown_ = 0;                // bytes of these that were shown, each counted once
  std::uint32_t longest_ = 0;                   // bytes of the longest entry
  std::optional<std::uint32_t> misplaced_;      // the first entry found through a position below zero
  std::optional<std::uint32_t> firstRepeated_;  // the first entry that covers bytes already shown
};

}  // namespace tool
