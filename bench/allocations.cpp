// Counts allocations, including the library's. This is a file of its own so that nothing is inlined.

#include <cstdlib>
#include <new>

namespace bench {
extern std::size_t allocations;
std::size_t allocations = 0;
}  // namespace bench

void* operator new(std::size_t size) {
  ++bench::allocations;
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  std::abort();
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
