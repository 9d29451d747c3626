#include "common/version.h"

namespace vellmar {

const char* productVersion() { return VELLMAR_VERSION; }

}  // namespace vellmar
