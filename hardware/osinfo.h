// Facts about the running system read straight from files and system calls, with
// no shell: the distribution's release files, the kernel's version, the kernel's
// memory counters and the pointing devices. Standard C++ only.
#pragma once
#include <cstdint>
#include <istream>
#include <string>

// GNU dialects predefine `linux` as 1, which would turn the enumerator below into a number.
#ifdef linux
#undef linux
#endif

struct OsInfo {
    std::string name;
    std::string fullName;
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint32_t patch = 0;
    std::uint32_t buildNumber = 0;
};

enum class KernelType { linux = 1, darwin = 2, unknown = 3 };

struct KernelInfo {
    KernelType kernel = KernelType::unknown;
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint32_t patch = 0;
    std::uint32_t buildNumber = 0;
};

// In bytes.
struct MemoryInfo {
    std::uint64_t physicalAvailable = 0;
    std::uint64_t physicalTotal = 0;
    std::uint64_t virtualAvailable = 0;
    std::uint64_t virtualTotal = 0;
};

// The first readable of etc/os-release, usr/lib/os-release and etc/lsb-release
// under root ("" is the real root).
OsInfo getOsInfo(const std::string &root = std::string());
OsInfo osInfoFromOsRelease(std::istream &text);
OsInfo osInfoFromLsbRelease(std::istream &text);

KernelInfo getKernelInfo();
KernelInfo kernelInfo(const char *systemName, const char *release);

MemoryInfo getMemoryInfo(const char *memInfoPath = "/proc/meminfo");
MemoryInfo memoryInfo(std::istream &memInfo);

// Number of device nodes the shell pattern matches.
unsigned countMice(const char *pattern = "/dev/input/mouse*");
