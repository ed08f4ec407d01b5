// Ends the process when the program's operator new throws.
//
// The library has unwind tables, without which a crash report or a profile would lose whoever called it. But it is
// built without exceptions, so one that passed through it would leak what the library holds. The linker's option --wrap
// leads every call of operator new to this file, the only one with exceptions switched on: here noexcept takes effect.

#include <cstddef>

// The linker makes up these names from those of operator new and operator new[].
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl*,readability-identifier-naming)
extern "C" {
void* __real__Znwm(std::size_t size);
void* __real__Znam(std::size_t size);

void* __wrap__Znwm(std::size_t size) noexcept { return __real__Znwm(size); }
void* __wrap__Znam(std::size_t size) noexcept { return __real__Znam(size); }
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl*,readability-identifier-naming)
