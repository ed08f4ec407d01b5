#include "report.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

#include "record.h"

namespace zarn::desc {
namespace {

// What differs between the single report and the sections of the array report. The unlike blanks and names are meant.
struct Labels {
  std::string_view pc;
  std::string_view nextPtrPc;
};

constexpr Labels kSingleLabels = {"PC : ", "qel_rb_next_ptr PC["};
constexpr Labels kArrayLabels = {"PC: ", "qel_next_ptr PC["};

// Counts are taken as signed: one of 2^31 and more stands for none.
std::uint32_t elements(std::uint32_t count) { return count > INT32_MAX ? 0 : count; }

void appendNumber(std::string& out, std::uint32_t number) {
  char digits[10];
  out.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

void appendLine(std::string& out, std::string_view label, std::uint32_t number) {
  out += label;
  appendNumber(out, number);
  out += '\n';
}

void appendLogHeader(std::string& out, const DescBufInfo& record) {
  appendLine(out, "\nTotal Descriptor log used(bytes) : ", record.totalLogUsed);
  out += record.overSized == 1 ? "Descriptor is over sized : yes\n" : "Descriptor is over sized : no\n";
}

// Rows of 32 bytes as two hexadecimal digits each.
void appendTable(std::string& out, const std::uint8_t* bytes, std::uint32_t count) {
  constexpr std::uint32_t kBytesPerRow = 32;
  constexpr char kDigits[] = "0123456789abcdef";
  out += "Descriptor Table: ";
  for (std::uint32_t first = 0; first < count; first += kBytesPerRow) {
    char row[1 + 3 * kBytesPerRow];
    char* end = row;
    *end++ = '\n';
    const std::uint32_t last = std::min(first + kBytesPerRow, count);
    for (std::uint32_t i = first; i < last; ++i) {
      *end++ = ' ';
      *end++ = kDigits[bytes[i] >> 4];
      *end++ = kDigits[bytes[i] & 0xF];
    }
    out.append(row, end);
  }
  out += '\n';
}

// "no" is only said of a RingBufferATE entry, "yes" and the PCs of any.
void appendRbSection(std::string& out, std::string_view name, bool has, bool saysNo, std::string_view pcLabel,
                     const std::uint32_t* pcs, std::uint32_t count) {
  if (has || saysNo) out.append("\n").append(name).append(has ? ": yes\n" : ": no\n");
  for (std::uint32_t i = 0; i < elements(count); ++i) {
    out += pcLabel;
    appendNumber(out, i);
    appendLine(out, "] : ", pcs[i]);
  }
}

// From the PC on. Flags of the type count when they are exactly 1, those of the ring-buffer records by their lowest bit.
void appendEntry(std::string& out, const DescBufInfo& record, const Labels& labels) {
  const bool isRingBufferAte = record.isRingBufferAte == 1;
  appendLine(out, labels.pc, record.pc);
  if (record.isEdma == 1) out += "Type: eDMA\n";
  if (record.isGlsu == 1) out += "Type: GLSU\n";
  if (isRingBufferAte) out += "Type: RingBufferATE\n";
  appendLine(out, "Size: ", record.descSize);
  appendTable(out, record.desc, elements(record.descSize));
  appendRbSection(out, "RB_next_PTR", (record.hasRbNextPtr & 1) != 0, isRingBufferAte, labels.nextPtrPc,
                  record.rbNextPtrPcs, record.rbNextPtrCount);
  appendRbSection(out, "RB_end", (record.hasRbEnd & 1) != 0, isRingBufferAte, "qel_rb_end PC[", record.rbEndPcs,
                  record.rbEndCount);
  appendRbSection(out, "RB_release", (record.hasRbRelease & 1) != 0, isRingBufferAte, "qel_rb_release PC[",
                  record.rbReleasePcs, record.rbReleaseCount);
}

// At least the characters that appendEntry() writes, so that the text is allocated once.
std::size_t entrySize(const DescBufInfo& record) {
  constexpr std::size_t kFixedLines = 200;
  constexpr std::size_t kPcLine = 42;
  const std::size_t table = elements(record.descSize);
  const std::size_t pcs = std::size_t{elements(record.rbNextPtrCount)} + elements(record.rbEndCount) +
                          elements(record.rbReleaseCount);
  return kFixedLines + 3 * table + table / 32 + kPcLine * pcs;
}

char* copyOut(const std::string& text) {
  auto* copy = new char[text.size() + 1];
  std::memcpy(copy, text.c_str(), text.size() + 1);
  return copy;
}

}  // namespace

std::string report(const DescBufInfo& record) {
  std::string out;
  out.reserve(100 + entrySize(record));
  appendLogHeader(out, record);
  appendEntry(out, record, kSingleLabels);
  return out;
}

std::string report(const DescBufInfo* const* array, std::uint32_t count) {
  const auto isShown = [array](std::uint32_t i) { return array[i] != nullptr && array[i]->valid == 1; };
  std::string out;
  std::size_t size = 100;
  for (std::uint32_t i = 0; i < count; ++i) size += isShown(i) ? 40 + entrySize(*array[i]) : 0;
  out.reserve(size);

  for (std::uint32_t i = 0; i < count; ++i) {
    if (!isShown(i)) continue;
    if (i == 0) appendLogHeader(out, *array[i]);  // never from a later entry, also where entry 0 is left out
    out += "\nDescBufInfo ";
    appendNumber(out, i);
    out += " in Array :\n";
    appendEntry(out, *array[i], kArrayLabels);
  }
  return out;
}

}  // namespace zarn::desc

char* db_get_desc_string(const void* buffer, std::uint64_t size) {
  using namespace zarn::desc;
  const RecordPtr record(db_get_desc_buffer_info(buffer, size));
  if (record == nullptr || record->valid != 1) return nullptr;  // where the array report gives an empty text; it is meant
  return copyOut(report(*record));
}

char* db_get_desc_string_array(const void* buffer, std::uint64_t size) {
  using namespace zarn::desc;
  std::uint32_t count = 0;  // stays 0 where the log can't be read at all
  DescBufInfo** array = db_get_desc_buffer_info_array(buffer, size, &count);
  char* text = copyOut(report(array, count));
  db_free_desc_buffer_info_array(array, static_cast<std::int32_t>(count));
  return text;
}

void db_free_desc_string(char** text) {
  delete[] *text;
  *text = nullptr;
}
