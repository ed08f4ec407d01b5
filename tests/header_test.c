/* The public header on its own, in C99: this file has only to compile. */
#include "zarn_utility.h"

uint32_t callFromC(const void* buffer, size_t size);

uint32_t callFromC(const void* buffer, size_t size) { return db_get_gid(buffer, size); }
