#include "compare.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "reference.h"
#include "support.h"
#include "zarn_utility.h"

namespace reference = zarn::reference;

namespace {

// What differs between two texts, with what follows there.
std::string compareTexts(const char* what, const std::optional<std::string>& found,
                         const std::optional<std::string>& expected) {
  if (found == expected) return "";
  if (!found || !expected) return std::string(what) + (found ? ": not null" : ": null");
  const auto at = static_cast<std::size_t>(
      std::mismatch(found->begin(), found->end(), expected->begin(), expected->end()).first - found->begin());
  const auto rest = [at](const std::string& text) { return text.substr(at, 40); };
  return what + (" at " + std::to_string(at)) + ": \"" + rest(*found) + "\" for \"" + rest(*expected) + '"';
}

bool equal(const std::uint32_t* one, const std::uint32_t* other, std::uint32_t count) {
  return one != nullptr && std::equal(one, one + count, other);
}

std::string compareRecords(const DescBufInfo& found, const DescBufInfo& expected) {
#define COMPARE(field)               \
  if (found.field != expected.field) \
  return #field ": " + std::to_string(found.field) + " for " + std::to_string(expected.field)
  COMPARE(valid);
  COMPARE(overSized);
  COMPARE(isEdma);
  COMPARE(isGlsu);
  COMPARE(isRingBufferAte);
  COMPARE(hasRbNextPtr);
  COMPARE(hasRbEnd);
  COMPARE(hasRbRelease);
  COMPARE(totalLogUsed);
  COMPARE(pc);
  COMPARE(descSize);
  COMPARE(rbNextPtrCount);
  COMPARE(rbEndCount);
  COMPARE(rbReleaseCount);
#undef COMPARE
  if (found.desc == nullptr || !std::equal(found.desc, found.desc + found.descSize, expected.desc)) return "desc";
  if (!equal(found.rbNextPtrPcs, expected.rbNextPtrPcs, found.rbNextPtrCount)) return "rbNextPtrPcs";
  if (!equal(found.rbEndPcs, expected.rbEndPcs, found.rbEndCount)) return "rbEndPcs";
  if (!equal(found.rbReleasePcs, expected.rbReleasePcs, found.rbReleaseCount)) return "rbReleasePcs";
  return "";
}

std::string compareNewest(const void* log, std::uint64_t size) {
  DescBufInfo* found = db_get_desc_buffer_info(log, size);
  DescBufInfo* expected = reference::decodeNewest(log, size);
  std::string difference;
  if (found == nullptr || expected == nullptr) {
    if (found != expected) difference = found == nullptr ? "null" : "not null";
  } else {
    difference = compareRecords(*found, *expected);
  }
  if (expected != nullptr) reference::release(expected);
  if (found != nullptr) db_free_desc_buffer_info(&found);
  return difference.empty() ? "" : "newest entry: " + difference;
}

std::string compareArrays(const void* log, std::uint64_t size) {
  std::uint32_t count = 77;
  std::uint32_t expectedCount = 77;
  DescBufInfo** found = db_get_desc_buffer_info_array(log, size, &count);
  DescBufInfo** expected = reference::decodeAll(log, size, &expectedCount);
  std::string difference;
  if (count != expectedCount || (found == nullptr) != (expected == nullptr)) {
    difference = std::to_string(count) + " entries for " + std::to_string(expectedCount);
  }
  for (std::uint32_t i = 0; i < count && found != nullptr && difference.empty(); ++i) {
    difference = compareRecords(*found[i], *expected[i]);
    if (!difference.empty()) difference.insert(0, "entry " + std::to_string(i) + ": ");
  }
  if (expected != nullptr) reference::release(expected, expectedCount);
  if (found != nullptr) db_free_desc_buffer_info_array(found, static_cast<std::int32_t>(count));
  return difference;
}

std::string comparePrintHeaders(const void* buffer, std::size_t size, const char* table, std::size_t tableSize) {
  PrintBufInfo* found = db_get_print_buffer_info(buffer, size, table, tableSize);
  const auto expected = reference::printHeader(buffer, size, table, tableSize);
  std::string difference;
  if ((found != nullptr) != expected.has_value()) {
    difference = found == nullptr ? "print header: null" : "print header: not null";
  } else if (found != nullptr && (found->printType != expected->printType || found->is64Bit != expected->is64Bit ||
                                  found->isFloat != expected->isFloat || found->currentTime != expected->currentTime ||
                                  found->totalSize != expected->totalSize || found->graphId != expected->graphId ||
                                  found->kernelId != expected->kernelId || found->instanceId != expected->instanceId ||
                                  found->subMask != expected->subMask || found->format != expected->format ||
                                  found->data != expected->data)) {
    difference = "print header";
  }
  db_free_print_buffer_info(&found);
  return difference;
}

// The first difference that one of the functions finds.
template <typename... Compare>
std::string firstOf(Compare... compare) {
  const long before = liveAllocations();
  {
    std::string difference;
    (void)((difference = compare(), !difference.empty()) || ...);
    if (!difference.empty()) return difference;
  }
  return liveAllocations() == before ? "" : "allocations";
}

}  // namespace

std::string comparePrint(const void* buffer, std::size_t size, const char* table, std::size_t tableSize) {
  return firstOf(
      [&] { return comparePrintHeaders(buffer, size, table, tableSize); },
      [&] {
        return compareTexts(
            "text", textOf([&] { return db_get_printf_string(buffer, size, table, tableSize); }, db_free_printf_string),
            reference::printText(buffer, size, table, tableSize));
      });
}

std::string compareLog(const void* log, std::uint64_t size) {
  return firstOf([&] { return compareNewest(log, size); }, [&] { return compareArrays(log, size); },
                 [&] {
                   return compareTexts("report",
                                       textOf([&] { return db_get_desc_string(log, size); }, db_free_desc_string),
                                       reference::report(log, size));
                 },
                 [&] {
                   return compareTexts("array report",
                                       textOf([&] { return db_get_desc_string_array(log, size); }, db_free_desc_string),
                                       reference::arrayReport(log, size));
                 });
}

std::string compareKernel(const void* kernel, std::size_t length) {
  return firstOf(
      [&] {
        const auto signedLength = static_cast<std::int64_t>(length);
        const bool isSame =
            clc_bin_has_edma_instr(kernel, signedLength) == (reference::hasEdma(kernel, signedLength) ? 1 : 0);
        return std::string(isSame ? "" : "scan");
      },
      [&] {
        std::uint64_t stored = 0;
        const std::uint64_t returned = clc_bin_compute_checksum(kernel, length, &stored);
        return std::string(returned == stored && stored == reference::checksum(kernel, length) ? "" : "checksum");
      });
}
