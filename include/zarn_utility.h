/*
 * zarn_utility.h - decoders for what a Zarn compute processor leaves behind
 *
 * One header for C (C99 and later) and C++. Every function is a complete operation on memory that the caller hands it:
 * the library does no input or output, keeps no global state and remembers nothing between calls. What the inputs look
 * like byte by byte, and what each line of a text tells, is in docs/formats.md (installed as
 * share/doc/zarn_utility/formats.md).
 *
 * This holds for every function:
 *
 *   Threads      Any number of threads may call any function at once, even on the same input: input is only read.
 *   Changes      A device or another process may still write to an input during a call. What comes out is then any
 *                mixture of old and new contents, but nothing outside the input is read, nothing outside the library's
 *                own memory is written, nothing leaks, and the call ends. For a picture of one moment, copy the input.
 *   Alignment    No input needs any alignment.
 *   Ownership    What a db_get_* function returns belongs to the caller, who gives it back through the db_free_*
 *                function named beside it. Inputs stay the caller's.
 *   Failure      is reported by the return value alone. Nothing is logged, no error code is kept, nothing is thrown.
 *   Allocation   A failed allocation ends the process, even where operator new throws. Format strings and damaged logs
 *                decide how much memory a text takes (see the functions): decode input that you don't trust in a child
 *                process with a memory limit.
 *   Locale       Texts are the same whatever locale the process has set: ASCII digits, a '.', no grouping.
 *
 * Trusted: the sizes that the caller gives; and that the string table holds a NUL at or after the format offset, which
 * stays there during the call.
 * Not trusted: the contents of print buffers, logs and kernel binaries, and format strings. Any bytes are decoded or
 * rejected, and nothing outside the given sizes is read.
 *
 * These pointers may be null, and no others:
 *
 *   - buffer and stringTable, of every function that takes them
 *   - bytes, where length is 0 (clc_bin_has_edma_instr(): below 1)
 *   - the caller's pointer whose address db_free_print_buffer_info(), db_free_printf_string() or db_free_desc_string()
 *     takes (not for db_free_desc_buffer_info())
 *   - array of db_free_desc_buffer_info_array(), where count is below 1
 *   - the array pointers of a record that is released
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
 * format string in a table of NUL-terminated strings that is kept apart from the buffer (the string table). The print
 * type, 0 to 3, says which of the value words are shown; docs/formats.md has the layout.
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
  const uint32_t* subMask; /* the caller's buffer at byte 24: 4 little-endian words, as unaligned as the buffer */
  const char* format;      /* the caller's string table at the format offset */
  const uint32_t* data;    /* the caller's buffer at byte 44: 128 of the same; read both with memcpy() or by byte */
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
 * Nine header lines, then the device's format string applied to each value by itself. With the format "v=%u":
 *
 *   Graph Id: 1               submask0: 0x5          (always)
 *   Kernel Id: 2              submask1: 0x0
 *   Instance Id: 3            submask2: 0x0
 *   Current time: 1000        submask3: 0x0
 *   Total size: 620
 *
 *   thread_0: v=7             print type 0, masked threads: one line for each thread that is present
 *
 *   thread_2:                 print type 0 with 64-bit data: the format applied to each half of the value
 *   low 32 bits:
 *   v=16
 *   high 32 bits:
 *   v=1
 *
 *   v=7                       print type 1, single value; of 64-bit data the low word alone
 *
 *   L0_0: v=7                 print type 2, pads only: 64 lines, L0_0 to L0_7, then L1, R0, R1, U0, U1, D0, D1
 *
 *   thread_0: v=7             print type 3, all threads and pads: 64 lines of either kind; of 64-bit data the low words
 *   ...                       alone
 *   D1_7: v=7
 *
 * (The nine header lines stand one below the other.) Every line ends in "\n".
 *
 * buffer, bufferSize, stringTable, stringTableSize  as for db_get_print_buffer_info()
 *
 * Returns the NUL-terminated text to give back with db_free_printf_string(), in an array of exactly its length plus
 * one; or null in the cases in which db_get_print_buffer_info() returns null.
 *
 * The format follows {fmt} 7's printf rules, with one argument: an unsigned 32-bit integer, or a float for data types 5
 * and 6. No format stops the decode:
 *
 *   - A conversion that does not suit an integer ('%s' of 7), or has no argument left, gives no text. A float is
 *     written whatever the conversion ('%d', '%x' and '%s' of 1.5 give 1.5).
 *   - A conversion gives no text if it breaks off after a length modifier, has argument index 0, has a width above
 *     INT_MAX (even one that '*' takes from the value), or is '%a' or '%A' of a float with a precision above
 *     INT_MAX - 9.
 *   - Other widths and precisions are honoured: up to 2 GiB of text for one conversion, of which a format can have any
 *     number.
 *   - '%c' puts the lowest byte of the word into the text. If it is 0, strlen() of the text ends there.
 *
 * Not checked: that the string table holds a NUL at or after the format offset. The format is read up to that NUL, and
 * the caller makes sure that there is one inside the table.
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
 * A descriptor log is a ring of bytes, R = size - 64 of them, followed by a 64-byte trailer. For every descriptor that
 * it issues, the device appends an entry to the ring: a header, the descriptor, and one or more 8-byte records. An
 * eDMA, GLSU or plain RingBufferATE entry has one record; other RingBufferATE entries have next-pointer, end and
 * release records in any number. docs/formats.md has the layout, and how an entry is found.
 *
 * R is computed in 32 bits. A log of more than 4 GiB for which it is 0 has no entries.
 *
 * The device overwrites the oldest bytes of the ring, so a log may hold anything. For any bytes and any size, every
 * record that is returned keeps these promises:
 *
 *   - valid is 1, and exactly one of isEdma, isGlsu and isRingBufferAte is 1;
 *   - no array pointer is null, and each array has exactly as many elements as its count says;
 *   - a has-flag is 1 exactly when its count is not 0;
 *   - the three counts add up to at most R / 8 + 1;
 *   - descSize is at most size - 76, or below 8 MiB where size is below 76;
 *   - where there is no descriptor header, descSize is 0 and pc is 0xFFFFFFFF.
 */

