#pragma once

// A test's way to run out of memory on purpose: while a ScarceMemory is alive, every allocation of
// more than `largest` bytes fails with std::bad_alloc, as it would on a machine without the memory.

#include <cstddef>

namespace vellmar::html {

class ScarceMemory {
 public:
  explicit ScarceMemory(std::size_t largest);
  ~ScarceMemory();
  ScarceMemory(const ScarceMemory&) = delete;
  ScarceMemory& operator=(const ScarceMemory&) = delete;
};

}  // namespace vellmar::html
