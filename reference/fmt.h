// {fmt} 7 as the reference uses it, with its error reports compiled out. The library has a set-up of its own, so that a
// change to one of the two is a difference between their texts.
#pragma once

#define FMT_EXCEPTIONS 0
#define FMT_ASSERT(condition, message) ((void)0)
#define FMT_THROW(error) ((void)sizeof(error))
#define FMT_STATIC_THOUSANDS_SEPARATOR '\0'  // never the host's

// One program must not have {fmt}'s functions in two set-ups under one name; here they are in another inline namespace.
#define v7 reference_v7
#include <fmt/core.h>    // IWYU pragma: export
#include <fmt/format.h>  // IWYU pragma: export
#include <fmt/printf.h>  // IWYU pragma: export
#undef v7
