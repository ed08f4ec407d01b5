/*
 * zarn_utility.h - decoders for what a Zarn compute processor leaves behind
 *
 * One header for C (C99 and later) and C++. Every function is a complete operation on memory that the caller hands it:
 * the library does no input or output, keeps no global state and remembers nothing between calls.
 *
 * Holds for every function:
 *
 *   Threads     Any number of threads may call any function at once, on the same input too: input is only read.
 *   Alignment   No buffer needs any alignment.
 *   Byte order  All multi-byte values of the device formats are little-endian.
 *   Failure     Is told by the return value alone. Nothing is logged, no error code is kept, nothing is thrown. A
 *               failed allocation ends the process.
 *   Ownership   What a db_get_* function returns belongs to the caller, who gives it back through the db_free_*
 *               function named beside it. Inputs stay the caller's.
 *   Locale      Texts are the same whatever locale the process has set: ASCII digits, a '.', no grouping.
 *
 * What is trusted, and what is not:
 *
 *   contents of buffers, logs and binaries   not trusted: any bytes are decoded or rejected, and nothing outside the
 *                                            given range is read
 *   sizes that the caller gives              trusted: that much memory can be read
 *   string table                             trusted to hold a NUL at or after the format offset; nothing before that
 *                                            offset and behind that NUL is read
 *   format strings                           not trusted: any format gives some text; but widths and precisions are
 *                                            honoured, so the text grows with them, up to 2 GiB a value
 *   null pointers                            buffers, logs, binaries of no bytes and string tables may be null, and so
 *                                            may what a db_free_* function's argument points at, but for
 *                                            db_free_desc_buffer_info(), and an array to free with a count of 0; no
 *                                            other pointer may
 */
#ifndef ZARN_UTILITY_H
#define ZARN_UTILITY_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

/* Version of the library that this header belongs to. It stands here alone; build and packages read these numbers. */
#define ZARN_UTILITY_VERSION_MAJOR 1
#define ZARN_UTILITY_VERSION_MINOR 3
#define ZARN_UTILITY_VERSION_PATCH 1

/* The same as a text. */
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

/*
 * A print buffer is what one print statement of a kernel leaves behind: a header, 128 value words, and the place of its
 * format string in a table of NUL-terminated strings that is kept apart from the buffer (the string table).
 *
 *   offset  width  field
 *        0      4  header word, not zero: bits 0-4 print kind (0-8), bits 6-10 data type (0-7), other bits ignored
 *        4      4  time stamp of the print, in the device's own unit
 *        8      4  size as the device reports it; shown, never compared with the buffer's real size
 *       12      4  graph id
 *       16      4  kernel id
 *       20      4  instance id
 *       24     16  four thread submask words; thread t owns bits 2*(t%16) and 2*(t%16)+1 of word t/16
 *       40      4  offset of the format string in the string table, in bytes
 *       44    512  128 value words
 *      556     64  reserved, never read, but part of the minimum size
 *
 *   print kind   0  1  2  3  4  5  6  7  8
 *   print type   0  0  1  1  0  2  3  3  1
 *
 *   print type                   value words used
 *   0  masked threads            word t for each thread t with a bit of its pair set; 64-bit data: also word 64+t
 *   1  single value              word 0
 *   2  pads only                 words 0-63: eight pads (L0 L1 R0 R1 U0 U1 D0 D1) of eight values
 *   3  all threads and pads      words 0-63 for threads 0-63, words 64-127 for the pads
 *
 *   data type                    value
 *   3, 4                         64 bits, the low half in word t, the high half in word 64+t
 *   5, 6                         IEEE 754 binary32
 *   0, 1, 2, 7                   unsigned 32-bit integer
 */

/* Smallest print buffer that is decoded, in bytes. */
#define ZARN_PRINT_BUFFER_MIN_SIZE 620

