#include "compare.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include "grow.h"
#include "reference.h"
#include "support.h"
#include "zarn_utility.h"

namespace reference = zarn::reference;

namespace {

using Text = std::optional<std::string>;

struct BothWays {
  const char* what;
  std::function<Text()> library;
  std::function<Text()> reference;
};

// What differs first, with what follows there.
std::string firstDifference(std::initializer_list<BothWays> operations) {
  const auto part = [](const Text& text, std::size_t at) {
    return text ? '"' + text->substr(std::min(at, text->size()), 40) + '"' : "null";
  };
  for (const auto& [what, library, reference] : operations) {
    const long before = liveAllocations();
    if (const Text found = library(), expected = reference(); found != expected) {
      std::size_t at = 0;
      while (found && expected && at < std::min(found->size(), expected->size()) && (*found)[at] == (*expected)[at]) {
        ++at;
      }
      return what + (" at " + std::to_string(at)) + ": " + part(found, at) + " for " + part(expected, at);
    }
    if (liveAllocations() != before) return std::string(what) + ": memory";
  }
  return "";
}

std::string numbers(std::initializer_list<std::uint32_t> values) {
  std::string text;
  for (const auto value : values) text += std::to_string(value) + ' ';
  return text;
}

// Every field, with each element of its arrays.
std::string describe(const DescBufInfo& record) {
  auto text = numbers({record.valid, record.overSized, record.isEdma, record.isGlsu, record.isRingBufferAte,
                       record.hasRbNextPtr, record.hasRbEnd, record.hasRbRelease, record.totalLogUsed, record.pc,
                       record.descSize, record.rbNextPtrCount, record.rbEndCount, record.rbReleaseCount});
  const auto addPcs = [&text](const char* name, const std::uint32_t* pcs, std::uint32_t count) {
    text += pcs == nullptr ? "no " : name;
    for (std::uint32_t i = 0; pcs != nullptr && i < count; ++i) text += ' ' + std::to_string(pcs[i]);
  };
  addPcs("\nNP", record.rbNextPtrPcs, record.rbNextPtrCount);
  addPcs("\nEL", record.rbEndPcs, record.rbEndCount);
  addPcs("\nRL", record.rbReleasePcs, record.rbReleaseCount);
  return text + (record.desc == nullptr ? "no desc" : "\ndesc ") +
         std::string(record.desc, record.desc + record.descSize);
}

Text describeOne(DescBufInfo* record, void (*release)(DescBufInfo*)) {
  if (record == nullptr) return std::nullopt;
  auto text = describe(*record);
  release(record);
  return text;
}

using GetAll = DescBufInfo**(const void* log, std::uint64_t size, std::uint32_t* count);

Text describeAll(const void* log, std::uint64_t size, GetAll getAll, void (*release)(DescBufInfo**, std::uint32_t)) {
  std::uint32_t count = 77;
  DescBufInfo** records = getAll(log, size, &count);
  auto text = std::to_string(count) + " entries\n";
  if (records == nullptr) return text + "null";
  for (std::uint32_t i = 0; i < count; ++i) text += "entry " + std::to_string(i) + ": " + describe(*records[i]) + '\n';
  release(records, count);
  return text;
}

void release(DescBufInfo* record) { db_free_desc_buffer_info(&record); }
void release(DescBufInfo** records, std::uint32_t count) {
  db_free_desc_buffer_info_array(records, static_cast<std::int32_t>(count));
}

std::uint64_t countPcs(const void* log, std::uint64_t size) {
  std::uint32_t count = 0;
  DescBufInfo** const records = db_get_desc_buffer_info_array(log, size, &count);
  std::uint64_t pcs = 0;
  for (std::uint32_t i = 0; i < count; ++i) {
    pcs += std::uint64_t{records[i]->rbNextPtrCount} + records[i]->rbEndCount + records[i]->rbReleaseCount;
  }
  release(records, count);
  return pcs;
}

std::string describe(const PrintBufInfo& info) {
  const auto place = [](const void* pointer) {
    return ' ' + std::to_string(reinterpret_cast<std::uintptr_t>(pointer));
  };
  return numbers({info.printType, info.is64Bit, info.isFloat, info.currentTime, info.totalSize, info.graphId,
                  info.kernelId, info.instanceId}) +
         place(info.subMask) + place(info.format) + place(info.data);
}

}  // namespace

