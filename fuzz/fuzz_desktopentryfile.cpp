// The desktop-entry reader against GKeyFile on any bytes: a difference stops the run.

#include "DesktopEntryComparison.h"
#include "KeyFileReference.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    KeyFileReference::abortOn(
        DesktopEntryComparison::differences({reinterpret_cast<const char *>(data), size}));
    return 0;
}