/* One decoded entry of a descriptor log. */
typedef struct DescBufInfo {
  uint8_t valid;           /* 1 */
  uint8_t overSized;       /* 1 when totalLogUsed is not the trailer's write offset: more was logged than the ring
                              shows, or the trailer is damaged */
  uint8_t isEdma;          /* the newest record's tag is "ED" */
  uint8_t isGlsu;          /* "GL" */
  uint8_t isRingBufferAte; /* "RB", "NP", "EL" or "RL" */
  uint8_t hasRbNextPtr;    /* there are next-pointer records */
  uint8_t hasRbEnd;        /* there are end records */
  uint8_t hasRbRelease;    /* there are release records */
  uint32_t totalLogUsed;   /* the trailer's total of descriptor log bytes used */
  uint32_t pc;             /* of the newest record; where that is a next-pointer, end or release record, the word of
                              the eight bytes in front of the entry's header; 0xFFFFFFFF without such a header */
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
 * descriptor header nor a ring-buffer record, or size is 76 to 127 and the descriptor's length above size - 76. A
 * header that does not lie in the buffer as a whole is none.
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
 * up to R / 76 times. Time and memory therefore grow with the square of the log: at most R / 76 records, with at most
 * R / 8 + 1 PCs of 4 bytes each and descriptors of less than 2 * size bytes in all. A ring of 64 KiB that holds nothing
 * but release records gives 862 records with 28 MB of PCs.
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
 *   (empty line)
 *   Total Descriptor log used(bytes) : 412
 *   Descriptor is over sized : no
 *   PC : 608                               4294967295 where there is no descriptor header
 *   Type: RingBufferATE                    or eDMA, GLSU
 *   Size: 36                               of the descriptor, in bytes
 *   Descriptor Table:                      its bytes in hexadecimal, 32 in a row
 *    10 11 12 13 14 15 16 17 ...
 *    30 31 32 33
 *   (empty line)
 *   RB_next_PTR: yes                       this and what follows for RingBufferATE entries only
 *   qel_rb_next_ptr PC[0] : 320            PCs of the next-pointer records, oldest first
 *   qel_rb_next_ptr PC[1] : 352
 *   (empty line)
 *   RB_end: no                             end records: qel_rb_end PC[0] : ...
 *   (empty line)
 *   RB_release: no                         release records: qel_rb_release PC[0] : ...
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
 * The first three lines of the report above, then for each entry:
 *
 *   (empty line)
 *   DescBufInfo 0 in Array :
 *   PC: 608                                no blank before the colon
 *   Type: RingBufferATE                    and all that follows above, but with
 *   qel_next_ptr PC[0] : 320               for next pointers
 *
 * buffer, size  as for db_get_desc_buffer_info_array()
 *
 * Returns the NUL-terminated report to give back with db_free_desc_string(), in an array of exactly its length plus
 * one. Never null: where nothing can be decoded the text is empty.
 *
 * Cost: as for db_get_desc_buffer_info_array(), with a line of up to 37 characters for each PC (rings of up to 64 KiB).
 * A ring of 64 KiB that holds nothing but release records with ten-digit PCs gives 260 MB of text. Beside the text the
 * call needs less than 2 * R bytes.
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
 * The binary is a stream of instructions made of 16-bit parcels. The first parcel of an instruction tells its length:
 * a short has one parcel, a word two, a bundle two to twelve. After its first parcel a bundle holds four slots, of
 * which the final one is an eDMA instruction when it is exactly two parcels (32 bits) wide and has bits 6, 24, 27, 28,
 * 29, 30 and 31 set. Words, and the other slots of a bundle, never count.
 *
 * The scan ends at the first eDMA instruction, at the stop marker ("prot" where an instruction begins, with at least
 * one byte after it), or at the end of the binary.
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
