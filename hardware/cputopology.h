// Processor structure: how many logical processors and packages there are, the
// geometry of the first processor's caches, and the instruction-set features the
// CPUID bits announce. Standard C++ only; CPUID itself is a no-op off x86.
#pragma once
#include <cstdint>
#include <functional>
#include <istream>
#include <string>
#include <vector>

struct CpuQuantities {
    std::uint32_t logical = 0;
    // Logical processors per package, not a core count.
    std::uint32_t physical = 0;
    std::uint32_t packages = 0;
};

enum class CacheType { unified = 0, instruction = 1, data = 2, trace = 3 };

struct CpuCache {
    std::uint64_t size = 0;
    std::uint64_t lineSize = 0;
    std::uint8_t associativity = 0;
    CacheType type = CacheType::unified;
};

using InstructionSetExtension = std::uint32_t;

CpuQuantities getCpuQuantities(const char *cpuInfoPath = "/proc/cpuinfo");
// logical as the caller counted it; packages and physical from the "physical id" lines.
CpuQuantities cpuQuantities(std::uint32_t logical, std::istream &cpuInfo);

// level is the number of the sysfs "index" directory, not the cache level the kernel reports.
CpuCache getCpuCache(std::uint32_t level,
                     const std::string &indexPrefix = "/sys/devices/system/cpu/cpu0/cache/index");
// The contents of the "size" and "type" files.
std::uint64_t cacheSize(std::istream &text);
CacheType cacheType(std::istream &text);

std::vector<InstructionSetExtension> getInstructionSetExtensions();
bool hasOsAvxSupport();

// Fills EAX, EBX, ECX, EDX for leaf; ECX goes in as the sub-leaf. Leaves the
// array untouched where there is no CPUID, so callers zero it first.
void cpuid(std::uint32_t registers[4], std::uint32_t leaf);
// Extended control register 0 (XCR0); 0 where there is none or the OS has not enabled it.
std::uint64_t readExtendedControl();

// The same decisions over any register source, so the bit table can be checked
// on a processor that lacks the features.
using CpuidQuery = std::function<void(std::uint32_t registers[4], std::uint32_t leaf)>;
using ExtendedControlQuery = std::function<std::uint64_t()>;
std::vector<InstructionSetExtension> instructionSetExtensions(const CpuidQuery &query,
                                                              const ExtendedControlQuery &readControl);
bool osAvxSupport(const CpuidQuery &query, const ExtendedControlQuery &readControl);