/* The checked header of a print buffer. */
typedef struct PrintBufInfo {
  uint32_t printType;      /* 0 to 3, from the print kind as above */
  bool is64Bit;            /* data type 3 or 4 */
  bool isFloat;            /* data type 5 or 6 */
  uint32_t currentTime;    /* word at byte 4 */
  uint32_t totalSize;      /* word at byte 8 */
  uint32_t graphId;        /* word at byte 12 */
  uint32_t kernelId;       /* word at byte 16 */
  uint32_t instanceId;     /* word at byte 20 */
  const uint32_t* subMask; /* the caller's buffer at byte 24: 4 words, as unaligned as the buffer; use memcpy */
  const char* format;      /* the caller's string table at the format offset */
  const uint32_t* data;    /* the caller's buffer at byte 44: 128 words, as unaligned as the buffer */
} PrintBufInfo;

/*
 * db_get_gid(), db_get_kid(), db_get_jid() - read one identifier of a print buffer
 *
 * They return the graph id (word at byte 12), the kernel id (byte 16) and the instance id (byte 20).
 *
 * buffer  the print buffer; may be null
 * size    its size in bytes; 16, 20 and 24 are enough
 *
 * Returns the word, or 0xFFFFFFFF when buffer is null or too small to hold it. A stored 0xFFFFFFFF can't be told from
 * that. Nothing else of the buffer is checked.
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
 * Returns a record to give back with db_free_print_buffer_info(). Its pointers borrow from buffer and stringTable, so
 * both must outlive it. Returns null when buffer or stringTable is null, bufferSize is below
 * ZARN_PRINT_BUFFER_MIN_SIZE, the format offset is not below stringTableSize, the header word is zero, the print kind
 * is above 8, or the data type is above 7.
 *
 * Not checked: that the string table holds a NUL at or after the format offset (this function does not read it).
 */
ZARN_UTILITY_API PrintBufInfo* db_get_print_buffer_info(const void* buffer, size_t bufferSize, const char* stringTable,
                                                        size_t stringTableSize);

/*
 * db_free_print_buffer_info() - release a record and set the caller's pointer to null
 *
 * info  address of the caller's pointer, not null itself; the pointer may be null
 */
ZARN_UTILITY_API void db_free_print_buffer_info(PrintBufInfo** info);

/*
 * db_get_printf_string() - render a print buffer as text
 *
 * Nine header lines (identifiers, time stamp, size, submasks), then the device's format string applied to each value by
 * itself, one line a value. Lines end in "\n".
 *
 * buffer, bufferSize, stringTable, stringTableSize  as for db_get_print_buffer_info()
 *
 * Returns the NUL-terminated text to give back with db_free_printf_string(), in an array of exactly its length plus
 * one; or null in the cases in which db_get_print_buffer_info() returns null.
 *
 * The format follows {fmt} 7's printf rules, with one argument: an unsigned 32-bit integer, or a float for data types 5
 * and 6; a 64-bit value is shown as its two halves. A conversion that does not suit the argument, or has no argument
 * left, never stops the decode; it gives whatever {fmt} gives, mostly nothing. No text comes from a conversion that
 * breaks off after a length modifier, has argument index 0, or has an index, width or precision beyond INT_MAX (a '*'
 * that takes such a value included). Other widths and precisions are honoured as {fmt} does: up to 2 GiB of text a
 * value. '%c' of 0 puts a NUL into the text, and strlen() then ends there.
 *
 * Not checked: that the string table holds a NUL at or after the format offset. The format is read up to that NUL, and
 * the caller sees to it that there is one inside the table.
 */
ZARN_UTILITY_API char* db_get_printf_string(const void* buffer, size_t bufferSize, const char* stringTable,
                                            size_t stringTableSize);

/*
 * db_free_printf_string() - release a text and set the caller's pointer to null
 *
 * text  address of the caller's pointer, not null itself; the pointer may be null
 */
ZARN_UTILITY_API void db_free_printf_string(char** text);

/* ============================================================================================================== */
/*                                              Descriptor logs                                                   */
/* ============================================================================================================== */

