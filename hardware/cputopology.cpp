#include "cputopology.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>

#include <unistd.h>

#if defined(__x86_64__) || defined(__i386__)
// The compiler's header: a cpuid.h in this folder would shadow it, hence cputopology.h.
#include <cpuid.h>
#define PROBIX_HAS_CPUID 1
#endif

namespace
{

enum Register { eax = 0, ebx = 1, ecx = 2, edx = 3 };

// Which condition guards a row of the table below.
enum class Gate {
    basic,    // highest leaf above 0
    leaf7,    // highest leaf above 6
    leaf7Avx, // highest leaf above 6 and AVX enabled by the OS
    avx512,   // AVX enabled and the OS saves the AVX-512 state
    extended, // highest extended leaf above 0x80000000
};

struct ExtensionBit {
    Gate gate;
    std::uint32_t leaf; // 0 with bit -1: the gate alone decides
    Register reg;
    int bit;
    InstructionSetExtension code;
};

// Kept in this order: callers get the codes in table order, not sorted. Code 36
// stands twice on purpose, and the extended leaf reuses the codes 26 to 29.
const ExtensionBit extensionTable[] = {
    {Gate::basic, 1, edx, 22, 3},
    {Gate::basic, 1, edx, 23, 2},
    {Gate::basic, 1, edx, 25, 4},
    {Gate::basic, 1, edx, 26, 5},
    {Gate::basic, 1, ecx, 0, 6},
    {Gate::basic, 1, ecx, 9, 7},
    {Gate::basic, 1, ecx, 19, 9},
    {Gate::basic, 1, ecx, 20, 10},
    {Gate::basic, 1, ecx, 25, 11},
    {Gate::basic, 1, ecx, 28, 32},
    {Gate::basic, 1, ecx, 12, 35},
    {Gate::leaf7Avx, 7, ebx, 5, 13},
    {Gate::leaf7, 7, ebx, 4, 25},
    {Gate::leaf7, 7, ebx, 3, 26},
    {Gate::leaf7, 7, ebx, 8, 27},
    {Gate::leaf7, 7, ebx, 19, 28},
    {Gate::leaf7, 7, ebx, 14, 29},
    {Gate::leaf7, 7, ebx, 29, 30},
    {Gate::avx512, 0, eax, -1, 14},
    {Gate::avx512, 7, ebx, 16, 15},
    {Gate::avx512, 7, ebx, 28, 16},
    {Gate::avx512, 7, ebx, 26, 17},
    {Gate::avx512, 7, ebx, 27, 18},
    {Gate::avx512, 7, ebx, 31, 19},
    {Gate::avx512, 7, ebx, 30, 20},
    {Gate::avx512, 7, ebx, 17, 22},
    {Gate::avx512, 7, ebx, 21, 23},
    {Gate::avx512, 7, ecx, 1, 24},
    {Gate::leaf7, 7, ecx, 0, 31},
    {Gate::extended, 0x80000001, edx, 29, 36},
    {Gate::extended, 0x80000001, edx, 0, 37},
    {Gate::extended, 0x80000001, edx, 30, 0},
    {Gate::extended, 0x80000001, edx, 31, 1},
    {Gate::extended, 0x80000001, edx, 29, 36},
    {Gate::extended, 0x80000001, ecx, 5, 26},
    {Gate::extended, 0x80000001, ecx, 6, 27},
    {Gate::extended, 0x80000001, ecx, 16, 28},
    {Gate::extended, 0x80000001, ecx, 11, 29},
};

struct Leaf {
    std::uint32_t r[4] = {0, 0, 0, 0};
};

Leaf query(const CpuidQuery &cpuidQuery, std::uint32_t leaf)
{
    Leaf result;
    cpuidQuery(result.r, leaf);
    return result;
}

std::uint64_t readSysfsNumber(const std::string &path)
{
    std::ifstream file(path);
    std::uint64_t value = 0;
    if (file)
        file >> value;
    return file ? value : 0;
}

} // namespace

void cpuid(std::uint32_t registers[4], std::uint32_t leaf)
{
#ifdef PROBIX_HAS_CPUID
    __cpuid_count(leaf, registers[2], registers[0], registers[1], registers[2], registers[3]);
#else
    (void)registers;
    (void)leaf;
#endif
}

std::uint64_t readExtendedControl()
{
#ifdef PROBIX_HAS_CPUID
    // XGETBV faults unless the OS has turned on XSAVE (CPUID.1:ECX bit 27), so the
    // register is read only where that bit promises it is there.
    std::uint32_t registers[4] = {0, 0, 0, 0};
    cpuid(registers, 1);
    if (!(registers[ecx] & (1u << 27)))
        return 0;
    std::uint32_t low = 0;
    std::uint32_t high = 0;
    __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return (static_cast<std::uint64_t>(high) << 32) | low;
#else
    return 0;
#endif
}

