// Decoded records as text.
#pragma once

#include "text_builder.h"
#include "zarn_utility.h"

namespace zarn::desc {

// The report of one record.
void appendReport(TextBuilder& out, const DescBufInfo& record);

// The part of an array's report that belongs to the record at `index`. A record that is null or not valid is left out,
// which leaves a gap in the numbering.
void appendArrayReport(TextBuilder& out, std::uint32_t index, const DescBufInfo* record);

}  // namespace zarn::desc
