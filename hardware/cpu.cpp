#include "cpu.h"

#include <cstdlib>
#include <cstring>
#include <fstream>

#include <sys/utsname.h>

#include "cputopology.h"

namespace
{

bool beginsWith(const std::string &line, const char *key)
{
    return line.compare(0, std::strlen(key), key) == 0;
}

} // namespace

std::uint64_t hertzFromMegahertz(double megahertz)
{
    const double hertz = megahertz * 1000000.0;
    // Converting a negative, NaN or too large double to an unsigned integer is
    // undefined, so such figures count as no figure at all.
    if (!(hertz > 0.0) || hertz >= 18446744073709551616.0)
        return 0;
    return static_cast<std::uint64_t>(hertz);
}

std::uint64_t cpuInfoFrequency(std::istream &cpuInfo)
{
    std::uint64_t hertz = 0;
    std::string line;
    while (std::getline(cpuInfo, line)) {
        if (!beginsWith(line, "cpu MHz"))
            continue;
        // Without a ':' strtod starts at the key itself and finds no number.
        const std::size_t colon = line.find(':');
        const char *from = line.c_str() + (colon == std::string::npos ? 0 : colon + 1);
        hertz = hertzFromMegahertz(std::strtod(from, nullptr));
    }
    return hertz;
}

CpuArchitecture cpuArchitectureFromMachine(const char *machine)
{
    if (std::strcmp(machine, "x86_64") == 0)
        return CpuArchitecture::x86_64;
    if (std::strncmp(machine, "arm", 3) == 0)
        return CpuArchitecture::arm;
    if (std::strcmp(machine, "ia64") == 0 || std::strcmp(machine, "IA64") == 0)
        return CpuArchitecture::ia64;
    if (std::strcmp(machine, "i686") == 0)
        return CpuArchitecture::x86;
    return CpuArchitecture::unknown;
}

CpuArchitecture getCpuArchitecture()
{
    struct utsname name {
    };
    if (uname(&name) != 0)
        return CpuArchitecture::unknown;
    return cpuArchitectureFromMachine(name.machine);
}

std::string cpuInfoField(std::istream &cpuInfo, const char *key)
{
    std::string line;
    while (std::getline(cpuInfo, line)) {
        if (!beginsWith(line, key))
            continue;
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos)
            return std::string();
        const std::size_t value = line.find_first_not_of(" \t", colon + 1);
        return value == std::string::npos ? std::string() : line.substr(value);
    }
    return std::string();
}

std::string readCpuInfoField(const char *key, const char *cpuInfoPath)
{
    std::ifstream file(cpuInfoPath);
    if (!file)
        return std::string();
    return cpuInfoField(file, key);
}

std::string getCpuVendor()
{
    // "vendor" also finds x86's "vendor_id" line, which is what makes this useful there.
    return readCpuInfoField("vendor");
}

std::string getCpuModelName()
{
    return readCpuInfoField("model name");
}

std::string getCpuVendorId()
{
    std::uint32_t registers[4] = {0, 0, 0, 0};
    cpuid(registers, 0);
    char vendor[13] = {};
    std::memcpy(vendor, &registers[1], 4);
    std::memcpy(vendor + 4, &registers[3], 4);
    std::memcpy(vendor + 8, &registers[2], 4);
    return std::string(vendor);
}
