#include "report.h"

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "../decimal.h"
#include "entry.h"
#include "log.h"
#include "record.h"
#include "zarn_utility.h"

namespace zarn::desc {
namespace {

template <typename Place>
constexpr bool kWrites = std::same_as<Place, char*>;

// Takes literals, so that the length of each copy is known at compile time.
template <typename Place, std::size_t n>
Place put(Place at, const char (&text)[n]) {
  if constexpr (kWrites<Place>) std::memcpy(at, text, n - 1);
  return at + (n - 1);
}

std::size_t put(std::size_t at, std::uint32_t number) { return at + decimalDigits(number); }
char* put(char* at, std::uint32_t number) { return writeDecimal(at, number); }

template <typename Place, std::size_t n>
Place putLine(Place at, const char (&label)[n], std::uint32_t number) {
  return put(put(put(at, label), number), "\n");
}

// The label of lines with PCs. All labels are copied at the same length; the rest of the line overwrites the surplus of
// a shorter one.
struct PcLabel {
  template <std::size_t n>
  constexpr PcLabel(const char (&text)[n]) : size(n - 1) {
    static_assert(sizeof text - 1 <= sizeof characters && sizeof characters <= sizeof text - 1 + sizeof "0] : 0\n" - 1);
    std::copy_n(text, n - 1, characters);
  }
  // The length of a line without the digits of its two numbers.
  constexpr std::size_t fixedSize() const { return size + sizeof "] : \n" - 1; }

