// Decoded entries as the records that the exported interface hands out.
#pragma once

#include "entry.h"
#include "log.h"
#include "zarn_utility.h"

namespace zarn::desc {

// Everything but the arrays.
void setFields(const Log& log, const Entry& entry, DescBufInfo& record);

// Fills the PC arrays, which have as many elements as their counts say.
void gatherPcs(const Log& log, const Entry& entry, DescBufInfo& record);

// A new record of the entry; it and its arrays belong to the caller.
DescBufInfo* makeRecord(const Log& log, const Entry& entry);

// Releases a record and its arrays, each of which may be null.
void deleteRecord(DescBufInfo* record);

}  // namespace zarn::desc
