// Decoded entries as the records that the exported interface hands out.
#pragma once

#include <memory>

#include "entry.h"
#include "zarn_utility.h"

namespace zarn::desc {

// A new record of the entry; it and its arrays belong to the caller.
DescBufInfo* makeRecord(const Log& log, const Entry& entry);

// Releases a record and its arrays, of which each may be null.
void deleteRecord(DescBufInfo* record);

struct RecordDeleter {
  void operator()(DescBufInfo* record) const { deleteRecord(record); }
};

using RecordPtr = std::unique_ptr<DescBufInfo, RecordDeleter>;

}  // namespace zarn::desc