  char characters[20] = {};
  std::size_t size;
};

// Deliberate (design.md, "Signed counts"): a count of 2^31 or more is taken as 0.
std::uint32_t signedCount(std::uint32_t count) { return count > INT32_MAX ? 0 : count; }

template <typename Place>
Place putLogHeader(Place at, const DescBufInfo& record) {
  at = putLine(at, "\nTotal Descriptor log used(bytes) : ", record.totalLogUsed);
  return record.overSized == 1 ? put(at, "Descriptor is over sized : yes\n")
                               : put(at, "Descriptor is over sized : no\n");
}

// " 00" to " ff", plus a character so that each can be written as one four-byte word.
constexpr auto kTableEntries = [] {
  constexpr char kDigits[] = "0123456789abcdef";
  std::array<std::array<char, 4>, 256> entries{};
  for (std::size_t byte = 0; byte < entries.size(); ++byte) {
    entries[byte] = {' ', kDigits[byte / 16], kDigits[byte % 16], '\n'};
  }
  return entries;
}();

constexpr std::uint32_t kBytesPerRow = 32;

// Writes rows of 32 bytes, each byte as two hexadecimal digits.
char* writeRows(char* at, const std::uint8_t* bytes, std::uint32_t count) {
  // The next entry's blank overwrites each entry's fourth character; the last one ends the row.
  const auto writeEntry = [](char* place, std::uint8_t byte) { std::memcpy(place, kTableEntries[byte].data(), 4); };
  for (std::uint32_t first = 0; first < count; first += kBytesPerRow, ++at) {
    std::uint32_t left = std::min(kBytesPerRow, count - first);
    // Eight at a time take 0.29 ns per byte. One at a time took 0.34 or 0.56, depending on where in memory the linker
    // puts the loop.
    for (; left >= 8; left -= 8, bytes += 8, at += 24) {
      for (std::ptrdiff_t i = 0; i < 8; ++i) writeEntry(at + 3 * i, bytes[i]);
    }
    for (; left > 0; --left, ++bytes, at += 3) writeEntry(at, *bytes);
  }
  return at;
}

template <typename Place>
Place putTable(Place at, const std::uint8_t* bytes, std::uint32_t count) {
  at = put(at, "Descriptor Table: \n");
  if constexpr (kWrites<Place>) {
    return writeRows(at, bytes, count);
  } else {
    return at + 3 * std::size_t{count} + (count + kBytesPerRow - 1) / kBytesPerRow;
  }
}

std::size_t putPcs(std::size_t at, const PcLabel& label, const std::uint32_t* pcs, std::uint32_t count,
                   std::size_t& pcRoom) {
  std::size_t size = count * label.fixedSize();
  for (std::uint32_t i = 0; i < count; ++i) size += decimalDigits(i) + decimalDigits(pcs[i]);
  pcRoom += size;
  return at + size;
}

char* putPcs(char* at, const PcLabel& label, const std::uint32_t* pcs, std::uint32_t count, std::size_t& pcRoom) {
  constexpr std::size_t kLongestLine = sizeof label.characters + sizeof "4294967295] : 4294967295\n" - 1;
  for (std::uint32_t i = 0; i < count;) {
    // As many lines as fit whatever their lengths, without checking each; near the end, one line at a time if it fits.
    auto fitting = static_cast<std::uint32_t>(std::min<std::size_t>(count - i, pcRoom / kLongestLine));
    if (fitting == 0 && label.fixedSize() + decimalDigits(i) + decimalDigits(pcs[i]) <= pcRoom) fitting = 1;
    if (fitting == 0) break;
    const char* const begin = at;
    for (const std::uint32_t end = i + fitting; i < end; ++i) {
      std::memcpy(at, label.characters, sizeof label.characters);
      at = put(at + label.size, i);
      at = putLine(at, "] : ", pcs[i]);
    }
    pcRoom -= static_cast<std::size_t>(at - begin);
  }
  return at;
}

// "no" is written only for a RingBufferATE entry, "yes" and the PCs for any entry.
template <typename Place, std::size_t n>
Place putRbSection(Place at, const char (&name)[n], bool has, bool saysNo, const PcLabel& label,
                   const std::uint32_t* pcs, std::uint32_t count, std::size_t& pcRoom) {
  if (has || saysNo) {
    at = put(at, name);
    at = has ? put(at, ": yes\n") : put(at, ": no\n");
  }
  return count == 0 ? at : putPcs(at, label, pcs, signedCount(count), pcRoom);
}

// Writes an entry from the PC on.
// Deliberate (design.md, "Unlike flags"): the type flags, like `valid` and `overSized`, count only if they are exactly
// 1; those of the ring-buffer records count by their lowest bit.
template <typename Place>
Place putEntry(Place at, const DescBufInfo& record, bool inArray, std::size_t& pcRoom) {
  static constexpr PcLabel kNextPtr = "qel_rb_next_ptr PC[";
  static constexpr PcLabel kNextPtrInArray = "qel_next_ptr PC[";
  static constexpr PcLabel kEnd = "qel_rb_end PC[";
  static constexpr PcLabel kRelease = "qel_rb_release PC[";
  const bool isRb = record.isRingBufferAte == 1;
  // Deliberate (design.md, "Unlike labels"): this label and the next pointers' label differ between the two reports.
  at = inArray ? putLine(at, "PC: ", record.pc) : putLine(at, "PC : ", record.pc);
  if (record.isEdma == 1) at = put(at, "Type: eDMA\n");
  if (record.isGlsu == 1) at = put(at, "Type: GLSU\n");
  if (isRb) at = put(at, "Type: RingBufferATE\n");
  at = putLine(at, "Size: ", record.descSize);
  at = putTable(at, record.desc, signedCount(record.descSize));
  at = putRbSection(at, "\nRB_next_PTR", (record.hasRbNextPtr & 1) != 0, isRb, inArray ? kNextPtrInArray : kNextPtr,
                    record.rbNextPtrPcs, record.rbNextPtrCount, pcRoom);
  at = putRbSection(at, "\nRB_end", (record.hasRbEnd & 1) != 0, isRb, kEnd, record.rbEndPcs, record.rbEndCount, pcRoom);
  return putRbSection(at, "\nRB_release", (record.hasRbRelease & 1) != 0, isRb, kRelease, record.rbReleasePcs,
                      record.rbReleaseCount, pcRoom);
}

bool isReported(const DescBufInfo* record) { return record != nullptr && record->valid == 1; }

// Runs `render` once to count the text, and again to write it into memory of exactly that size. If the log has changed
// in between, any room left over becomes empty lines.
template <typename Render>
char* makeText(Render render) {
  std::size_t pcRoom = 0;
  const std::size_t size = render(std::size_t{0}, pcRoom);
  char* const text = new char[size + 1];
  char* const end = render(text, pcRoom);
  std::fill_n(end, pcRoom, '\n');
  text[size] = '\0';
  return text;
}

// Memory that is reused, and grows to the largest size requested.
template <typename Element>
class Scratch {
 public:
  Element* get(std::uint32_t count) {
    if (count > elements_.size()) {
      elements_ = std::vector<Element>();  // freed first, so that there are never two
      elements_.resize(count);
    }
    return elements_.data();
  }

