/*
 * zarn_utility.h - decodes dumps of Zarn compute processors
 *
 * For C99 and C++ on 64-bit targets. The library does no input or output and keeps no state. docs/formats.md (installed
 * as share/doc/zarn_utility/formats.md) describes the inputs byte by byte, and the texts line by line.
 *
 * This holds for every function:
 *
 *   Threads      Any number of threads may call any function at once, even on the same input.
 *   Changes      If a device or another process writes to an input during a call, the result is any mixture of old and
 *                new contents. For a consistent one, decode a copy.
 *   Alignment    No input needs any.
 *   Null         No pointer may be null unless its description says so.
 *   Ownership    What a db_get_* function returns belongs to the caller, who releases it with the db_free_* function
 *                named beside it. Inputs are only read.
 *   Failure      is reported only by the return value.
 *   Allocation   A failed allocation ends the process, even where operator new throws. Format strings and damaged logs
 *                decide how much memory a result takes: decode untrusted input in a child process with a memory limit.
 *   Locale       has no effect.
 *   Trust        Any contents are safe, provided that sizes are right and that the string table holds a NUL at or after
 *                the format offset, which stays there during the call.
 */
#ifndef ZARN_UTILITY_H
#define ZARN_UTILITY_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#if UINTPTR_MAX < 0xFFFFFFFFFFFFFFFF
#error "zarn_utility.h needs a 64-bit target: the layout of its records is part of the interface"
#endif

/* Version of the library that this header belongs to. */
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

/* ============================================================================================================== */
/*                                               Print buffers                                                    */
/* ============================================================================================================== */

/* A print buffer is what one print statement of a kernel leaves behind; its format string is in the string table. */

/* The smallest that is decoded, in bytes. */
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
  const uint32_t* subMask; /* the caller's buffer at byte 24: 4 little-endian words, as unaligned as the buffer */
  const char* format;      /* the caller's string table at the format offset */
  const uint32_t* data;    /* the caller's buffer at byte 44: 128 of the same; read both with memcpy() or by byte */
} PrintBufInfo;

/*
 * db_get_gid(), db_get_kid(), db_get_jid() - read the graph id, kernel id or instance id of a print buffer
 *
 * buffer  the print buffer, otherwise unchecked; may be null
 * size    its size in bytes; 16, 20 and 24 are enough
 *
 * Returns the id, or 0xFFFFFFFF (which can also be the id) if buffer is null or too small to hold it.
 */
ZARN_UTILITY_API uint32_t db_get_gid(const void* buffer, size_t size);
ZARN_UTILITY_API uint32_t db_get_kid(const void* buffer, size_t size);
ZARN_UTILITY_API uint32_t db_get_jid(const void* buffer, size_t size);

/*
 * db_get_print_buffer_info() - check a print buffer's header and return it as a record
 *
 * buffer           the print buffer; may be null
 * bufferSize       its size in bytes
 * stringTable      NUL-terminated strings, one after another; may be null
 * stringTableSize  its size in bytes
 *
 * Returns a record to release with db_free_print_buffer_info(). Its pointers borrow from buffer and stringTable, so
 * both must outlive it. Returns null if buffer or stringTable is null, bufferSize is below ZARN_PRINT_BUFFER_MIN_SIZE,
 * the format offset is not below stringTableSize, the header word is zero, the print kind is above 8, or the data type
 * is above 7.
 */
ZARN_UTILITY_API PrintBufInfo* db_get_print_buffer_info(const void* buffer, size_t bufferSize, const char* stringTable,
                                                        size_t stringTableSize);

/* Releases a record, which may be null, and sets the caller's pointer to null. */
ZARN_UTILITY_API void db_free_print_buffer_info(PrintBufInfo** info);

/*
 * db_get_printf_string() - show a print buffer as text
 *
 * buffer, bufferSize, stringTable, stringTableSize  as for db_get_print_buffer_info()
 *
 * Returns the NUL-terminated text to release with db_free_printf_string(), in an array of exactly its length plus one;
 * or null where db_get_print_buffer_info() returns null.
 *
 * '%c' of 0 puts a NUL into the text, at which strlen() ends. A conversion can give 2 GiB of text.
 */
ZARN_UTILITY_API char* db_get_printf_string(const void* buffer, size_t bufferSize, const char* stringTable,
                                            size_t stringTableSize);

/* Releases a text, which may be null, and sets the caller's pointer to null. */
ZARN_UTILITY_API void db_free_printf_string(char** text);

/* ============================================================================================================== */
/*                                              Descriptor logs                                                   */
/* ============================================================================================================== */

/*
 * A descriptor log is a ring of R = size - 64 bytes, computed in 32 bits, followed by a trailer. For every descriptor
 * that it issues, the device appends an entry to the ring.
 *
 * Every DescBufInfo that is returned keeps these promises, whatever the input:
 *
 *   - valid is 1, and exactly one of isEdma, isGlsu and isRingBufferAte is 1;
 *   - no array pointer is null, and each array has exactly as many elements as its count says;
 *   - a has-flag is 1 exactly if its count is not 0;
 *   - the three counts add up to at most R / 8 + 1;
 *   - descSize is at most size - 76, or below 8 MiB if size is below 76;
 *   - if there is no descriptor header, descSize is 0 and pc is 0xFFFFFFFF.
 *
 * In rings whose length is not a power of two, such as that of a log of 64 KiB, entries at position 0 are misread, even
 * in an intact log (see docs/formats.md).
 */

