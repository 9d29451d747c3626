#pragma once

#include <cstdint>

namespace vellmar {

// A seed for a random sequence from the system's entropy (crypto.getRandomValues in the page, the
// kernel natively) mixed with the clock. No device file is opened: the page's module has no file
// system to open one in.
std::uint32_t entropySeed();

}  // namespace vellmar
