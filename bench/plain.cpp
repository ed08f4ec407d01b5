#include "plain.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <iomanip>
#include <sstream>
#include <vector>

#include "print/fmt.h"

namespace bench::plain {

// {fmt} for every line: the label by format(), the value by sprintf().
std::string printText(const void* buffer, const char* stringTable) {
  std::uint32_t words[155];
  std::memcpy(words, buffer, sizeof words);
  constexpr int kPrintTypes[] = {0, 0, 1, 1, 0, 2, 3, 3, 1};
  const int printType = kPrintTypes[words[0] & 0x1F];
  const std::uint32_t dataType = words[0] >> 6 & 0x1F;
  const bool isFloat = dataType == 5 || dataType == 6;
  const char* format = stringTable + words[10];
  const std::uint32_t* data = words + 11;

  auto text = fmt::format(
      "Graph Id: {}\nKernel Id: {}\nInstance Id: {}\nCurrent time: {}\nTotal size: {}\n"
      "submask0: {:#x}\nsubmask1: {:#x}\nsubmask2: {:#x}\nsubmask3: {:#x}\n",
      words[3], words[4], words[5], words[1], words[2], words[6], words[7], words[8], words[9]);
  const auto addLine = [&](const std::string& label, std::uint32_t word) {
    text += label;
    text += isFloat ? fmt::sprintf(format, std::bit_cast<float>(word)) : fmt::sprintf(format, word);
    text += '\n';
  };

  if (printType == 1) addLine("", data[0]);
  for (std::uint32_t thread = 0; thread < 64 && (printType == 0 || printType == 3); ++thread) {
    if (printType == 0 && (words[6 + thread / 16] >> 2 * (thread % 16) & 3) == 0) continue;
    if (printType == 0 && (dataType == 3 || dataType == 4)) {
      addLine(fmt::format("thread_{}:\nlow 32 bits:\n", thread), data[thread]);
      addLine("high 32 bits:\n", data[64 + thread]);
    } else {
      addLine(fmt::format("thread_{}: ", thread), data[thread]);
    }
  }
  constexpr const char* kPads[] = {"L0", "L1", "R0", "R1", "U0", "U1", "D0", "D1"};
  for (std::uint32_t i = 0; i < 64 && printType >= 2; ++i) {
    addLine(fmt::format("{}_{}: ", kPads[i / 8], i % 8), data[(printType == 3 ? 64 : 0) + i]);
  }
  return text;
}

namespace {

// Every byte of a log is looked up by itself.
struct Log {
  const std::uint8_t* bytes;
  std::uint32_t ringSize;

  explicit Log(const std::string& log)
      : bytes(reinterpret_cast<const std::uint8_t*>(log.data())),
        ringSize(static_cast<std::uint32_t>(log.size()) - 64) {}

