// Turns located entries into the records that the exported interface hands out.
#pragma once

#include "entry.h"
#include "log.h"
#include "zarn_utility.h"

namespace zarn::desc {

// Sets everything but the arrays.
void setFields(const Log& log, const Entry& entry, DescBufInfo& record);

// Fills the PC arrays, whose sizes are the record's counts.
void gatherPcs(const Log& log, const Entry& entry, DescBufInfo& record);

// Makes a record of the entry. The caller owns it and its arrays.
DescBufInfo* makeRecord(const Log& log, const Entry& entry);

// Releases a record and its arrays, each of which may be null.
void deleteRecord(DescBufInfo* record);

}  // namespace zarn::desc
