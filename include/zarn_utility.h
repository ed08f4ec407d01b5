/*
 * zarn_utility.h - decodes dumps of Zarn compute processors
 *
 * For C99 and C++ on 64-bit targets. The library does no I/O and keeps no state. formats.md (in docs, installed in
 * share/doc/zarn_utility) describes the inputs and texts.
 *
 * For all functions:
 *
 *   Threads      Any number of threads may call any function at once, even on the same input.
 *   Changes      If an input changes during a call, the result mixes old and new contents. Copy it for a consistent
 *                result.
 *   Alignment    Inputs need no alignment.
 *   Null         Pointers must not be null unless documented otherwise.
 *   Ownership    The caller owns what a db_get_* function returns, and releases it with the db_free_* function named in
 *                its description. Inputs are only read.
 *   Texts        are NUL-terminated, in arrays of exactly their length plus one.
 *   Failure      is reported only by the return value.
 *   Allocation   A failed allocation ends the process, even where operator new throws, and input determines how much
 *                is allocated. Decode untrusted input in a child process.
 *   Locale       has no effect.
 *   Trust        Any contents are safe, provided that the sizes are right and the string table has a NUL at or after
 *                the format offset throughout the call.
 */
#ifndef ZARN_UTILITY_H
#define ZARN_UTILITY_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#if UINTPTR_MAX < 0xFFFFFFFFFFFFFFFF
#error "zarn_utility.h needs a 64-bit target: the layout of its records is part of the interface"
#endif

#define ZARN_UTILITY_VERSION_MAJOR 1
#define ZARN_UTILITY_VERSION_MINOR 3
#define ZARN_UTILITY_VERSION_PATCH 1

#define ZARN_UTILITY_VERSION                    \
  ZARN_UTILITY_TEXT(ZARN_UTILITY_VERSION_MAJOR) \
  "." ZARN_UTILITY_TEXT(ZARN_UTILITY_VERSION_MINOR) "." ZARN_UTILITY_TEXT(ZARN_UTILITY_VERSION_PATCH)
#define ZARN_UTILITY_TEXT(number) ZARN_UTILITY_TEXT_(number)
#define ZARN_UTILITY_TEXT_(number) #number

#if defined(__GNUC__)
#define ZARN_UTILITY_API __attribute__((visibility("default")))
#else
#define ZARN_UTILITY_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ============================================== Print buffers ================================================= */

/* Smallest print buffer that is decoded, in bytes. */
#define ZARN_PRINT_BUFFER_MIN_SIZE 620

/* The checked header of a print buffer. */
typedef struct PrintBufInfo {
  uint32_t printType;      /* 0 masked threads, 1 single value, 2 pads only, 3 all threads and pads */
  bool is64Bit;            /* data type 3 or 4 */
  bool isFloat;            /* data type 5 or 6 */
  uint32_t currentTime;    /* word at byte 4 */
  uint32_t totalSize;      /* word at byte 8 */
  uint32_t graphId;        /* word at byte 12 */
  uint32_t kernelId;       /* word at byte 16 */
  uint32_t instanceId;     /* word at byte 20 */
  const uint32_t* subMask; /* the buffer at byte 24: 4 little-endian words, as unaligned as the buffer */
  const char* format;      /* the string table at the format offset */
  const uint32_t* data;    /* the buffer at byte 44: 128 such words; read both with memcpy() or bytewise */
} PrintBufInfo;

/*
 * Reads the graph id, kernel id or instance id of a print buffer.
 *
 * buffer  the print buffer, not validated; may be null
 * size    its size in bytes; at least 16, 20 or 24
 *
 * Returns the id, or 0xFFFFFFFF (also a possible id) if buffer is null or too small.
 */
ZARN_UTILITY_API uint32_t db_get_gid(const void* buffer, size_t size);
ZARN_UTILITY_API uint32_t db_get_kid(const void* buffer, size_t size);
ZARN_UTILITY_API uint32_t db_get_jid(const void* buffer, size_t size);

/*
 * Validates and decodes a print buffer's header.
 *
 * buffer           the print buffer; may be null
 * bufferSize       its size in bytes
 * stringTable      NUL-terminated strings, one after another; may be null
 * stringTableSize  its size in bytes
 *
 * Returns a record to release with db_free_print_buffer_info(). It points into buffer and stringTable, which must
 * outlive it. Returns null if buffer or stringTable is null, bufferSize is below ZARN_PRINT_BUFFER_MIN_SIZE, the format
 * offset is not below stringTableSize, the header word is zero, the print kind is above 8, or the data type above 7.
 */
ZARN_UTILITY_API PrintBufInfo* db_get_print_buffer_info(const void* buffer, size_t bufferSize, const char* stringTable,
                                                        size_t stringTableSize);

/* Releases a record, which may be null, and sets *info to null. */
ZARN_UTILITY_API void db_free_print_buffer_info(PrintBufInfo** info);

/*
 * Formats a print buffer as text.
 *
 * buffer, bufferSize, stringTable, stringTableSize  as for db_get_print_buffer_info()
 *
 * Returns a text to release with db_free_printf_string(), or null where db_get_print_buffer_info() returns null.
 *
 * '%c' of 0 puts a NUL into the text, where strlen() stops. One conversion can give 2 GiB of text.
 */
ZARN_UTILITY_API char* db_get_printf_string(const void* buffer, size_t bufferSize, const char* stringTable,
                                            size_t stringTableSize);

/* Releases a text, which may be null, and sets *text to null. */
ZARN_UTILITY_API void db_free_printf_string(char** text);

/* ============================================= Descriptor logs ================================================ */

