#include "compare.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <ios>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "grow.h"
#include "reference.h"
#include "support.h"
#include "zarn_utility.h"

namespace reference = zarn::reference;

namespace {

// Where two texts begin to differ, with what follows there; or that memory was not freed.
template <typename Library, typename Reference>
std::string difference(const std::string& what, Library library, Reference reference) {
  const long before = liveAllocations();
  if (const std::string found = library(), expected = reference(); found != expected) {
    const auto at = static_cast<std::size_t>(
        std::mismatch(found.begin(), found.end(), expected.begin(), expected.end()).first - found.begin());
    return what + " at " + std::to_string(at) + ": \"" + found.substr(at, 40) + "\" for \"" + expected.substr(at, 40) +
           '"';
  }
  return liveAllocations() == before ? "" : what + ": memory";
}

std::string numbers(std::initializer_list<std::uint64_t> values) {
  std::string text;
  for (const auto value : values) text += std::to_string(value) + ' ';
  return text;
}

std::string pcs(const char* name, bool has, const std::uint32_t* pcs, std::uint32_t count) {
  std::string text = has ? " " : " no ";
  text += pcs == nullptr ? "null" : name;
  for (std::uint32_t i = 0; i < count; ++i) text.append(i == 0 ? " " : ",").append(std::to_string(pcs[i]));
  return text;
}

// "eDMA pc 1 size 64", then the non-zero bytes of the descriptor with their indices, as in "bytes 0=7f 63=01": at most
// six, and how many more there are. Then the ring-buffer records.
std::string summary(const DescBufInfo& info) {
  std::ostringstream text;
  text << (info.overSized ? "over " : "") << (info.isEdma ? "eDMA" : "") << (info.isGlsu ? "GLSU" : "")
       << (info.isRingBufferAte ? "RB" : "") << " pc " << info.pc << " size " << info.descSize;
  std::uint32_t found = 0;
  for (std::uint32_t i = 0; i < info.descSize; ++i) {
    if (info.desc[i] == 0) continue;
    if (++found == 1) text << " bytes";
    if (found <= 6) text << ' ' << std::dec << i << '=' << std::hex << info.desc[i] / 16 << info.desc[i] % 16;
  }
  if (found > 6) text << std::dec << " and " << found - 6 << " more";
  if (!info.isRingBufferAte) return text.str();
  return text.str() + pcs("NP", info.hasRbNextPtr, info.rbNextPtrPcs, info.rbNextPtrCount) +
         pcs("EL", info.hasRbEnd, info.rbEndPcs, info.rbEndCount) +
         pcs("RL", info.hasRbRelease, info.rbReleasePcs, info.rbReleaseCount);
}

// Every field, and each element of its arrays.
std::string describe(const DescBufInfo& info) {
  return summary(info) + '\n' +
         numbers({info.valid, info.overSized, info.isEdma, info.isGlsu, info.isRingBufferAte, info.hasRbNextPtr,
                  info.hasRbEnd, info.hasRbRelease, info.totalLogUsed, info.rbNextPtrCount, info.rbEndCount,
                  info.rbReleaseCount, info.rbNextPtrPcs != nullptr, info.rbEndPcs != nullptr,
                  info.rbReleasePcs != nullptr}) +
         (info.desc == nullptr ? "no desc" : std::string(info.desc, info.desc + info.descSize));
}

using Describe = std::string(const DescBufInfo& info);
std::string entry(DescBufInfo* record, void (*release)(DescBufInfo*), Describe describe) {
  if (record == nullptr) return "null";
  auto text = describe(*record);
  release(record);
  return text;
}

using GetAll = DescBufInfo**(const void* log, std::uint64_t size, std::uint32_t* count);

std::string entries(const void* log, std::uint64_t size, GetAll getAll, void (*release)(DescBufInfo**, std::uint32_t),
                    Describe describe) {
  std::uint32_t count = 77;
  DescBufInfo** records = getAll(log, size, &count);
  if (records == nullptr) return count == 77 ? "null" : "null, but a count";
  std::vector<std::string> texts;
  for (std::uint32_t i = 0; i < count; ++i) texts.push_back(describe(*records[i]));
  release(records, count);
  std::string text;
  for (auto first = texts.begin(), next = first; first != texts.end(); first = next) {
    next = std::find_if(first, texts.end(), [first](const auto& other) { return other != *first; });
    text += (text.empty() ? "" : " | ") + std::to_string(next - first) + " x " + *first;
  }
  return text;
}

void release(DescBufInfo* record) {
  db_free_desc_buffer_info(&record);
  if (record != nullptr) std::abort();
}

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

std::string describe(const PrintBufInfo* info) {
  if (info == nullptr) return "null";
  const auto place = [](const void* pointer) { return reinterpret_cast<std::uintptr_t>(pointer); };
  return numbers({info->printType, info->is64Bit, info->isFloat, info->currentTime, info->totalSize, info->graphId,
                  info->kernelId, info->instanceId, place(info->subMask), place(info->format), place(info->data)});
}

}  // namespace

