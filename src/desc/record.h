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

// A record that never leaves the library. Filled again and again, it keeps its memory.
class RecordBuffer {
 public:
  const DescBufInfo& fill(const Log& log, const Entry& entry);

 private:
  DescBufInfo record_{};
  std::vector<std::uint32_t> pcs_;  // of all three lists
  std::vector<std::uint8_t> desc_;
};

}  // namespace zarn::desc