/*
 * A descriptor log is a ring of bytes, R = size - 64 of them, and a 64-byte trailer behind it. R has 32 bits, and a log
 * above 4 GiB for which that makes it 0 has no entries. For every descriptor
 * that it issues, the device appends an entry to the ring: a header, the descriptor, and one or more 8-byte records.
 *
 *   trailer offset  width  field
 *                0      2  write offset W: the ring position just behind the newest record
 *                2      2  not read
 *                4      4  total descriptor log bytes used
 *                8     56  not read
 *
 *   record offset   width  field
 *                0      4  PC: the device program counter that the record belongs to
 *                4      2  start offset: where the header of the record's entry lies, in bytes from the buffer's start
 *                6      2  tag: "ED" eDMA, "GL" GLSU, "RB" RingBufferATE; and for a RingBufferATE entry with
 *                          ring-buffer records "NP" next pointer, "EL" end, "RL" release
 *
 *   header offset   width  field
 *                0      2  "ST"
 *                2      2  descriptor length in units of 128 bytes (RingBufferATE) or 64 bytes (eDMA, GLSU)
 *                4         the descriptor, which goes on at ring position 0 where the ring ends
 *
 * The oldest bytes of a ring are overwritten, so a log may hold anything. For any bytes and any size these functions
 * read nothing outside the buffer, and every record they return holds: valid is 1; exactly one of isEdma, isGlsu and
 * isRingBufferAte is 1; no array pointer is null; each array has exactly as many elements as its count says; a has-flag
 * is 1 exactly when its count is not 0; the three counts add up to at most R / 8 + 1; descSize is at most size - 76, or
 * below 8 MiB where size is below 76; without a descriptor, descSize is 0 and pc is 0xFFFFFFFF.
 */

