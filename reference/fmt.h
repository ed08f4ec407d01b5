// {fmt} 7 as the reference uses it, with its error reports compiled out. The library configures {fmt} on its own, so
// that a change to only one of them makes their texts differ.
#pragma once

#define FMT_EXCEPTIONS 0
#define FMT_ASSERT(condition, message) ((void)0)
#define FMT_THROW(error) ((void)sizeof(error))
#define FMT_STATIC_THOUSANDS_SEPARATOR '\0'  // never the host's

// A program must not have {fmt}'s functions in two configurations under one name, so these are in an inline namespace
// of their own.
#define v7 reference_v7
#include <fmt/core.h>    // IWYU pragma: export
#include <fmt/format.h>  // IWYU pragma: export
#include <fmt/printf.h>  // IWYU pragma: export
#undef v7