 private:
  std::vector<Element> elements_;
};

// The record that reports are made from, reused for one entry after the other. It never leaves the library and is only
// read. Making and releasing a record for each of 215 small entries takes 2.3 times as long as their whole report.
class RecordBuffer {
 public:
  explicit RecordBuffer(const Log& log) : log_(log) {}

  // The descriptor is filled in only on request: counting a text doesn't read it.
  const DescBufInfo* fill(const Entry& entry, bool withDescriptor) {
    setFields(log_, entry, record_);
    record_.rbNextPtrPcs = pcs_.get(entry.rbTotal());
    record_.rbEndPcs = record_.rbNextPtrPcs + record_.rbNextPtrCount;
    record_.rbReleasePcs = record_.rbEndPcs + record_.rbEndCount;
    if (entry.rbTotal() > 0) gatherPcs(log_, entry, record_);
    if (withDescriptor) record_.desc = descriptor(entry);
    return &record_;
  }

 private:
  // Returns a pointer into the log itself unless the descriptor wraps.
  std::uint8_t* descriptor(const Entry& entry) {
    const std::uint32_t start = entry.start + kHeaderSize;
    // Nothing writes through this pointer. The field is not const because callers' records own their bytes.
    if (log_.pieceSize(start) >= entry.descSize) return const_cast<std::uint8_t*>(log_.at(start));
    std::uint8_t* const copy = wrapped_.get(entry.descSize);
    log_.copy(start, entry.descSize, copy);
    return copy;
  }

  const Log& log_;
  DescBufInfo record_{};
  Scratch<std::uint32_t> pcs_;  // of all three lists
  Scratch<std::uint8_t> wrapped_;
};

}  // namespace

template <typename Place>
Place report(Place at, const DescBufInfo* record, std::size_t& pcRoom) {
  if (!isReported(record)) return at;
  return putEntry(putLogHeader(at, *record), *record, false, pcRoom);
}

template <typename Place>
Place arrayReport(Place at, std::uint32_t index, const DescBufInfo* record, std::size_t& pcRoom) {
  if (!isReported(record)) return at;
  // Deliberate (design.md, "Header of record 0"): never from a later record, not even if record 0 is left out.
  if (index == 0) at = putLogHeader(at, *record);
  at = put(put(put(at, "\nDescBufInfo "), index), " in Array :\n");
  return putEntry(at, *record, true, pcRoom);
}

template std::size_t report(std::size_t, const DescBufInfo*, std::size_t&);
template char* report(char*, const DescBufInfo*, std::size_t&);
template std::size_t arrayReport(std::size_t, std::uint32_t, const DescBufInfo*, std::size_t&);
template char* arrayReport(char*, std::uint32_t, const DescBufInfo*, std::size_t&);

char* reportOnNewest(const Log& log) {
  Entry entry;
  // Deliberate (design.md, "Null or empty"): the array report is an empty text in this case.
  if (!locateNewest(log, entry)) return nullptr;
  RecordBuffer buffered(log);
  const DescBufInfo* const record = buffered.fill(entry, true);
  return makeText([record](auto at, std::size_t& pcRoom) { return report(at, record, pcRoom); });
}

char* reportOnAll(const Log& log) {
  std::vector<Entry> entries;  // located once: locating them again for the text took 5 to 12 % longer
  if (log.isReadable()) {
    EntryWalk walk(log);
    entries.reserve(std::size_t{walk.limit()} + 1);
    while (walk.next(entries.emplace_back())) {
    }
    entries.pop_back();
  }
  RecordBuffer buffered(log);
  return makeText([&](auto at, std::size_t& pcRoom) {
    std::uint32_t index = 0;
    for (const auto& entry : entries) {
      at = arrayReport(at, index++, buffered.fill(entry, kWrites<decltype(at)>), pcRoom);
    }
    return at;
  });
}

}  // namespace zarn::desc

char* db_get_desc_string(const void* buffer, std::uint64_t size) {
  return zarn::desc::reportOnNewest(zarn::desc::Log(buffer, size));
}

char* db_get_desc_string_array(const void* buffer, std::uint64_t size) {
  return zarn::desc::reportOnAll(zarn::desc::Log(buffer, size));
}

void db_free_desc_string(char** text) {
  const char* const array = *text;
  *text = nullptr;
  delete[] array;
}
