// Decoded entries as the records that the exported interface hands out.
#pragma once

#include <vector>

#include "entry.h"
#include "zarn_utility.h"

namespace zarn::desc {

// A new record of the entry; it and its arrays belong to the caller.
DescBufInfo* makeRecord(const Log& log, const Entry& entry);

// Releases a record and its arrays, of which each may be null.
void deleteRecord(DescBufInfo* record);

// A record that never leaves the library, and is only read. Filled again and again, it keeps its memory; its descriptor
// may lie in the log.
class RecordBuffer {
 public:
  const DescBufInfo& fill(const Log& log, const Entry& entry);

 private:
  DescBufInfo record_{};
  std::vector<std::uint32_t> pcs_;     // of all three lists
  std::vector<std::uint8_t> wrapped_;  // a descriptor that does not lie in one piece
};

}  // namespace zarn::desc
