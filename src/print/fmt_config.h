// The one way in which this library includes {fmt} 7: without exceptions, and with its error reports compiled out in
// every build type, so that a debug build gives the same text as a release build.
#pragma once

#define FMT_EXCEPTIONS 0
#define FMT_ASSERT(condition, message) ((void)0)
#define FMT_THROW(error) ((void)sizeof(error))

#include <fmt/format.h>
#include <fmt/printf.h>

static_assert(FMT_VERSION >= 70100 && FMT_VERSION < 80000, "the texts are those of {fmt} 7");

namespace zarn::print {

// The text of one print buffer while it is built. 500 characters hold most single values without touching the heap.
using Text = fmt::basic_memory_buffer<char, 500>;

}  // namespace zarn::print