std::string comparePrint(const void* buffer, std::size_t size, const char* table, std::size_t tableSize) {
  const auto libraryHeader = [&]() -> Text {
    PrintBufInfo* info = db_get_print_buffer_info(buffer, size, table, tableSize);
    if (info == nullptr) return std::nullopt;
    auto text = describe(*info);
    db_free_print_buffer_info(&info);
    return text;
  };
  const auto referenceHeader = [&] {
    const auto info = reference::printHeader(buffer, size, table, tableSize);
    return info ? Text(describe(*info)) : std::nullopt;
  };
  const auto text = [&] { return db_get_printf_string(buffer, size, table, tableSize); };
  return firstDifference({{"header", libraryHeader, referenceHeader},
                          {"text", [&] { return textOf(text, db_free_printf_string); },
                           [&] { return reference::printText(buffer, size, table, tableSize); }}});
}

std::string compareLog(const void* log, std::uint64_t size) {
  auto difference = firstDifference(
      {{"newest entry", [&] { return describeOne(db_get_desc_buffer_info(log, size), release); },
        [&] { return describeOne(reference::decodeNewest(log, size), reference::release); }},
       {"report", [&] { return textOf([&] { return db_get_desc_string(log, size); }, db_free_desc_string); },
        [&] { return reference::report(log, size); }}});
  // Entries and records in circles, in a ring of 128 KiB, can make 28 million PCs. The reference takes 20 seconds for
  // them under a sanitizer.
  if (!difference.empty() || countPcs(log, size) > 2'000'000) return difference;
  return firstDifference(
      {{"array", [&] { return describeAll(log, size, db_get_desc_buffer_info_array, release); },
        [&] { return describeAll(log, size, reference::decodeAll, reference::release); }},
       {"array report",
        [&] { return textOf([&] { return db_get_desc_string_array(log, size); }, db_free_desc_string); },
        [&] { return reference::arrayReport(log, size); }}});
}

std::string compareKernel(const void* kernel, std::size_t length) {
  const auto signedLength = static_cast<std::int64_t>(length);
  return firstDifference({{"scan", [&] { return std::to_string(clc_bin_has_edma_instr(kernel, signedLength)); },
                           [&] { return reference::hasEdma(kernel, signedLength) ? "1" : "0"; }},
                          {"checksum",
                           [&] {
                             std::uint64_t stored = 0;
                             const auto returned = clc_bin_compute_checksum(kernel, length, &stored);
                             return returned == stored ? std::to_string(stored) : "two values";
                           },
                           [&] { return std::to_string(reference::checksum(kernel, length)); }}});
}

Comparison compareGrownPrint(std::string_view seed) {
  const auto input = zarn::inputs::growPrint(seed);
  const ExactBytes buffer(input.buffer, input.stringTable.size() % 4);
  const ExactBytes table(input.stringTable);
  return {comparePrint(buffer.data(), buffer.size(), table.data(), table.size()),
          reference::printHeader(buffer.data(), buffer.size(), table.data(), table.size()).has_value()};
}

Comparison compareGrownLog(std::string_view seed) {
  const auto bytes = zarn::inputs::growLog(seed);
  const ExactBytes log(bytes, bytes.size() % 2);
  return {compareLog(log.data(), log.size()),
          describeOne(reference::decodeNewest(log.data(), log.size()), reference::release).has_value()};
}

// Compares the seed itself as well.
Comparison compareGrownKernel(std::string_view seed) {
  const ExactBytes plain(seed, 1);
  const ExactBytes grown(zarn::inputs::growKernel(seed));
  return {compareKernel(plain.data(), plain.size()) + compareKernel(grown.data(), grown.size()),
          reference::hasEdma(grown.data(), static_cast<std::int64_t>(grown.size()))};
}
