// {fmt} 7 as this library uses it: header-only, without exceptions, and with its error reports compiled out in every
// build type, so that a debug build gives the same text as a release build. Nothing else in the library includes {fmt}.
#pragma once

#define FMT_EXCEPTIONS 0
#define FMT_ASSERT(condition, message) ((void)0)
#define FMT_THROW(error) ((void)sizeof(error))

// Digits are never grouped, whatever std::locale the process has set. {fmt} then leaves std::locale out, which would be
// a third of a library with a static C++ run-time.
#define FMT_STATIC_THOUSANDS_SEPARATOR '\0'

#include <fmt/core.h>    // IWYU pragma: export
#include <fmt/format.h>  // IWYU pragma: export
#include <fmt/printf.h>  // IWYU pragma: export

static_assert(FMT_VERSION >= 70100 && FMT_VERSION < 80000, "the texts are those of {fmt} 7");
