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
 *   Failure     Is told by the return value alone. Nothing is logged, no error code is kept, nothing is thrown. A failed
 *               allocation ends the process.
 *   Ownership   What a db_get_* function returns belongs to the caller, who gives it back through the db_free_* function
 *               named beside it. Inputs stay the caller's.
 *   Locale      Texts are the same whatever locale the process has set: ASCII digits, '.' as decimal point, no grouping.
 */
#ifndef ZARN_UTILITY_H
#define ZARN_UTILITY_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

/* Version of the library that this header belongs to. */
#define ZARN_UTILITY_VERSION_MAJOR 1
#define ZARN_UTILITY_VERSION_MINOR 3
#define ZARN_UTILITY_VERSION_PATCH 1
#define ZARN_UTILITY_VERSION "1.3.1"

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
 *   data type 3, 4: 64-bit (low half in word t, high half in word 64+t); 5, 6: IEEE 754 binary32; others: unsigned 32-bit
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
  const uint32_t* subMask; /* the caller's buffer at byte 24: 4 words. As unaligned as the buffer is; read with memcpy */
  const char* format;      /* the caller's string table at the format offset */
  const uint32_t* data;    /* the caller's buffer at byte 44: 128 words. As unaligned as the buffer is */
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
 * both must outlive it. Returns null when buffer or stringTable is null, bufferSize is below ZARN_PRINT_BUFFER_MIN_SIZE,
 * the format offset is not below stringTableSize, the header word is zero, the print kind is above 8, or the data type is
 * above 7.
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
 * Returns the NUL-terminated text to give back with db_free_printf_string(), in an array of exactly its length plus one;
 * or null in the cases in which db_get_print_buffer_info() returns null.
 *
 * The format follows {fmt} 7's printf rules, with one argument: an unsigned 32-bit integer, or a float for data types 5
 * and 6; a 64-bit value is shown as its two halves. A conversion that does not suit the argument, or has no argument
 * left, never stops the decode; it gives whatever {fmt} gives, mostly nothing. No text comes from a conversion that
 * breaks off after a length modifier, has argument index 0, or has an index, width or precision beyond INT_MAX (a '*'
 * that takes such a value included). Other widths and precisions are honoured in full: up to 2 GiB of text a value.
 * '%c' of 0 puts a NUL into the text, and strlen() then ends there.
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

#ifdef __cplusplus
}
#endif

#endif /* ZARN_UTILITY_H */
