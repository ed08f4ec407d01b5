/*
 * The interface once more, in C99. It is compiled, not run: with warnings as errors it fails where a prototype or a
 * type in the public header differs from what callers were built against. The records' offsets are asserted in src/.
 */
#include "zarn_utility.h"

uint32_t db_get_gid(const void*, size_t);
uint32_t db_get_kid(const void*, size_t);
uint32_t db_get_jid(const void*, size_t);
PrintBufInfo* db_get_print_buffer_info(const void*, size_t, const char*, size_t);
void db_free_print_buffer_info(PrintBufInfo**);
char* db_get_printf_string(const void*, size_t, const char*, size_t);
void db_free_printf_string(char**);
DescBufInfo* db_get_desc_buffer_info(const void*, uint64_t);
void db_free_desc_buffer_info(DescBufInfo**);
DescBufInfo** db_get_desc_buffer_info_array(const void*, uint64_t, uint32_t*);
void db_free_desc_buffer_info_array(DescBufInfo**, int32_t);
char* db_get_desc_string(const void*, uint64_t);
char* db_get_desc_string_array(const void*, uint64_t);
void db_free_desc_string(char**);
uint64_t clc_bin_compute_checksum(const void*, uint64_t, uint64_t*);
int32_t clc_bin_has_edma_instr(const void*, int64_t);

#define FIELD(record, field, type)   \
  type* record##_##field(record* r); \
  type* record##_##field(record* r) { return &r->field; }

FIELD(PrintBufInfo, printType, uint32_t)
FIELD(PrintBufInfo, is64Bit, bool)
FIELD(PrintBufInfo, isFloat, bool)
FIELD(PrintBufInfo, currentTime, uint32_t)
FIELD(PrintBufInfo, totalSize, uint32_t)
FIELD(PrintBufInfo, graphId, uint32_t)
FIELD(PrintBufInfo, kernelId, uint32_t)
FIELD(PrintBufInfo, instanceId, uint32_t)
FIELD(PrintBufInfo, subMask, const uint32_t*)
FIELD(PrintBufInfo, format, const char*)
FIELD(PrintBufInfo, data, const uint32_t*)

FIELD(DescBufInfo, valid, uint8_t)
FIELD(DescBufInfo, overSized, uint8_t)
FIELD(DescBufInfo, isEdma, uint8_t)
FIELD(DescBufInfo, isGlsu, uint8_t)
FIELD(DescBufInfo, isRingBufferAte, uint8_t)
FIELD(DescBufInfo, hasRbNextPtr, uint8_t)
FIELD(DescBufInfo, hasRbEnd, uint8_t)
FIELD(DescBufInfo, hasRbRelease, uint8_t)
FIELD(DescBufInfo, totalLogUsed, uint32_t)
FIELD(DescBufInfo, pc, uint32_t)
FIELD(DescBufInfo, descSize, uint32_t)
FIELD(DescBufInfo, desc, uint8_t*)
FIELD(DescBufInfo, rbNextPtrCount, uint32_t)
FIELD(DescBufInfo, rbNextPtrPcs, uint32_t*)
FIELD(DescBufInfo, rbEndCount, uint32_t)
FIELD(DescBufInfo, rbEndPcs, uint32_t*)
FIELD(DescBufInfo, rbReleaseCount, uint32_t)
FIELD(DescBufInfo, rbReleasePcs, uint32_t*)