/*
 * Below, R is the length of the log's ring: size - 64, computed in 32 bits.
 *
 * In every DescBufInfo returned, whatever the input:
 *
 *   - valid is 1, and exactly one of isEdma, isGlsu and isRingBufferAte is 1;
 *   - no array pointer is null, and each array has exactly as many elements as its count says;
 *   - a has-flag is 1 if its count is not 0, else 0;
 *   - the three counts add up to at most R / 8 + 1;
 *   - descSize is at most size - 76, or below 8 MiB if size is below 76;
 *   - without a descriptor header, descSize is 0 and pc is 0xFFFFFFFF.
 *
 * If R is not a power of two, as in a log of 64 KiB, entries at position 0 are misread even in an intact log.
 */

/* A decoded log entry. */
typedef struct DescBufInfo {
  uint8_t valid;           /* 1 */
  uint8_t overSized;       /* 1 if totalLogUsed is not the trailer's write offset */
  uint8_t isEdma;          /* the newest record's tag is "ED" */
  uint8_t isGlsu;          /* "GL" */
  uint8_t isRingBufferAte; /* "RB", "NP", "EL" or "RL" */
  uint8_t hasRbNextPtr;    /* there are next-pointer ("NP") records */
  uint8_t hasRbEnd;        /* end ("EL") records */
  uint8_t hasRbRelease;    /* release ("RL") records */
  uint32_t totalLogUsed;   /* the trailer's total of descriptor log bytes used */
  uint32_t pc;             /* of the newest record or, if that is a next-pointer, end or release record, of the one
                              before the entry's header */
  uint32_t descSize;       /* bytes in desc */
  uint8_t* desc;           /* the descriptor */
  uint32_t rbNextPtrCount; /* elements in the array below, as in each pair */
  uint32_t* rbNextPtrPcs;  /* PCs, oldest first */
  uint32_t rbEndCount;
  uint32_t* rbEndPcs;
  uint32_t rbReleaseCount;
  uint32_t* rbReleasePcs;
} DescBufInfo;

/*
 * Decodes the newest entry of a descriptor log.
 *
 * buffer  the log; may be null
 * size    its size in bytes
 *
 * Returns a record to release with db_free_desc_buffer_info(). Its arrays are copies. Returns null, and allocates
 * nothing, if
 *
 *   - buffer is null, size is below 65, or R is 0;
 *   - the tag that ends at the write offset is unknown;
 *   - a start offset is above size;
 *   - there is neither a ring-buffer record nor a descriptor header that lies wholly in the buffer; or
 *   - size is 76 to 127 and the descriptor's length is above size - 76.
 */
ZARN_UTILITY_API DescBufInfo* db_get_desc_buffer_info(const void* buffer, uint64_t size);

/* Releases a record, which must not be null, and its arrays, which may be, and sets *info to null. */
ZARN_UTILITY_API void db_free_desc_buffer_info(DescBufInfo** info);

/*
 * Decodes a descriptor log's entries from the newest backwards.
 *
 * buffer, size  as for db_get_desc_buffer_info()
 * count         receives the number of records; written several times during the call
 *
 * Returns an array of *count records, newest first, to release with db_free_desc_buffer_info_array(). The walk ends
 * before the first entry that can't be decoded, when the log's bytes are used up, or after R / 76 records. The array
 * may be empty, and always is if R is below 76. Returns null, leaving *count unchanged, if buffer is null or size is
 * below 65.
 *
 * A damaged log can give R / 76 records of R / 8 + 1 PCs of 4 bytes, and descriptors of less than 2 * size bytes in
 * total.
 */
ZARN_UTILITY_API DescBufInfo** db_get_desc_buffer_info_array(const void* buffer, uint64_t size, uint32_t* count);

/*
 * Releases an array of records; the caller's pointer is unchanged.
 *
 * array  what db_get_desc_buffer_info_array() returned; may be null if count is below 1
 * count  the count it reported; any other releases too little or too much
 */
ZARN_UTILITY_API void db_free_desc_buffer_info_array(DescBufInfo** array, int32_t count);

/*
 * Reports on the newest entry of a descriptor log.
 *
 * buffer, size  as for db_get_desc_buffer_info()
 *
 * Returns a text to release with db_free_desc_string(), or null where db_get_desc_buffer_info() returns null.
 */
ZARN_UTILITY_API char* db_get_desc_string(const void* buffer, uint64_t size);

/*
 * Reports on all entries of a descriptor log, newest first.
 *
 * buffer, size  as for db_get_desc_buffer_info_array()
 *
 * Returns a text to release with db_free_desc_string(). It is empty, never null, if nothing can be decoded.
 *
 * Each PC takes a line of up to 37 characters in rings of up to 64 KiB. Besides the text, the call needs less than
 * 2 * R bytes.
 */
ZARN_UTILITY_API char* db_get_desc_string_array(const void* buffer, uint64_t size);

/* Releases a text, which may be null, and sets *text to null. */
ZARN_UTILITY_API void db_free_desc_string(char** text);

/* ============================================= Kernel binaries ================================================ */

/*
 * Computes the checksum of a kernel binary: XXH64 with seed 0.
 *
 * bytes   the binary; may be null if length is 0
 * length  its size in bytes
 * out     receives the checksum
 *
 * Returns the checksum.
 */
ZARN_UTILITY_API uint64_t clc_bin_compute_checksum(const void* bytes, uint64_t length, uint64_t* out);

/*
 * Tells whether a kernel binary contains an eDMA instruction.
 *
 * bytes   the binary; may be null if length is below 1
 * length  its size in bytes
 *
 * Returns 1 if there is one before the stop marker or the end of the binary, else 0. A length below 1 gives 0.
 */
ZARN_UTILITY_API int32_t clc_bin_has_edma_instr(const void* bytes, int64_t length);

#ifdef __cplusplus
}
#endif

#endif /* ZARN_UTILITY_H */