/* One decoded entry of a descriptor log. */
typedef struct DescBufInfo {
  uint8_t valid;           /* 1 */
  uint8_t overSized;       /* 1 when the trailer's total log bytes used differ from its write offset */
  uint8_t isEdma;          /* the newest record's tag is "ED" */
  uint8_t isGlsu;          /* "GL" */
  uint8_t isRingBufferAte; /* "RB", "NP", "EL" or "RL" */
  uint8_t hasRbNextPtr;    /* there are next-pointer records */
  uint8_t hasRbEnd;        /* there are end records */
  uint8_t hasRbRelease;    /* there are release records */
  uint32_t totalLogUsed;   /* as the trailer has it */
  uint32_t pc;             /* 0xFFFFFFFF when the entry has no descriptor header */
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
 * Returns a record to give back with db_free_desc_buffer_info(). Its arrays are the record's own, copied out of the
 * log. Returns null, and allocates nothing, when buffer is null, size is below 65, or there is no entry that can be
 * decoded: the tag that ends at the write offset is unknown, a start offset lies beyond the buffer, there is neither a
 * descriptor header nor a ring-buffer record, or size is 76 to 127 and the descriptor's length above size - 76.
 *
 * In a damaged log a ring-buffer record can be met that was not counted; its PC is dropped. A slot of a PC array that
 * no record fills holds 0.
 */
ZARN_UTILITY_API DescBufInfo* db_get_desc_buffer_info(const void* buffer, uint64_t size);

/*
 * db_free_desc_buffer_info() - release a record with its arrays and set the caller's pointer to null
 *
 * info  address of the caller's pointer. Neither may be null; the record's array pointers may be
 */
ZARN_UTILITY_API void db_free_desc_buffer_info(DescBufInfo** info);

/*
 * db_get_desc_buffer_info_array() - decode the entries of a descriptor log from the newest backwards
 *
 * buffer  the log; may be null
 * size    its size in bytes
 * count   receives the number of records; not null. It is written several times before the call returns
 *
 * Returns an array of *count records, newest first, to give back with db_free_desc_buffer_info_array(). The walk ends
 * quietly before the first entry that can't be decoded, when the log's bytes are used up, or after R / 76 records; the
 * array may be empty, but is not null then. Always empty when R is below 76. Returns null, and leaves *count alone,
 * when buffer is null or size is below 65.
 *
 * Cost: entries of a damaged log can refer to each other in a circle, and the walk then decodes the same bytes again,
 * up to R / 76 times. With n = R / 8 ring-buffer records in each, time and memory grow with the square of the log: at
 * most R / 76 records of R / 8 + 1 PCs, that is R * R / 152 bytes and a little more. A log of 64 KiB that holds nothing
 * but end records took 28 MB and some 40 ms on the machine it was measured on.
 */
ZARN_UTILITY_API DescBufInfo** db_get_desc_buffer_info_array(const void* buffer, uint64_t size, uint32_t* count);

/*
 * db_free_desc_buffer_info_array() - release an array of records
 *
 * array  what db_get_desc_buffer_info_array() returned; may be null when count is below 1
 * count  the count it reported; any other number releases too little or too much, and nothing guards against that
 *
 * The caller's pointer is not changed.
 */
ZARN_UTILITY_API void db_free_desc_buffer_info_array(DescBufInfo** array, int32_t count);

/*
 * db_get_desc_string() - report on the newest entry of a descriptor log
 *
 * buffer, size  as for db_get_desc_buffer_info()
 *
 * Returns the NUL-terminated report to give back with db_free_desc_string(), in an array of exactly its length plus
 * one; or null in the cases in which db_get_desc_buffer_info() returns null.
 */
ZARN_UTILITY_API char* db_get_desc_string(const void* buffer, uint64_t size);

/*
 * db_get_desc_string_array() - report on all entries of a descriptor log, newest first
 *
 * buffer, size  as for db_get_desc_buffer_info_array()
 *
 * Returns the NUL-terminated report to give back with db_free_desc_string(), in an array of exactly its length plus
 * one. Never null: where nothing can be decoded the text is empty.
 *
 * Cost: the text of a damaged log may have up to R * R / 608 lines with a PC each, and lies in memory twice for a
 * moment. A log of 64 KiB that holds nothing but end records gave 168 MB of text.
 */
ZARN_UTILITY_API char* db_get_desc_string_array(const void* buffer, uint64_t size);

/*
 * db_free_desc_string() - release a report and set the caller's pointer to null
 *
 * text  address of the caller's pointer, not null itself; the pointer may be null
 */
ZARN_UTILITY_API void db_free_desc_string(char** text);

/* ============================================================================================================== */
/*                                             Kernel binaries                                                    */
/* ============================================================================================================== */

/*
 * clc_bin_compute_checksum() - checksum of a kernel binary: XXH64 with seed 0
 *
 * bytes   the binary; may be null when length is 0
 * length  its size in bytes
 * out     receives the checksum; not null
 *
 * Returns the checksum. There is no failure: every range of bytes has one, the empty one too.
 */
ZARN_UTILITY_API uint64_t clc_bin_compute_checksum(const void* bytes, uint64_t length, uint64_t* out);

/*
 * clc_bin_has_edma_instr() - whether a kernel binary contains an eDMA instruction
 *
 * Walks the instruction stream from its first byte up to the first eDMA instruction, the stop marker ("prot" where an
 * instruction begins, with at least one byte behind it), or the end. An eDMA instruction is the final slot of a bundle,
 * two parcels (32 bits) wide, with bits 6, 24, 27, 28, 29, 30 and 31 set.
 *
 * bytes   the binary; may be null when length is below 1
 * length  its size in bytes
 *
 * Returns 1 when there is an eDMA instruction, else 0, also when length is below 1. The stream is not validated: every
 * byte pattern is some instruction. One that is cut off by the end is completed with zeros.
 */
ZARN_UTILITY_API int32_t clc_bin_has_edma_instr(const void* bytes, int64_t length);

#ifdef __cplusplus
}
#endif

#endif /* ZARN_UTILITY_H */
