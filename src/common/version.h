#pragma once

namespace vellmar {

// The product version, as the about box and the reference server report it.
const char* productVersion();

}  // namespace vellmar
