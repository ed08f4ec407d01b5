// Writes records of descriptor logs as text.

#include <cstdint>
#include <iomanip>
#include <ios>
#include <locale>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>

#include "reference.h"
#include "zarn_utility.h"

namespace zarn::reference {
namespace {

void writeLogHeader(std::ostream& out, const DescBufInfo& record) {
  out << std::endl << "Total Descriptor log used(bytes) : " << record.totalLogUsed << std::endl;
  out << "Descriptor is over sized : " << (record.overSized == 1 ? "yes" : "no") << std::endl;
}

void writeSection(std::ostream& out, const char* name, std::uint8_t has, bool isRingBuffer, const char* label,
                  const std::uint32_t* pcs, std::uint32_t count) {
  if ((has & 1) != 0) {
    out << std::endl << name << ": yes" << std::endl;
  } else if (isRingBuffer) {
    out << std::endl << name << ": no" << std::endl;
  }
  for (std::int32_t i = 0; i < static_cast<std::int32_t>(count); ++i) {
    out << label << i << "] : " << pcs[i] << std::endl;
  }
}

void writeEntry(std::ostream& out, const DescBufInfo& record, const char* pcLabel, const char* nextPtrLabel) {
  const bool isRingBuffer = record.isRingBufferAte == 1;
  out << pcLabel << record.pc << std::endl;
  if (record.isEdma == 1) out << "Type: eDMA" << std::endl;
  if (record.isGlsu == 1) out << "Type: GLSU" << std::endl;
  if (isRingBuffer) out << "Type: RingBufferATE" << std::endl;
  out << "Size: " << record.descSize << std::endl << "Descriptor Table: ";
  for (std::int32_t i = 0; i < static_cast<std::int32_t>(record.descSize); ++i) {
    if (i % 32 == 0) out << std::endl;
    out << " " << std::hex << std::setw(2) << std::setfill('0') << static_cast<int>(record.desc[i]);
  }
  out << std::dec << std::endl;
  writeSection(out, "RB_next_PTR", record.hasRbNextPtr, isRingBuffer, nextPtrLabel, record.rbNextPtrPcs,
               record.rbNextPtrCount);
  writeSection(out, "RB_end", record.hasRbEnd, isRingBuffer, "qel_rb_end PC[", record.rbEndPcs, record.rbEndCount);
  writeSection(out, "RB_release", record.hasRbRelease, isRingBuffer, "qel_rb_release PC[", record.rbReleasePcs,
               record.rbReleaseCount);
}

}  // namespace

std::string reportOf(const DescBufInfo& record) {
  std::stringstream out;
  out.imbue(std::locale::classic());
  writeLogHeader(out, record);
  writeEntry(out, record, "PC : ", "qel_rb_next_ptr PC[");
  return out.str();
}

std::string arrayReportOf(const DescBufInfo* const* records, std::uint32_t count) {
  std::stringstream out;
  out.imbue(std::locale::classic());
  for (std::uint32_t i = 0; i < count; ++i) {
    if (records[i] == nullptr || records[i]->valid != 1) continue;
    if (i == 0) writeLogHeader(out, *records[i]);
    out << std::endl << "DescBufInfo " << i << " in Array :" << std::endl;
    writeEntry(out, *records[i], "PC: ", "qel_next_ptr PC[");
  }
  return out.str();
}

std::optional<std::string> report(const void* log, std::uint64_t size) {
  DescBufInfo* record = decodeNewest(log, size);
  if (record == nullptr) return std::nullopt;
  auto text = reportOf(*record);
  release(record);
  return text;
}

std::string arrayReport(const void* log, std::uint64_t size) {
  std::uint32_t count = 0;
  DescBufInfo** records = decodeAll(log, size, &count);
  auto text = arrayReportOf(records, count);
  release(records, count);
  return text;
}

}  // namespace zarn::reference
