// Ends the process when the program's operator new throws, or when the C++ run-time library is about to.
//
// The library keeps unwind tables, because crash reports and profiles would lose its callers without them. But it is
// built without exceptions, so one that passed through it would leak what the library holds. The linker's --wrap option
// redirects the calls named here to this file, where noexcept takes effect: it is the only file compiled with
// exceptions, whatever flags a parent project sets.

#include <cstddef>
#include <exception>

#ifndef __cpp_exceptions
#error "without exceptions, those of operator new would leave the library"
#endif

// The linker derives these names from those of the functions.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {
// operator new and operator new[]
void* __real__Znwm(std::size_t size);
void* __real__Znam(std::size_t size);

void* __wrap__Znwm(std::size_t size) noexcept { return __real__Znwm(size); }
void* __wrap__Znam(std::size_t size) noexcept { return __real__Znam(size); }

// The functions through which libstdc++ throws, without their arguments; libc++ ends the process by itself. Because
// none of these is imported, the library also runs with a libstdc++ that predates them.
[[noreturn]] void __wrap__ZSt17__throw_bad_allocv() noexcept { std::terminate(); }
[[noreturn]] void __wrap__ZSt28__throw_bad_array_new_lengthv() noexcept { std::terminate(); }
[[noreturn]] void __wrap__ZSt20__throw_length_errorPKc() noexcept { std::terminate(); }
[[noreturn]] void __wrap__ZSt24__throw_out_of_range_fmtPKcz() noexcept { std::terminate(); }
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
