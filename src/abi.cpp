// Pins the exported interface: changing a prototype, or the offset or type of a record's field, would break programs
// built earlier, so it does not compile. src/exports.map has the names.
//
// The rows of each table are counted so that none can go missing unnoticed.

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <type_traits>

#include "zarn_utility.h"

namespace {

// True, or a compile error at the row that uses it.
template <bool isSame>
constexpr bool kHeld = [] {
  static_assert(isSame);
  return isSame;
}();

#define FUNCTION(name, ...) kHeld<std::is_same_v<decltype(name), __VA_ARGS__>>
#define FIELD(record, field, type, offset) \
  kHeld<std::is_same_v<decltype(record::field), type> && offsetof(record, field) == (offset)>

constexpr bool kFunctions[] = {
    FUNCTION(db_get_gid, uint32_t(const void*, size_t)),
    FUNCTION(db_get_kid, uint32_t(const void*, size_t)),
    FUNCTION(db_get_jid, uint32_t(const void*, size_t)),
    FUNCTION(db_get_print_buffer_info, PrintBufInfo*(const void*, size_t, const char*, size_t)),
    FUNCTION(db_free_print_buffer_info, void(PrintBufInfo**)),
    FUNCTION(db_get_printf_string, char*(const void*, size_t, const char*, size_t)),
    FUNCTION(db_free_printf_string, void(char**)),
    FUNCTION(db_get_desc_buffer_info, DescBufInfo*(const void*, uint64_t)),
    FUNCTION(db_free_desc_buffer_info, void(DescBufInfo**)),
    FUNCTION(db_get_desc_buffer_info_array, DescBufInfo**(const void*, uint64_t, uint32_t*)),
    FUNCTION(db_free_desc_buffer_info_array, void(DescBufInfo**, int32_t)),
    FUNCTION(db_get_desc_string, char*(const void*, uint64_t)),
    FUNCTION(db_get_desc_string_array, char*(const void*, uint64_t)),
    FUNCTION(db_free_desc_string, void(char**)),
    FUNCTION(clc_bin_compute_checksum, uint64_t(const void*, uint64_t, uint64_t*)),
    FUNCTION(clc_bin_has_edma_instr, int32_t(const void*, int64_t)),
};
static_assert(std::size(kFunctions) == 16);

static_assert(sizeof(bool) == 1 && sizeof(void*) == 8);

static_assert(sizeof(PrintBufInfo) == 56);
constexpr bool kPrintBufInfoFields[] = {
    FIELD(PrintBufInfo, printType, uint32_t, 0),
    FIELD(PrintBufInfo, is64Bit, bool, 4),
    FIELD(PrintBufInfo, isFloat, bool, 5),
    FIELD(PrintBufInfo, currentTime, uint32_t, 8),
    FIELD(PrintBufInfo, totalSize, uint32_t, 12),
    FIELD(PrintBufInfo, graphId, uint32_t, 16),
    FIELD(PrintBufInfo, kernelId, uint32_t, 20),
    FIELD(PrintBufInfo, instanceId, uint32_t, 24),
    FIELD(PrintBufInfo, subMask, const uint32_t*, 32),
    FIELD(PrintBufInfo, format, const char*, 40),
    FIELD(PrintBufInfo, data, const uint32_t*, 48),
};
static_assert(std::size(kPrintBufInfoFields) == 11);

static_assert(sizeof(DescBufInfo) == 80);
constexpr bool kDescBufInfoFields[] = {
    FIELD(DescBufInfo, valid, uint8_t, 0),
    FIELD(DescBufInfo, overSized, uint8_t, 1),
    FIELD(DescBufInfo, isEdma, uint8_t, 2),
    FIELD(DescBufInfo, isGlsu, uint8_t, 3),
    FIELD(DescBufInfo, isRingBufferAte, uint8_t, 4),
    FIELD(DescBufInfo, hasRbNextPtr, uint8_t, 5),
    FIELD(DescBufInfo, hasRbEnd, uint8_t, 6),
    FIELD(DescBufInfo, hasRbRelease, uint8_t, 7),
    FIELD(DescBufInfo, totalLogUsed, uint32_t, 8),
    FIELD(DescBufInfo, pc, uint32_t, 12),
    FIELD(DescBufInfo, descSize, uint32_t, 16),
    FIELD(DescBufInfo, desc, uint8_t*, 24),
    FIELD(DescBufInfo, rbNextPtrCount, uint32_t, 32),
    FIELD(DescBufInfo, rbNextPtrPcs, uint32_t*, 40),
    FIELD(DescBufInfo, rbEndCount, uint32_t, 48),
    FIELD(DescBufInfo, rbEndPcs, uint32_t*, 56),
    FIELD(DescBufInfo, rbReleaseCount, uint32_t, 64),
    FIELD(DescBufInfo, rbReleasePcs, uint32_t*, 72),
};
static_assert(std::size(kDescBufInfoFields) == 18);

}  // namespace
