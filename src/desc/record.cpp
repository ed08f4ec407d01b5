#include "record.h"

#include <cstddef>

namespace zarn::desc {

// The record crosses the exported interface: its layout may not change.
static_assert(sizeof(void*) == 8 && sizeof(DescBufInfo) == 80);
static_assert(offsetof(DescBufInfo, valid) == 0);
static_assert(offsetof(DescBufInfo, overSized) == 1);
static_assert(offsetof(DescBufInfo, isEdma) == 2);
static_assert(offsetof(DescBufInfo, isGlsu) == 3);
static_assert(offsetof(DescBufInfo, isRingBufferAte) == 4);
static_assert(offsetof(DescBufInfo, hasRbNextPtr) == 5);
static_assert(offsetof(DescBufInfo, hasRbEnd) == 6);
static_assert(offsetof(DescBufInfo, hasRbRelease) == 7);
static_assert(offsetof(DescBufInfo, totalLogUsed) == 8);
static_assert(offsetof(DescBufInfo, pc) == 12);
static_assert(offsetof(DescBufInfo, descSize) == 16);
static_assert(offsetof(DescBufInfo, desc) == 24);
static_assert(offsetof(DescBufInfo, rbNextPtrCount) == 32);
static_assert(offsetof(DescBufInfo, rbNextPtrPcs) == 40);
static_assert(offsetof(DescBufInfo, rbEndCount) == 48);
static_assert(offsetof(DescBufInfo, rbEndPcs) == 56);
static_assert(offsetof(DescBufInfo, rbReleaseCount) == 64);
static_assert(offsetof(DescBufInfo, rbReleasePcs) == 72);

namespace {

// Fills one of the record's PC arrays.
struct PcList {
  std::uint32_t* next;
  std::uint32_t* end;

  // Where the backward walk crossed the start of a ring whose length does not divide 2^32, a tag can be met here more
  // often than it was counted there. What there is no room for is dropped.
  void add(std::uint32_t pc) {
    if (next != end) *next++ = pc;
  }
};

// From the oldest record to the newest. Slots that no PC reaches stay 0.
void gatherPcs(const Log& log, const Entry& entry, DescBufInfo& record) {
  PcList nextPtr{record.rbNextPtrPcs, record.rbNextPtrPcs + record.rbNextPtrCount};
  PcList end{record.rbEndPcs, record.rbEndPcs + record.rbEndCount};
  PcList release{record.rbReleasePcs, record.rbReleasePcs + record.rbReleaseCount};
  for (std::uint32_t i = 0; i < entry.counts.total(); ++i) {
    const std::uint32_t position = entry.oldest + 8 * i;
    const std::uint32_t pc = log.u32(position);
    switch (Tag{log.u16(position + 6)}) {
      case Tag::kRbNextPtr:
        nextPtr.add(pc);
        break;
      case Tag::kRbEnd:
        end.add(pc);
        break;
      case Tag::kRbRelease:
        release.add(pc);
        break;
      default:
        break;
    }
  }
}

}  // namespace

DescBufInfo* makeRecord(const Log& log, const Entry& entry) {
  auto* record = new DescBufInfo();
  record->valid = 1;
  record->overSized = log.totalUsed() != log.writeOffset();
  record->isEdma = entry.tag == Tag::kEdma;
  record->isGlsu = entry.tag == Tag::kGlsu;
  record->isRingBufferAte = entry.tag != Tag::kEdma && entry.tag != Tag::kGlsu;
  record->hasRbNextPtr = entry.counts.nextPtr != 0;
  record->hasRbEnd = entry.counts.end != 0;
  record->hasRbRelease = entry.counts.release != 0;
  record->totalLogUsed = log.totalUsed();
  record->pc = entry.pc;

  record->rbNextPtrCount = entry.counts.nextPtr;
  record->rbEndCount = entry.counts.end;
  record->rbReleaseCount = entry.counts.release;
  record->rbNextPtrPcs = new std::uint32_t[record->rbNextPtrCount]();
  record->rbEndPcs = new std::uint32_t[record->rbEndCount]();
  record->rbReleasePcs = new std::uint32_t[record->rbReleaseCount]();
  gatherPcs(log, entry, *record);

  record->descSize = entry.descSize;
  record->desc = new std::uint8_t[record->descSize];
  log.copy(entry.start + 4U, record->descSize, record->desc);
  return record;
}

void deleteRecord(DescBufInfo* record) {
  delete[] record->desc;
  delete[] record->rbNextPtrPcs;
  delete[] record->rbEndPcs;
  delete[] record->rbReleasePcs;
  delete record;
}

}  // namespace zarn::desc

DescBufInfo* db_get_desc_buffer_info(const void* buffer, std::uint64_t size) {
  using namespace zarn::desc;
  if (!Log::isReadable(buffer, size)) return nullptr;
  const Log log(buffer, size);
  const auto entry = locate(log, log.writeOffset());
  return entry ? makeRecord(log, *entry) : nullptr;
}

void db_free_desc_buffer_info(DescBufInfo** info) {
  zarn::desc::deleteRecord(*info);
  *info = nullptr;
}
