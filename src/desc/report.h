// Writes records as text.
//
// Each function takes the place where its text goes and returns the place after it. If the place is a pointer, the text
// is written there; if it is a number, the text is only counted. So a text gets memory of exactly its size.
//
// PCs are read from the log once for counting and again for writing, and may change in between. So their lines keep to
// the room counted for them: counting adds it up in `pcRoom`; writing uses it up and leaves out lines that would not
// fit. The rest of a text is the same both times.
#pragma once

#include <cstddef>
#include <cstdint>

#include "log.h"
#include "zarn_utility.h"

namespace zarn::desc {

// The report on one record. It is empty if the record is null or not valid.
template <typename Place>
Place report(Place at, const DescBufInfo* record, std::size_t& pcRoom);

// The part of an array report that covers the record at `index`. A record that is null or not valid is left out, which
// leaves a gap in the numbering.
template <typename Place>
Place arrayReport(Place at, std::uint32_t index, const DescBufInfo* record, std::size_t& pcRoom);

// The texts that the exported interface hands out.
char* reportOnNewest(const Log& log);
char* reportOnAll(const Log& log);

extern template std::size_t report(std::size_t, const DescBufInfo*, std::size_t&);
extern template char* report(char*, const DescBufInfo*, std::size_t&);
extern template std::size_t arrayReport(std::size_t, std::uint32_t, const DescBufInfo*, std::size_t&);
extern template char* arrayReport(char*, std::uint32_t, const DescBufInfo*, std::size_t&);

}  // namespace zarn::desc