std::string comparePrint(const void* buffer, std::size_t size, const char* table, std::size_t tableSize) {
  const auto libraryHeader = [&] {
    PrintBufInfo* info = db_get_print_buffer_info(buffer, size, table, tableSize);
    auto text = describe(info);
    for (int time = 0; time < 2; ++time) db_free_print_buffer_info(&info);
    return info == nullptr ? text : text + "not reset";
  };
  const auto referenceHeader = [&] {
    const auto info = reference::printHeader(buffer, size, table, tableSize);
    return describe(info ? &*info : nullptr);
  };
  const auto text = [&] { return db_get_printf_string(buffer, size, table, tableSize); };
  return difference("header", libraryHeader, referenceHeader) +
         difference(
             "text", [&] { return textOf(text, db_free_printf_string); },
             [&] { return reference::printText(buffer, size, table, tableSize).value_or("null"); });
}

std::string newestEntry(const void* log, std::uint64_t size) {
  return entry(db_get_desc_buffer_info(log, size), release, summary);
}

std::string allEntries(const void* log, std::uint64_t size) {
  return entries(log, size, db_get_desc_buffer_info_array, release, summary);
}

std::string compareLog(const void* log, std::uint64_t size) {
  const auto report = [=] { return db_get_desc_string(log, size); };
  const auto arrayReport = [=] { return db_get_desc_string_array(log, size); };
  auto found = difference(
                   "newest entry", [&] { return entry(db_get_desc_buffer_info(log, size), release, describe); },
                   [&] { return entry(reference::decodeNewest(log, size), reference::release, describe); }) +
               difference(
                   "report", [&] { return textOf(report, db_free_desc_string); },
                   [&] { return reference::report(log, size).value_or("null"); });
  // An array decode first allocates memory for as many entries as the ring may have. And circles of entries and records
  // in a ring of 128 KiB can produce 28 million PCs, for which the reference takes 20 seconds under a sanitizer.
  if (!found.empty() || size > 1 << 24 || countPcs(log, size) > 2'000'000) return found;
  return difference(
             "array", [&] { return entries(log, size, db_get_desc_buffer_info_array, release, describe); },
             [&] { return entries(log, size, reference::decodeAll, reference::release, describe); }) +
         difference(
             "array report", [&] { return textOf(arrayReport, db_free_desc_string); },
             [&] { return reference::arrayReport(log, size); });
}

std::string compareKernel(const void* kernel, std::size_t size) {
  const auto length = static_cast<std::int64_t>(size);
  return difference(
      "scan", [&] { return std::to_string(clc_bin_has_edma_instr(kernel, length)); },
      [&] { return std::to_string(reference::hasEdma(kernel, length)); });
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
  return {compareLog(log.data(), log.size()), newestEntry(log.data(), log.size()) != "null"};
}

// Also compares the seed itself.
Comparison compareGrownKernel(std::string_view seed) {
  const ExactBytes plain(seed, 1);
  const ExactBytes grown(zarn::inputs::growKernel(seed));
  return {compareKernel(plain.data(), plain.size()) + compareKernel(grown.data(), grown.size()),
          reference::hasEdma(grown.data(), static_cast<std::int64_t>(grown.size()))};
}
