#include "walk.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>

#include "desc/entry.h"
#include "desc/log.h"
#include "output.h"

namespace tool {
namespace {

using zarn::desc::Entry;
using zarn::desc::EntryWalk;
using zarn::desc::Log;
using zarn::desc::Stop;

std::string causeOf(const Log& log, Stop stop, std::uint16_t writeOffset) {
  switch (stop) {
    case Stop::kNone:
      return {};
    case Stop::kNoRing:
      return "no ring";
    case Stop::kNoTag: {
      char cause[32];
      std::snprintf(cause, sizeof cause, "no tag (0x%04x)", static_cast<unsigned>(newestTag(log, writeOffset)));
      return cause;
    }
    case Stop::kStartOutside:
      return "start offset outside the log (" + std::to_string(newestStart(log, writeOffset)) + ")";
    case Stop::kNoHeader:
      return "no header at start offset " + std::to_string(newestStart(log, writeOffset));
    case Stop::kTooSmallToCut:
      return "too small to cut the descriptor";
    case Stop::kEntryLimit:
      return "the limit of " + counted(EntryWalk(log).limit(), "entry", "entries");
    case Stop::kByteLimit:
      return "the limit of " + std::to_string(EntryWalk(log).byteLimit()) + " bytes";
  }
  return {};
}

// Whether the fields that decided this outcome were read elsewhere than the device wrote them.
bool isMisplaced(const Log& log, Stop stop, std::uint16_t writeOffset) {
  return isBelowZero(stop, writeOffset) && !log.wrapsToEnd();
}

std::string misplacedNote(const Log& log) {
  return " read at a position below zero, which is not at the end of a ring of " + std::to_string(log.ringSize()) +
         " bytes";
}

}  // namespace

std::string reasonOf(const Log& log, Stop stop, std::uint16_t writeOffset) {
  auto reason = causeOf(log, stop, writeOffset);
  if (isMisplaced(log, stop, writeOffset)) reason.append(",").append(misplacedNote(log));
  return reason;
}

bool Walk::next(Entry& entry) {
  const auto end = walk_.writeOffset();
  if (!walk_.next(entry)) return false;
  account(end, entry);
  return true;
}

// In an intact log, an entry's bytes are those from its start to its end. If a damaged start offset points elsewhere,
// the entry accounts for no more than it holds. The oldest entry may have lost its header to the newest ones. Then only
// its records are shown, and its start lies in bytes that are not read again.
void Walk::account(std::uint16_t end, const Entry& entry) {
  const std::uint32_t step =
      entry.start % log_.ringSize() == end % log_.ringSize() ? log_.ringSize() : distance(entry.start, end);
  const std::uint32_t held =
      zarn::desc::kHeaderSize + entry.descSize + zarn::desc::kRecordSize * std::max(entry.rbTotal(), 1U);
  const bool hasHeader = log_.descriptorUnits(entry.start).has_value();
  const bool isRepeated = bytesStepped_ >= log_.ringSize() || (hasHeader && bytesStepped_ + step > log_.ringSize());
  if (isRepeated && !firstRepeated_) firstRepeated_ = count_;
  const std::uint32_t size = std::min(step, held);
  bytesStepped_ += step;
  if (!firstRepeated_) bytesShown_ += size;
  if (!misplaced_ && isMisplaced(log_, Stop::kNone, end)) misplaced_ = count_;
  longest_ = std::max(longest_, size);
  ++count_;
}

// The distance forwards in the ring.
std::uint32_t Walk::distance(std::uint32_t from, std::uint32_t to) const {
  const std::uint32_t ringSize = log_.ringSize();
  const std::uint64_t beyond = std::uint64_t{to % ringSize} + ringSize - from % ringSize;
  return static_cast<std::uint32_t>(beyond % ringSize);
}

bool Walk::isComplete() const {
  const auto left = bytesNotShown();
  return !firstRepeated_ && (left == 0 || (isOverSized() && left < longest_));
}

std::string Walk::reason() const {
  auto reason = reasonOf(log_, walk_.stop(), walk_.writeOffset());
  if (misplaced_) reason += "; entry " + std::to_string(*misplaced_) + " was" + misplacedNote(log_);
  if (firstRepeated_) {
    reason += "; from entry " + std::to_string(*firstRepeated_) + " on, the walk repeats the same bytes";
  }
  return reason;
}

std::uint32_t Walk::bytesNotShown() const {
  const std::uint32_t written = isOverSized() ? log_.ringSize() : log_.writeOffset();
  if (firstRepeated_) return static_cast<std::uint32_t>(written - std::min<std::uint64_t>(bytesShown_, written));
  if (!isOverSized()) return stoppedAt();
  return bytesStepped_ >= log_.ringSize() ? 0 : distance(log_.writeOffset(), stoppedAt());
}

std::string Walk::problem() const {
  return "stopped at " + std::to_string(stoppedAt()) + " after " + counted(count_, "entry", "entries") + ": " +
         reason() + "; " + counted(bytesNotShown(), "byte", "bytes") + " not shown";
}

}  // namespace tool
