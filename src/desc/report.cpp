#include "report.h"

#include <algorithm>
#include <array>

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

void appendLine(TextBuilder& out, std::string_view label, std::uint32_t number) {
  out.append(label);
  out.appendNumber(number);
  out.append("\n");
}

void appendLogHeader(TextBuilder& out, const DescBufInfo& record) {
  appendLine(out, "\nTotal Descriptor log used(bytes) : ", record.totalLogUsed);
  out.append(record.overSized == 1 ? "Descriptor is over sized : yes\n" : "Descriptor is over sized : no\n");
}

// " 00" to " ff", and one more character so that each can be written as a word of four.
constexpr auto kTableEntries = [] {
  constexpr char kDigits[] = "0123456789abcdef";
  std::array<std::array<char, 4>, 256> entries{};
  for (std::size_t byte = 0; byte < entries.size(); ++byte) {
    entries[byte] = {' ', kDigits[byte / 16], kDigits[byte % 16], '\n'};
  }
  return entries;
}();

// Rows of 32 bytes as two hexadecimal digits each.
void appendTable(TextBuilder& out, const std::uint8_t* bytes, std::uint32_t count) {
  constexpr std::uint32_t kBytesPerRow = 32;
  out.append("Descriptor Table: \n");
  for (std::uint32_t first = 0; first < count; first += kBytesPerRow) {
    const std::uint32_t length = std::min(kBytesPerRow, count - first);
    char* at = out.grow(3 * length + 1);
    // The fourth character of each entry is overwritten by the next one's blank, and the last one's ends the row.
    for (std::uint32_t i = 0; i < length; ++i, at += 3) std::memcpy(at, kTableEntries[bytes[first + i]].data(), 4);
  }
}

// "no" is only said of a RingBufferATE entry, "yes" and the PCs of any.
void appendRbSection(TextBuilder& out, std::string_view name, bool has, bool saysNo, std::string_view pcLabel,
                     const std::uint32_t* pcs, std::uint32_t count) {
  if (has || saysNo) {
    out.append("\n");
    out.append(name);
    out.append(has ? ": yes\n" : ": no\n");
  }
  for (std::uint32_t i = 0; i < elements(count); ++i) {
    out.append(pcLabel);
    out.appendNumber(i);
    appendLine(out, "] : ", pcs[i]);
  }
}

// From the PC on. Flags of the type count when they are exactly 1, those of the ring-buffer records by their lowest
// bit.
void appendEntry(TextBuilder& out, const DescBufInfo& record, const Labels& labels) {
  const bool isRingBufferAte = record.isRingBufferAte == 1;
  appendLine(out, labels.pc, record.pc);
  if (record.isEdma == 1) out.append("Type: eDMA\n");
  if (record.isGlsu == 1) out.append("Type: GLSU\n");
  if (isRingBufferAte) out.append("Type: RingBufferATE\n");
  appendLine(out, "Size: ", record.descSize);
  appendTable(out, record.desc, elements(record.descSize));
  appendRbSection(out, "RB_next_PTR", (record.hasRbNextPtr & 1) != 0, isRingBufferAte, labels.nextPtrPc,
                  record.rbNextPtrPcs, record.rbNextPtrCount);
  appendRbSection(out, "RB_end", (record.hasRbEnd & 1) != 0, isRingBufferAte, "qel_rb_end PC[", record.rbEndPcs,
                  record.rbEndCount);
  appendRbSection(out, "RB_release", (record.hasRbRelease & 1) != 0, isRingBufferAte, "qel_rb_release PC[",
                  record.rbReleasePcs, record.rbReleaseCount);
}

constexpr std::size_t kSizeOfLogHeader = 100;

// About as many characters as an entry's part of a report has, and hardly ever fewer.
std::size_t textSize(const Entry& entry) {
  constexpr std::size_t kSizeOfFixedLines = 100;
  constexpr std::size_t kSizeOfRbLines = 60;
  constexpr std::size_t kSizeOfPcLine = 36;
  const std::size_t bytes = elements(entry.descSize);
  const std::size_t rbLines = isRingBufferAte(entry.tag) ? kSizeOfRbLines + kSizeOfPcLine * entry.counts.total() : 0;
  return kSizeOfFixedLines + 3 * bytes + bytes / 32 + rbLines;
}

}  // namespace

void appendReport(TextBuilder& out, const DescBufInfo& record) {
  appendLogHeader(out, record);
  appendEntry(out, record, kSingleLabels);
}

void appendArrayReport(TextBuilder& out, std::uint32_t index, const DescBufInfo* record) {
  if (record == nullptr || record->valid != 1) return;
  if (index == 0) appendLogHeader(out, *record);  // never from a later record, also where this one is left out
  out.append("\nDescBufInfo ");
  out.appendNumber(index);
  out.append(" in Array :\n");
  appendEntry(out, *record, kArrayLabels);
}

}  // namespace zarn::desc

// Both reports use one record for all entries, which never leaves the library: making and releasing the memory of a
// record of its own for each took longer than to write its text. The text's memory is made at once, from what locating
// the entries tells.

char* db_get_desc_string(const void* buffer, std::uint64_t size) {
  using namespace zarn::desc;
  const Log log(buffer, size);
  const auto entry = locateNewest(log);
  if (!entry) return nullptr;  // where the array report gives an empty text; it is meant
  RecordBuffer record;
  TextBuilder out;
  out.reserve(kSizeOfLogHeader + textSize(*entry));
  appendReport(out, record.fill(log, *entry));
  return out.copy();
}

char* db_get_desc_string_array(const void* buffer, std::uint64_t size) {
  using namespace zarn::desc;
  const Log log(buffer, size);
  TextBuilder out;
  if (log.isReadable()) {
    std::size_t characters = kSizeOfLogHeader;
    for (EntryWalk walk(log); const auto entry = walk.next();) characters += textSize(*entry);
    out.reserve(characters);
    RecordBuffer record;
    EntryWalk walk(log);
    for (std::uint32_t i = 0; const auto entry = walk.next(); ++i) appendArrayReport(out, i, &record.fill(log, *entry));
  }
  return out.copy();
}

void db_free_desc_string(char** text) {
  const char* const array = *text;
  *text = nullptr;
  delete[] array;
}
