// The distribution's release files and the kernel's memory counters. The whole
// input goes to every parser, as getOsInfo hands whichever release file it finds
// first to its parser whatever the file holds. These parsers promise nothing
// about malformed text that is cheap to check, so the sanitizers are the judges.
#include <cstdint>
#include <sstream>
#include <string>

#include "osinfo.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char *>(data), size);

    std::istringstream osRelease(text);
    osInfoFromOsRelease(osRelease);

    std::istringstream lsbRelease(text);
    osInfoFromLsbRelease(lsbRelease);

    std::istringstream memInfo(text);
    memoryInfo(memInfo);
    return 0;
}
