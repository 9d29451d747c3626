#include "common/entropy.h"

#include <unistd.h>

#include <chrono>

namespace vellmar {

std::uint32_t entropySeed() {
  std::uint32_t seed = 0;
  if (getentropy(&seed, sizeof seed) != 0) seed = 0;
  const auto now = static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
  return seed ^ static_cast<std::uint32_t>(now) ^ static_cast<std::uint32_t>(now >> 32);
}

}  // namespace vellmar
