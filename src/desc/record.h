// Decoded entries as the records that the exported interface hands out.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "entry.h"
#include "log.h"
#include "zarn_utility.h"

namespace zarn::desc {

// What a decoded record has of each kind of ring-buffer records, in the order of kRbTags.
struct RbFields {
  std::uint8_t DescBufInfo::*has;
  std::uint32_t DescBufInfo::*count;
  std::uint32_t* DescBufInfo::*pcs;
};
constexpr std::array<RbFields, kRbKinds> kRbFields = {{
    {&DescBufInfo::hasRbNextPtr, &DescBufInfo::rbNextPtrCount, &DescBufInfo::rbNextPtrPcs},
    {&DescBufInfo::hasRbEnd, &DescBufInfo::rbEndCount, &DescBufInfo::rbEndPcs},
    {&DescBufInfo::hasRbRelease, &DescBufInfo::rbReleaseCount, &DescBufInfo::rbReleasePcs},
}};

// A new record of the entry; it and its arrays belong to the caller.
DescBufInfo* makeRecord(const Log& log, const Entry& entry);

// Releases a record and its arrays, each of which may be null.
void deleteRecord(DescBufInfo* record);

// A record that never leaves the library and is only read. It keeps its memory when it is filled again, and its
// descriptor mostly lies in the log.
class RecordBuffer {
 public:
  // The bytes of the descriptor are there only if they are asked for; counting a text takes no look at them.
  const DescBufInfo& fill(const Log& log, const Entry& entry, bool withDescriptor);

 private:
  DescBufInfo record_{};
  std::vector<std::uint32_t> pcs_;     // of all three lists
  std::vector<std::uint8_t> wrapped_;  // a descriptor that does not lie in one piece
};

}  // namespace zarn::desc
