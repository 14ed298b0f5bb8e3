// Processor clock and identity, read from the kernel, the firmware and lscpu.
// Everything here but getCpuFrequency is plain standard C++, so the same code
// builds for the Arm terminals without Qt.
#pragma once
#include <cstdint>
#include <istream>
#include <string>

enum class CpuArchitecture { x86_64 = 0, arm = 1, ia64 = 2, x86 = 3, unknown = 4 };

// Highest frequency any source reports, in hertz; 0 when none gave a number.
// Reads /proc/cpuinfo and runs "sudo dmidecode -t 4" and "lscpu" at every call.
std::uint64_t getCpuFrequency();

CpuArchitecture getCpuArchitecture();
// The kernel's machine name as uname gives it, mapped without any guessing:
// "aarch64" is not an "arm*" name and stays unknown.
CpuArchitecture cpuArchitectureFromMachine(const char *machine);

// Text behind the ':' of the first line that begins with key; empty when absent.
std::string readCpuInfoField(const char *key, const char *cpuInfoPath = "/proc/cpuinfo");
std::string cpuInfoField(std::istream &cpuInfo, const char *key);
std::string getCpuVendor();
std::string getCpuModelName();
// The twelve characters of the CPUID vendor leaf; empty where there is no CPUID.
std::string getCpuVendorId();

// The kernel's current clock: the last "cpu MHz" line, so the last core listed decides.
std::uint64_t cpuInfoFrequency(std::istream &cpuInfo);

// Megahertz as parsed, in whole hertz; figures no unsigned count can hold give 0.
std::uint64_t hertzFromMegahertz(double megahertz);
