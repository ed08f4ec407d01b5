// Device data built field by field: print buffers, descriptor logs and kernels, for tests, fuzz targets and benchmarks.
// docs/formats.md has the layouts.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace zarn::inputs {

// Writes the lowest `width` bytes of `value`, little-endian.
inline void put(std::string& bytes, std::size_t offset, std::uint64_t value, std::size_t width) {
  for (std::size_t i = 0; i < width; ++i) bytes.at(offset + i) = static_cast<char>(value >> 8 * i);
}

inline void append(std::string& bytes, std::uint64_t value, std::size_t width) {
  bytes.resize(bytes.size() + width);
  put(bytes, bytes.size() - width, value, width);
}

// --------------------------------------------------------------------------------------------------------------------

constexpr std::uint32_t headerWord(std::uint32_t printKind, std::uint32_t dataType) {
  return printKind | dataType << 6;
}

struct PrintBuffer {
  std::uint32_t headerWord = 0;
  std::uint32_t currentTime = 0;
  std::uint32_t totalSize = 0;
  std::uint32_t graphId = 0;
  std::uint32_t kernelId = 0;
  std::uint32_t instanceId = 0;
  std::array<std::uint32_t, 4> submasks{};
  std::uint32_t formatOffset = 0;
  std::array<std::uint32_t, 128> data{};

  std::string bytes() const {
    std::string bytes;
    for (const auto word : {headerWord, currentTime, totalSize, graphId, kernelId, instanceId}) append(bytes, word, 4);
    for (const auto word : submasks) append(bytes, word, 4);
    append(bytes, formatOffset, 4);
    for (const auto word : data) append(bytes, word, 4);
    return bytes + std::string(64, '\0');
  }
};

// --------------------------------------------------------------------------------------------------------------------
// Parts of a log at any offset, even where a device would not write them.

inline void putTrailer(std::string& log, std::uint64_t writeOffset, std::uint64_t totalUsed) {
  put(log, log.size() - 64, writeOffset, 2);
  put(log, log.size() - 60, totalUsed, 4);
}

inline std::string headerBytes(std::uint64_t units) {
  std::string bytes = "ST";
  append(bytes, units, 2);
  return bytes;
}

constexpr std::string_view kTags[] = {"ED", "GL", "RB", "NP", "EL", "RL"};
constexpr std::size_t kTagCount = std::size(kTags);

inline std::string recordBytes(std::uint64_t pc, std::uint64_t start, std::string_view tag) {
  std::string bytes;
  append(bytes, pc, 4);
  append(bytes, start, 2);
  return bytes.append(tag);
}

// Writes a record where the newest one is read for a write offset of `writeOffset`: at positions that wrap modulo 2^32,
// those of tag, start offset and PC cut to 16 bits.
inline void putNewest(std::string& log, std::uint32_t writeOffset, std::uint32_t start, std::string_view tag,
                      std::uint32_t pc) {
  const auto ringSize = static_cast<std::uint32_t>(log.size() - 64);
  const auto cut = [=](std::uint32_t position) { return position % ringSize & 0xFFFF; };
  put(log, cut(writeOffset - 8), pc, 4);
  put(log, cut(writeOffset - 4), start, 2);
  log.replace(cut(writeOffset - 2), 2, tag);
  putTrailer(log, writeOffset, writeOffset);
}

// Appends entries to a log's ring as a device does.
class LogWriter {
 public:
  struct Record {
    std::uint64_t pc;
    std::string_view tag;
  };

  explicit LogWriter(std::size_t ringSize, std::size_t at = 0) : LogWriter(std::string(ringSize, '\0'), at) {}

  // Starts with the contents `ring`, which is overwritten.
  LogWriter(const std::string& ring, std::size_t at)
      : log_(ring + std::string(64, '\0')), at_(at % ring.size()), start_(at_) {}

  std::size_t ringSize() const { return log_.size() - 64; }
  std::size_t writeOffset() const { return at_; }
  std::size_t start() const { return start_; }

  // Leaves `count` bytes of the ring unchanged.
  void skip(std::size_t count) { at_ = (at_ + count) % ringSize(); }

  // Sets the start offset of later records.
  void setStart(std::size_t offset) { start_ = offset; }

  // Writes the header of an entry, to which later records belong.
  void header(std::uint64_t units) {
    setStart(at_);
    appendRing(headerBytes(units));
  }

  // Writes `length` bytes counting up from `first`.
  void descriptor(std::size_t length, std::size_t first = 0) {
    for (std::size_t i = 0; i < length; ++i) appendRing(std::string(1, static_cast<char>(first + i)));
  }

  void record(std::uint64_t pc, std::string_view tag) { appendRing(recordBytes(pc, start_, tag)); }

  void entry(std::uint64_t units, std::size_t length, std::size_t first, const std::vector<Record>& records) {
    header(units);
    descriptor(length, first);
    for (const auto& [pc, tag] : records) record(pc, tag);
  }

  std::string log() const {
    auto log = log_;
    putTrailer(log, at_, at_);
    return log;
  }

 private:
  void appendRing(const std::string& bytes) {
    for (const char byte : bytes) {
      log_[at_] = byte;
      at_ = (at_ + 1) % ringSize();
    }
  }

  std::string log_;
  std::size_t at_;
  std::size_t start_;
};

// --------------------------------------------------------------------------------------------------------------------

// The head parcel of a bundle: its opcode, the numbers of parcels in the three counted slots, and the length extension.
constexpr std::uint32_t bundleHead(std::uint32_t opcode, std::uint32_t a, std::uint32_t b, std::uint32_t c,
                                   std::uint32_t extension = 0) {
  return opcode | a << 7 | b << 9 | (c & 1) << 11 | extension << 12 | c >> 1 << 15;
}

inline std::string kernel(const std::vector<std::uint16_t>& parcels) {
  std::string bytes;
  for (const auto parcel : parcels) append(bytes, parcel, 2);
  return bytes;
}

}  // namespace zarn::inputs