  std::uint32_t u8(std::uint32_t position) const { return bytes[position % ringSize]; }
  std::uint32_t u16(std::uint32_t position) const { return u8(position) | u8(position + 1) << 8; }
  std::uint32_t u32(std::uint32_t position) const { return u16(position) | u16(position + 2) << 16; }
  std::uint32_t trailer(std::uint32_t at) const { return bytes[ringSize + at] | bytes[ringSize + at + 1] * 0x100U; }
  std::uint32_t writeOffset() const { return trailer(0); }
  std::uint32_t totalUsed() const { return trailer(4) | trailer(6) << 16; }
};

// The entry that ends at `writeOffset`, which then becomes the end of the entry before it.
DescBufInfo* decodeEntry(const Log& log, std::uint32_t& writeOffset) {
  enum Tag { kNextPtr, kEnd, kRelease, kEdma, kGlsu, kRingBuffer, kUnknown };
  const auto tagBefore = [&log](std::uint32_t position) {
    constexpr std::uint32_t kTags[] = {0x504E, 0x4C45, 0x4C52, 0x4445, 0x4C47, 0x4252};
    return std::find(kTags, kTags + kUnknown, log.u16(position - 2)) - kTags;
  };
  const auto newest = tagBefore(writeOffset);
  if (newest == kUnknown) return nullptr;
  const bool isRingBuffer = newest != kEdma && newest != kGlsu;

  std::uint32_t counts[kUnknown + 1] = {};
  std::uint32_t oldest = writeOffset;
  for (std::uint32_t scanned = 0; scanned < log.ringSize; scanned += 8, oldest -= 8) {
    const auto tag = tagBefore(oldest);
    if (tag > kRelease) break;
    ++counts[tag];
  }
  const std::uint32_t records = counts[kNextPtr] + counts[kEnd] + counts[kRelease];
  const std::uint32_t start = log.u16(writeOffset - 4);
  std::uint32_t size = 0;
  std::uint32_t pc = 0xFFFFFFFF;
  if (log.u16(start) == 0x5453) {
    size = log.u16(start + 2) * (isRingBuffer ? 128 : 64);
    if (size > log.ringSize - 12) size = log.ringSize - 64;
    pc = log.u32((records != 0 ? start : writeOffset) - 8);
  } else if (records == 0) {
    return nullptr;
  }

  std::uint32_t* const pcs[] = {new std::uint32_t[counts[0]], new std::uint32_t[counts[1]],
                                new std::uint32_t[counts[2]]};
  std::uint32_t filled[3] = {};
  for (std::uint32_t i = 0; i < records; ++i, oldest += 8) {
    const auto tag = tagBefore(oldest + 8);
    pcs[tag][filled[tag]++] = log.u32(oldest);
  }
  auto* desc = new std::uint8_t[size];
  for (std::uint32_t i = 0; i < size; ++i) desc[i] = static_cast<std::uint8_t>(log.u8(start + 4 + i));
  const bool overSized = log.totalUsed() != log.writeOffset();
  writeOffset = start;
  return new DescBufInfo{1,
                         overSized,
                         newest == kEdma,
                         newest == kGlsu,
                         isRingBuffer,
                         counts[0] != 0,
                         counts[1] != 0,
                         counts[2] != 0,
                         log.totalUsed(),
                         pc,
                         size,
                         desc,
                         counts[0],
                         pcs[0],
                         counts[1],
                         pcs[1],
                         counts[2],
                         pcs[2]};
}

void writeSection(std::ostream& out, const char* name, const char* label, const std::uint32_t* pcs, std::uint32_t count,
                  bool isRingBuffer) {
  if (count != 0 || isRingBuffer) out << std::endl << name << (count != 0 ? ": yes" : ": no") << std::endl;
  for (std::uint32_t i = 0; i < count; ++i) out << label << i << "] : " << pcs[i] << std::endl;
}

void writeHeader(std::ostream& out, const DescBufInfo& info) {
  out << std::endl << "Total Descriptor log used(bytes) : " << info.totalLogUsed << std::endl;
  out << "Descriptor is over sized : " << (info.overSized == 1 ? "yes" : "no") << std::endl;
}

void writeEntry(std::ostream& out, const DescBufInfo& info, const char* pcLabel, const char* nextPtrLabel) {
  out << pcLabel << info.pc << std::endl;
  if (info.isEdma) out << "Type: eDMA" << std::endl;
  if (info.isGlsu) out << "Type: GLSU" << std::endl;
  if (info.isRingBufferAte) out << "Type: RingBufferATE" << std::endl;
  out << "Size: " << info.descSize << std::endl << "Descriptor Table: ";
  for (std::uint32_t i = 0; i < info.descSize; ++i) {
    if (i % 32 == 0) out << std::endl;
    out << " " << std::hex << std::setw(2) << std::setfill('0') << static_cast<int>(info.desc[i]);
  }
  out << std::dec << std::endl;
  writeSection(out, "RB_next_PTR", nextPtrLabel, info.rbNextPtrPcs, info.rbNextPtrCount, info.isRingBufferAte);
  writeSection(out, "RB_end", "qel_rb_end PC[", info.rbEndPcs, info.rbEndCount, info.isRingBufferAte);
  writeSection(out, "RB_release", "qel_rb_release PC[", info.rbReleasePcs, info.rbReleaseCount, info.isRingBufferAte);
}

}  // namespace

DescBufInfo** decodeLog(const std::string& bytes, std::uint32_t* count) {
  const Log log(bytes);
  std::vector<DescBufInfo*> infos;
  std::uint32_t writeOffset = log.writeOffset();
  for (std::uint32_t used = 0; infos.size() < log.ringSize / 76 && used < bytes.size() - 76;) {
    DescBufInfo* info = decodeEntry(log, writeOffset);
    if (info == nullptr) break;
    infos.push_back(info);
    used += 8 * info->rbNextPtrCount + info->descSize + 12;
  }
  *count = static_cast<std::uint32_t>(infos.size());
  auto** array = new DescBufInfo*[infos.size()];
  std::copy(infos.begin(), infos.end(), array);
  return array;
}

std::string report(const std::string& bytes) {
  const Log log(bytes);
  std::uint32_t writeOffset = log.writeOffset();
  DescBufInfo* info = decodeEntry(log, writeOffset);
  if (info == nullptr) return {};
  std::stringstream out;
  writeHeader(out, *info);
  writeEntry(out, *info, "PC : ", "qel_rb_next_ptr PC[");
  db_free_desc_buffer_info(&info);
  return out.str();
}

std::string arrayReport(const std::string& bytes) {
  std::uint32_t count = 0;
  DescBufInfo** infos = decodeLog(bytes, &count);
  std::stringstream out;
  for (std::uint32_t i = 0; i < count; ++i) {
    if (i == 0) writeHeader(out, *infos[i]);
    out << std::endl << "DescBufInfo " << i << " in Array :" << std::endl;
    writeEntry(out, *infos[i], "PC: ", "qel_next_ptr PC[");
  }
  db_free_desc_buffer_info_array(infos, static_cast<std::int32_t>(count));
  return out.str();
}

// Parcel by parcel; what is missing at the end reads as zero.
bool hasEdma(const void* kernel, std::size_t length) {
  const auto* bytes = static_cast<const std::uint8_t*>(kernel);
  const auto parcel = [=](std::size_t at) {
    return (at < length ? bytes[at] : 0U) | (at + 1 < length ? bytes[at + 1] * 256U : 0U);
  };
  std::uint32_t parcels = 0;  // of the instruction at hand, behind its head
  for (std::size_t at = 0; at < length; at += 2 + 2 * parcels) {
    const std::uint32_t head = parcel(at);
    parcels = 0;
    if ((head & 3) != 3) {
      if (at + 4 < length && head == 0x7270 && parcel(at + 2) == 0x746F) return false;
      continue;
    }
    switch (head & 0x7F) {
      case 0x1F:
        parcels = 2;
        break;
      case 0x3B:
        parcels = 1;
        break;
      case 0x3F:
        parcels = 3;
        break;
      case 0x7F:
        parcels = 4 + (head >> 12 & 7);
        break;
      default:
        parcels = 1;
        continue;
    }
    const std::uint32_t slots = (head >> 7 & 3) + (head >> 9 & 3) + (head >> 15 << 1 | (head >> 11 & 1));
    if (parcels - slots != 2) continue;
    const std::size_t last = at + 2 + 2 * slots;
    if (((parcel(last) | parcel(last + 2) << 16) & 0xF9000040) == 0xF9000040) return true;
  }
  return false;
}

std::uint64_t checksum(const void* bytes, std::size_t length) { return XXH64(bytes, length, 0); }

}  // namespace bench::plain
