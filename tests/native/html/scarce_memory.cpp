#include "html/scarce_memory.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

constexpr std::size_t kUnlimited = static_cast<std::size_t>(-1);
std::atomic<std::size_t> largestAllowed{kUnlimited};

}  // namespace

namespace vellmar::html {

ScarceMemory::ScarceMemory(std::size_t largest) { largestAllowed = largest; }
ScarceMemory::~ScarceMemory() { largestAllowed = kUnlimited; }

}  // namespace vellmar::html

// The replaceable global allocation functions of this test program. The other forms (arrays,
// nothrow) are defined by the library in terms of these.
void* operator new(std::size_t size) {
  if (size > largestAllowed.load(std::memory_order_relaxed)) throw std::bad_alloc();
  if (void* p = std::malloc(size == 0 ? 1 : size)) return p;
  throw std::bad_alloc();
}

void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
