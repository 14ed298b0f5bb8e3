// The standard-only probes as an Arm terminal runs them: built with the aarch64
// cross compiler (CMakeLists.txt here) and run under qemu-user by the tests.
// Argument: the test data folder.
#include <cstdio>
#include <fstream>
#include <string>

#include "cpu.h"
#include "cputopology.h"
#include "osinfo.h"

static int failures = 0;

static void check(bool ok, const char *what)
{
    std::printf("%s: %s\n", ok ? "ok  " : "FAIL", what);
    failures += ok ? 0 : 1;
}

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: armcheck <test data folder>\n");
        return 2;
    }
    const std::string data = argv[1];
#if defined(__aarch64__)
    check(getCpuArchitecture() == CpuArchitecture::unknown, "aarch64 is an unknown architecture");
#endif
    check(getCpuVendorId().empty(), "no CPUID vendor");
    check(getInstructionSetExtensions().empty(), "no instruction-set extensions");
    check(!hasOsAvxSupport(), "no AVX");

    std::ifstream cpuInfo(data + "/cpuinfo/arm64-biglittle-a510-a710-a715-x3-8cpu.txt");
    const CpuQuantities quantities = cpuQuantities(8, cpuInfo);
    check(cpuInfo.is_open() && quantities.packages == 0 && quantities.physical == 0,
          "arm64 cpuinfo: no packages");
    const MemoryInfo memory =
        getMemoryInfo((data + "/meminfo/arm64-jetson-nano-4gb-nvmap-extra-keys.txt").c_str());
    check(memory.physicalTotal == 4059272ull << 10, "arm64 meminfo in bytes");
    check(kernelInfo("Linux", "5.4.0-77-generic").buildNumber == 77, "kernel release");

    std::printf("%d failure(s)\n", failures);
    return failures == 0 ? 0 : 1;
}
