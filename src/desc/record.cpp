#include "record.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "../little_endian.h"
#include "entry.h"
#include "log.h"
#include "zarn_utility.h"

namespace zarn::desc {
namespace {

// The slots of a PC array that are not filled yet.
struct PcList {
  std::uint32_t* next = nullptr;
  std::uint32_t* end = nullptr;
};

// Fills the PC arrays, which were made for the counts, from the oldest record to the newest. Where the backward walk
// crossed the start of a ring whose length does not divide 2^32, a kind can be met more or less often than it was
// counted: PCs that there is no room for are dropped, and slots that no PC reaches become 0.
void gatherPcs(const Log& log, const Entry& entry, DescBufInfo& record) {
  std::array<PcList, kRbKinds + 1> lists;  // the last one, of all other tags, has room for none
  for (std::size_t kind = 0; kind < kRbKinds; ++kind) {
    std::uint32_t* const pcs = record.*kRbFields[kind].pcs;
    lists[kind] = {pcs, pcs + entry.rbCounts[kind]};
  }
  log.visitRecords(entry.oldest, entry.rbTotal(), [&lists](const std::uint8_t* at, std::uint32_t count) {
    constexpr std::ptrdiff_t kStep = kRecordSize;
    const std::uint8_t* const end = at + kStep * count;
    while (at != end) {
      const std::uint16_t tag = loadU16(at + kTagInRecord);
      PcList& list = lists[rbKind(Tag{tag})];
      do {
        if (end - at >= 4 * kStep && list.end - list.next >= 4 && areNextThree(tag, at + kTagInRecord, kStep)) {
          for (std::ptrdiff_t i = 0; i < 4; ++i) list.next[i] = loadU32(at + kStep * i);
          list.next += 4;
          at += 4 * kStep;
        } else {
          if (list.next != list.end) *list.next++ = loadU32(at);
          at += kStep;
        }
      } while (at != end && loadU16(at + kTagInRecord) == tag);
    }
  });
  for (const auto& list : lists) std::fill(list.next, list.end, 0);
}

// Everything but the arrays.
void setFields(const Log& log, const Entry& entry, DescBufInfo& record) {
  record.valid = 1;
  record.overSized = log.totalUsed() != log.writeOffset();
  record.isEdma = entry.tag == Tag::kEdma;
  record.isGlsu = entry.tag == Tag::kGlsu;
  record.isRingBufferAte = isRingBufferAte(entry.tag);
  for (std::size_t kind = 0; kind < kRbKinds; ++kind) {
    record.*kRbFields[kind].has = entry.rbCounts[kind] != 0;
    record.*kRbFields[kind].count = entry.rbCounts[kind];
  }
  record.totalLogUsed = log.totalUsed();
  record.pc = entry.pc;
  record.descSize = entry.descSize;
}

}  // namespace

DescBufInfo* makeRecord(const Log& log, const Entry& entry) {
  auto* record = new DescBufInfo();
  setFields(log, entry, *record);
  for (const auto& list : kRbFields) record->*list.pcs = new std::uint32_t[record->*list.count];
  record->desc = new std::uint8_t[record->descSize];
  if (entry.rbTotal() > 0) gatherPcs(log, entry, *record);
  log.copy(entry.start + kHeaderSize, record->descSize, record->desc);
  return record;
}

void deleteRecord(DescBufInfo* record) {
  delete[] record->desc;
  delete[] record->rbNextPtrPcs;
  delete[] record->rbEndPcs;
  delete[] record->rbReleasePcs;
  delete record;
}

const DescBufInfo& RecordBuffer::fill(const Log& log, const Entry& entry, bool withDescriptor) {
  setFields(log, entry, record_);
  if (pcs_.size() < entry.rbTotal()) pcs_.resize(entry.rbTotal());
  std::uint32_t* pcs = pcs_.data();
  for (const auto& list : kRbFields) {
    record_.*list.pcs = pcs;
    pcs += record_.*list.count;
  }
  if (entry.rbTotal() > 0) gatherPcs(log, entry, record_);
  record_.desc = nullptr;
  if (!withDescriptor) return record_;
  const std::uint32_t start = entry.start + kHeaderSize;
  if (log.pieceSize(start) >= entry.descSize) {
    // Nobody writes there: this record is handed out for reading only. The field is not const because the records that
    // callers get own their bytes.
    record_.desc = const_cast<std::uint8_t*>(log.at(start));
  } else {
    if (wrapped_.size() < entry.descSize) wrapped_.resize(entry.descSize);
    record_.desc = wrapped_.data();
    log.copy(start, entry.descSize, record_.desc);
  }
  return record_;
}

}  // namespace zarn::desc

DescBufInfo* db_get_desc_buffer_info(const void* buffer, std::uint64_t size) {
  using namespace zarn::desc;
  const Log log(buffer, size);
  const auto entry = locateNewest(log);
  return entry ? makeRecord(log, *entry) : nullptr;
}

void db_free_desc_buffer_info(DescBufInfo** info) {
  zarn::desc::deleteRecord(*info);
  *info = nullptr;
}
