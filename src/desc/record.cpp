// Makes records of the newest entry, or of all entries from the newest backwards.

#include "record.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "../little_endian.h"
#include "entry.h"
#include "log.h"
#include "zarn_utility.h"

namespace zarn::desc {
namespace {

// The part of a PC array that is not filled yet.
struct PcList {
  std::uint32_t* next;
  std::uint32_t room;
};

}  // namespace

void setFields(const Log& log, const Entry& entry, DescBufInfo& record) {
  record.valid = 1;
  record.overSized = log.totalUsed() != log.writeOffset();
  record.isEdma = entry.type == EntryType::kEdma;
  record.isGlsu = entry.type == EntryType::kGlsu;
  record.isRingBufferAte = entry.type == EntryType::kRingBufferAte;
  record.rbNextPtrCount = entry.rbCounts[rbKind(Tag::kRbNextPtr)];
  record.rbEndCount = entry.rbCounts[rbKind(Tag::kRbEnd)];
  record.rbReleaseCount = entry.rbCounts[rbKind(Tag::kRbRelease)];
  record.hasRbNextPtr = record.rbNextPtrCount != 0;
  record.hasRbEnd = record.rbEndCount != 0;
  record.hasRbRelease = record.rbReleaseCount != 0;
  record.totalLogUsed = log.totalUsed();
  record.pc = entry.pc;
  record.descSize = entry.descSize;
}

// Goes from the oldest record to the newest. It can meet more or fewer records of a kind than were counted if the
// backward walk crossed position 0 of a ring whose length is not a power of two, or if the log has changed meanwhile.
// PCs without room are dropped, and slots without a PC become 0.
void gatherPcs(const Log& log, const Entry& entry, DescBufInfo& record) {
  PcList lists[kRbKinds + 1];
  lists[rbKind(Tag::kRbNextPtr)] = {record.rbNextPtrPcs, record.rbNextPtrCount};
  lists[rbKind(Tag::kRbEnd)] = {record.rbEndPcs, record.rbEndCount};
  lists[rbKind(Tag::kRbRelease)] = {record.rbReleasePcs, record.rbReleaseCount};
  lists[kRbKinds] = {nullptr, 0};  // for all other tags
  log.visitRecords(entry.oldest, entry.rbTotal(), [&lists](const std::uint8_t* at, std::uint32_t count) {
    while (count > 0) {
      const std::uint16_t tag = loadU16(at + kTagInRecord);
      const std::uint32_t run = runLength(tag, at + kTagInRecord, kRecordSize, count);
      PcList& list = lists[rbKind(Tag{tag})];
      const std::uint8_t* pc = at;
      for (std::uint32_t left = std::min(run, list.room); left > 0; --left, --list.room, pc += kRecordSize) {
        *list.next++ = rawU32(pc);
      }
      at += std::size_t{kRecordSize} * run;
      count -= run;
    }
  });
  for (const auto& list : lists) std::fill_n(list.next, list.room, 0);
}

DescBufInfo* makeRecord(const Log& log, const Entry& entry) {
  auto* record = new DescBufInfo();
  setFields(log, entry, *record);
  record->rbNextPtrPcs = new std::uint32_t[record->rbNextPtrCount];
  record->rbEndPcs = new std::uint32_t[record->rbEndCount];
  record->rbReleasePcs = new std::uint32_t[record->rbReleaseCount];
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

}  // namespace zarn::desc

DescBufInfo* db_get_desc_buffer_info(const void* buffer, std::uint64_t size) {
  using namespace zarn::desc;
  const Log log(buffer, size);
  Entry entry;
  return locateNewest(log, entry) ? makeRecord(log, entry) : nullptr;
}

void db_free_desc_buffer_info(DescBufInfo** info) {
  zarn::desc::deleteRecord(*info);
  *info = nullptr;
}

DescBufInfo** db_get_desc_buffer_info_array(const void* buffer, std::uint64_t size, std::uint32_t* count) {
  using namespace zarn::desc;
  const Log log(buffer, size);
  if (!log.isReadable()) return nullptr;
  std::uint32_t made = 0;
  *count = made;
  EntryWalk walk(log);
  const std::unique_ptr<DescBufInfo*[]> records(new DescBufInfo*[walk.limit() + 1]);
  for (Entry entry; walk.next(entry);) {
    records[made++] = makeRecord(log, entry);
    *count = made;
  }

  auto* result = new DescBufInfo*[made];
  std::copy_n(records.get(), made, result);
  return result;
}

void db_free_desc_buffer_info_array(DescBufInfo** array, std::int32_t count) {
  for (std::int32_t i = 0; i < count; ++i) zarn::desc::deleteRecord(array[i]);
  delete[] array;
}
