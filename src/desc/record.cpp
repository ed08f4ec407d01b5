#include "record.h"

#include <algorithm>

namespace zarn::desc {
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

// From the oldest record to the newest. Slots that no PC reaches stay as they are. Records of one tag mostly come in
// runs: their list is at hand until another tag comes.
void gatherPcs(const Log& log, const Entry& entry, DescBufInfo& record) {
  PcList nextPtr{record.rbNextPtrPcs, record.rbNextPtrPcs + record.rbNextPtrCount};
  PcList end{record.rbEndPcs, record.rbEndPcs + record.rbEndCount};
  PcList release{record.rbReleasePcs, record.rbReleasePcs + record.rbReleaseCount};
  PcList other{nullptr, nullptr};  // of all other tags, with room for none
  const auto listOf = [&](Tag tag) -> PcList& {
    switch (tag) {
      case Tag::kRbNextPtr:
        return nextPtr;
      case Tag::kRbEnd:
        return end;
      case Tag::kRbRelease:
        return release;
      default:
        return other;
    }
  };
  Tag runTag{};
  PcList run = other;
  log.visitRecords(entry.oldest, entry.counts.total(), [&](std::uint32_t pc, std::uint16_t tag) {
    if (Tag{tag} != runTag) {
      listOf(runTag) = run;
      runTag = Tag{tag};
      run = listOf(runTag);
    }
    run.add(pc);
  });
}

void setCounts(const Entry& entry, DescBufInfo& record) {
  record.rbNextPtrCount = entry.counts.nextPtr;
  record.rbEndCount = entry.counts.end;
  record.rbReleaseCount = entry.counts.release;
  record.descSize = entry.descSize;
}

// Everything but the counts and the descriptor. The PC arrays were made for the counts, and are filled here.
void fillRecord(const Log& log, const Entry& entry, DescBufInfo& record) {
  record.valid = 1;
  record.overSized = log.totalUsed() != log.writeOffset();
  record.isEdma = entry.tag == Tag::kEdma;
  record.isGlsu = entry.tag == Tag::kGlsu;
  record.isRingBufferAte = isRingBufferAte(entry.tag);
  record.hasRbNextPtr = record.rbNextPtrCount != 0;
  record.hasRbEnd = record.rbEndCount != 0;
  record.hasRbRelease = record.rbReleaseCount != 0;
  record.totalLogUsed = log.totalUsed();
  record.pc = entry.pc;
  if (entry.counts.total() > 0) gatherPcs(log, entry, record);
}

}  // namespace

DescBufInfo* makeRecord(const Log& log, const Entry& entry) {
  auto* record = new DescBufInfo();
  setCounts(entry, *record);
  record->rbNextPtrPcs = new std::uint32_t[record->rbNextPtrCount]();
  record->rbEndPcs = new std::uint32_t[record->rbEndCount]();
  record->rbReleasePcs = new std::uint32_t[record->rbReleaseCount]();
  record->desc = new std::uint8_t[record->descSize];
  fillRecord(log, entry, *record);
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

const DescBufInfo& RecordBuffer::fill(const Log& log, const Entry& entry) {
  setCounts(entry, record_);
  pcs_.assign(entry.counts.total(), 0);
  record_.rbNextPtrPcs = pcs_.data();
  record_.rbEndPcs = record_.rbNextPtrPcs + record_.rbNextPtrCount;
  record_.rbReleasePcs = record_.rbEndPcs + record_.rbEndCount;
  fillRecord(log, entry, record_);
  // The descriptor stays where it is, for reading only, but where it goes on at the ring's start.
  const std::uint32_t start = entry.start + kHeaderSize;
  record_.desc = const_cast<std::uint8_t*>(log.inOnePiece(start, entry.descSize));
  if (record_.desc == nullptr) {
    wrapped_.resize(std::max<std::size_t>(wrapped_.size(), entry.descSize));
    log.copy(start, entry.descSize, wrapped_.data());
    record_.desc = wrapped_.data();
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