bool osAvxSupport(const CpuidQuery &cpuidQuery, const ExtendedControlQuery &readControl)
{
    const std::uint32_t features = query(cpuidQuery, 1).r[ecx];
    const std::uint32_t osxsaveAndAvx = (1u << 27) | (1u << 28);
    if ((features & osxsaveAndAvx) != osxsaveAndAvx)
        return false;
    return (readControl() & 6) > 5;
}

bool hasOsAvxSupport()
{
    return osAvxSupport(cpuid, readExtendedControl);
}

std::vector<InstructionSetExtension> instructionSetExtensions(const CpuidQuery &cpuidQuery,
                                                              const ExtendedControlQuery &readControl)
{
    std::vector<InstructionSetExtension> extensions;
    extensions.reserve(64);
    const auto highestLeaf = static_cast<std::int32_t>(query(cpuidQuery, 0).r[eax]);
    const std::uint32_t highestExtendedLeaf = query(cpuidQuery, 0x80000000).r[eax];
    const bool avx = osAvxSupport(cpuidQuery, readControl);
    const bool avx512 = avx && (readControl() & 230) > 229;

    std::map<std::uint32_t, Leaf> leaves;
    for (const ExtensionBit &row : extensionTable) {
        bool open = false;
        switch (row.gate) {
        case Gate::basic: open = highestLeaf > 0; break;
        case Gate::leaf7: open = highestLeaf > 6; break;
        case Gate::leaf7Avx: open = highestLeaf > 6 && avx; break;
        case Gate::avx512: open = avx512; break;
        case Gate::extended: open = highestExtendedLeaf > 0x80000000u; break;
        }
        if (!open)
            continue;
        if (row.bit < 0) {
            extensions.push_back(row.code);
            continue;
        }
        auto found = leaves.find(row.leaf);
        if (found == leaves.end())
            found = leaves.emplace(row.leaf, query(cpuidQuery, row.leaf)).first;
        if (found->second.r[row.reg] & (1u << row.bit))
            extensions.push_back(row.code);
    }
    return extensions;
}

std::vector<InstructionSetExtension> getInstructionSetExtensions()
{
    return instructionSetExtensions(cpuid, readExtendedControl);
}

CpuQuantities cpuQuantities(std::uint32_t logical, std::istream &cpuInfo)
{
    CpuQuantities quantities;
    quantities.logical = logical;
    std::vector<std::uint32_t> ids;
    std::string line;
    while (std::getline(cpuInfo, line)) {
        if (line.compare(0, 11, "physical id") != 0)
            continue;
        const std::size_t digit = line.find_first_of("1234567890");
        if (digit == std::string::npos)
            continue;
        const auto id = static_cast<std::uint32_t>(std::strtoull(line.c_str() + digit, nullptr, 10));
        if (std::find(ids.begin(), ids.end(), id) == ids.end())
            ids.push_back(id);
    }
    quantities.packages = static_cast<std::uint32_t>(ids.size());
    quantities.physical = quantities.packages ? logical / quantities.packages : 0;
    return quantities;
}

CpuQuantities getCpuQuantities(const char *cpuInfoPath)
{
    const long online = sysconf(_SC_NPROCESSORS_ONLN);
    // sysconf gives -1 only when it cannot tell; that is no processor count at all.
    const auto logical = static_cast<std::uint32_t>(online < 0 ? 0 : online);
    std::ifstream file(cpuInfoPath);
    if (!file) {
        CpuQuantities quantities;
        quantities.logical = logical;
        return quantities;
    }
    return cpuQuantities(logical, file);
}

std::uint64_t cacheSize(std::istream &text)
{
    std::uint64_t size = 0;
    if (!(text >> size))
        return 0;
    // The kernel writes upper-case units; lower-case ones are left as read on purpose.
    switch (text.get()) {
    case 'K': return size << 10;
    case 'M': return size << 20;
    case 'G': return size << 30;
    default: return size;
    }
}

CacheType cacheType(std::istream &text)
{
    std::string word;
    text >> word;
    // Position 1, so that "Data" and "data" both match while "Metadata" does not.
    if (word.find("nified") == 1)
        return CacheType::unified;
    if (word.find("nstruction") == 1)
        return CacheType::instruction;
    if (word.find("ata") == 1)
        return CacheType::data;
    if (word.find("race") == 1)
        return CacheType::trace;
    return CacheType::unified;
}

CpuCache getCpuCache(std::uint32_t level, const std::string &indexPrefix)
{
    const std::string directory = indexPrefix + std::to_string(level) + "/";
    CpuCache cache;
    if (std::ifstream size(directory + "size"); size)
        cache.size = cacheSize(size);
    cache.lineSize = readSysfsNumber(directory + "coherency_line_size");
    cache.associativity = static_cast<std::uint8_t>(readSysfsNumber(directory + "associativity") & 0xff);
    if (std::ifstream type(directory + "type"); type)
        cache.type = cacheType(type);
    return cache;
}