/* One decoded entry of a descriptor log. */
typedef struct DescBufInfo {
  uint8_t valid;           /* 1 */
  uint8_t overSized;       /* 1 if totalLogUsed is not the trailer's write offset */
  uint8_t isEdma;          /* the newest record's tag is "ED" */
  uint8_t isGlsu;          /* "GL" */
  uint8_t isRingBufferAte; /* "RB", "NP", "EL" or "RL" */
  uint8_t hasRbNextPtr;    /* there are next-pointer records */
  uint8_t hasRbEnd;        /* there are end records */
  uint8_t hasRbRelease;    /* there are release records */
  uint32_t totalLogUsed;   /* the trailer's total of descriptor log bytes used */
  uint32_t pc;             /* of the newest record or, if that is a next-pointer, end or release record, of the one in
                              front of the entry's header */
  uint32_t descSize;       /* bytes in desc */
  uint8_t* desc;           /* the descriptor */
  uint32_t rbNextPtrCount; /* elements of rbNextPtrPcs */
  uint32_t* rbNextPtrPcs;  /* PCs of the next-pointer records, oldest first */
  uint32_t rbEndCount;     /* elements of rbEndPcs */
  uint32_t* rbEndPcs;      /* PCs of the end records, oldest first */
  uint32_t rbReleaseCount; /* elements of rbReleasePcs */
  uint32_t* rbReleasePcs;  /* PCs of the release records, oldest first */
} DescBufInfo;

/*
 * db_get_desc_buffer_info() - decode the newest entry of a descriptor log
 *
 * buffer  the log; may be null
 * size    its size in bytes
 *
 * Returns a record to release with db_free_desc_buffer_info(). Its arrays are copies of the log's bytes. Returns null,
 * and allocates nothing, if
 *
 *   - buffer is null, size is below 65, or R is 0;
 *   - the tag that ends at the write offset is unknown;
 *   - a start offset is above size;
 *   - there is neither a ring-buffer record nor a descriptor header that lies in the buffer as a whole; or
 *   - size is 76 to 127 and the descriptor's length is above size - 76. (Of a log 4 GiB larger, where these sizes wrap,
 *     the descriptor has nearly 4 GiB.)
 */
ZARN_UTILITY_API DescBufInfo* db_get_desc_buffer_info(const void* buffer, uint64_t size);

/* Releases a record, which must not be null, and its arrays, which may be, and sets the caller's pointer to null. */
ZARN_UTILITY_API void db_free_desc_buffer_info(DescBufInfo** info);

/*
 * db_get_desc_buffer_info_array() - decode the entries of a descriptor log from the newest backwards
 *
 * buffer  the log; may be null
 * size    its size in bytes
 * count   receives the number of records; written several times before the call returns
 *
 * Returns an array of *count records, newest first, to release with db_free_desc_buffer_info_array(). The walk ends
 * before the first entry that can't be decoded, when the log's bytes are used up, or after R / 76 records. The array
 * may be empty, as it always is if R is below 76. Returns null, and leaves *count alone, if buffer is null or size is
 * below 65.
 *
 * Cost: entries of a damaged log can refer to each other in a circle, so there can be R / 76 records, with R / 8 + 1
 * PCs of 4 bytes each, and descriptors of less than 2 * size bytes in all. A ring of 64 KiB can give 28 MB.
 */
ZARN_UTILITY_API DescBufInfo** db_get_desc_buffer_info_array(const void* buffer, uint64_t size, uint32_t* count);

/*
 * db_free_desc_buffer_info_array() - release an array of records and leave the caller's pointer as it is
 *
 * array  what db_get_desc_buffer_info_array() returned; may be null if count is below 1
 * count  the count it reported; any other releases too little or too much
 */
ZARN_UTILITY_API void db_free_desc_buffer_info_array(DescBufInfo** array, int32_t count);

/*
 * db_get_desc_string() - report on the newest entry of a descriptor log
 *
 * buffer, size  as for db_get_desc_buffer_info()
 *
 * Returns the NUL-terminated report to release with db_free_desc_string(), in an array of exactly its length plus one;
 * or null where db_get_desc_buffer_info() returns null.
 */
ZARN_UTILITY_API char* db_get_desc_string(const void* buffer, uint64_t size);

/*
 * db_get_desc_string_array() - report on all entries of a descriptor log, newest first
 *
 * buffer, size  as for db_get_desc_buffer_info_array()
 *
 * Returns the NUL-terminated report to release with db_free_desc_string(), in an array of exactly its length plus one.
 * Never null: if nothing can be decoded, the text is empty.
 *
 * Cost: as for db_get_desc_buffer_info_array(), with a line of up to 37 characters for each PC (rings of up to 64 KiB).
 * A ring of 64 KiB can give 260 MB. Beside the text the call needs less than 2 * R bytes.
 */
ZARN_UTILITY_API char* db_get_desc_string_array(const void* buffer, uint64_t size);

/* Releases a report, which may be null, and sets the caller's pointer to null. */
ZARN_UTILITY_API void db_free_desc_string(char** text);

/* ============================================================================================================== */
/*                                             Kernel binaries                                                    */
/* ============================================================================================================== */

/*
 * clc_bin_compute_checksum() - checksum of a kernel binary: XXH64 with seed 0
 *
 * bytes   the binary; may be null if length is 0
 * length  its size in bytes
 * out     receives the checksum
 *
 * Returns the checksum. It cannot fail.
 */
ZARN_UTILITY_API uint64_t clc_bin_compute_checksum(const void* bytes, uint64_t length, uint64_t* out);

/*
 * clc_bin_has_edma_instr() - whether a kernel binary contains an eDMA instruction
 *
 * bytes   the binary; may be null if length is below 1
 * length  its size in bytes
 *
 * Returns 1 if there is one before the stop marker or the end of the binary, else 0, also if length is below 1.
 */
ZARN_UTILITY_API int32_t clc_bin_has_edma_instr(const void* bytes, int64_t length);

#ifdef __cplusplus
}
#endif

#endif /* ZARN_UTILITY_H */
