// Decoded records as text.
//
// Each function takes the place where its text goes and returns the place after it. A place is either a pointer, and
// the text is written there, or a number, and the text is only counted: the same code does both, so that a text can
// have memory of exactly its size before it is written.
#pragma once

#include <cstddef>
#include <cstdint>

#include "zarn_utility.h"

namespace zarn::desc {

// The report of one record. One that is null or not valid has none.
template <typename Place>
Place report(Place at, const DescBufInfo* record);

// The part of an array's report that belongs to the record at `index`. One that is null or not valid is left out, which
// leaves a gap in the numbering.
template <typename Place>
Place arrayReport(Place at, std::uint32_t index, const DescBufInfo* record);

extern template std::size_t report(std::size_t, const DescBufInfo*);
extern template char* report(char*, const DescBufInfo*);
extern template std::size_t arrayReport(std::size_t, std::uint32_t, const DescBufInfo*);
extern template char* arrayReport(char*, std::uint32_t, const DescBufInfo*);

}  // namespace zarn::desc
