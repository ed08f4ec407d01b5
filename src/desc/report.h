// Decoded records as text.
#pragma once

#include <cstdint>
#include <string>

#include "zarn_utility.h"

namespace zarn::desc {

// The report of one record.
std::string report(const DescBufInfo& record);

// The report of an array. Entries that are null or not valid are left out, and leave a gap in the numbering.
std::string report(const DescBufInfo* const* array, std::uint32_t count);

}  // namespace zarn::desc
