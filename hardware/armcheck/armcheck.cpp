// The standard-only probes as an Arm terminal runs them: built with the aarch64
// cross compiler and run under qemu-user by run.sh. Argument: the test data folder.
#include <cstdio>
#include <fstream>
#include <string>

#include "cpu.h"
#include "cputopology.h"
#include "osinfo.h"

namespace
{

int failures = 0;

void check(bool ok, const char *what)
{
    std::printf("%s: %s\n", ok ? "ok  " : "FAIL", what);
    if (!ok)
        ++failures;
}

} // namespace

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
    check(readExtendedControl() == 0, "no extended control register");
    std::uint32_t registers[4] = {1, 2, 3, 4};
    cpuid(registers, 0);
    check(registers[0] == 1 && registers[1] == 2 && registers[2] == 3 && registers[3] == 4,
          "cpuid leaves the registers untouched");

    std::ifstream cpuInfo(data + "/cpuinfo/arm64-biglittle-a510-a710-a715-x3-8cpu.txt");
    check(cpuInfoFrequency(cpuInfo) == 0, "arm64 cpuinfo has no cpu MHz");
    cpuInfo.clear();
    cpuInfo.seekg(0);
    const CpuQuantities quantities = cpuQuantities(8, cpuInfo);
    check(quantities.packages == 0 && quantities.physical == 0, "arm64 cpuinfo has no physical id");
    check(readCpuInfoField("CPU part", (data + "/cpuinfo/arm64-cavium-thunderx-2cpu-scaleway.txt").c_str()) ==
              "0x0a1",
          "cpuinfo field");

    const MemoryInfo memory =
        getMemoryInfo((data + "/meminfo/arm64-jetson-nano-4gb-nvmap-extra-keys.txt").c_str());
    check(memory.physicalTotal == 4059272ull << 10 && memory.virtualTotal == 263061440ull << 10,
          "arm64 meminfo in bytes");
    std::ifstream release(data + "/os-release/raspbian-12-bookworm.os-release");
    const OsInfo os = osInfoFromOsRelease(release);
    check(os.fullName == "Raspbian GNU/Linux 12 (bookworm)" && os.major == 12, "os-release");
    check(kernelInfo("Linux", "5.4.0-77-generic").buildNumber == 77, "kernel release");
    check(getKernelInfo().kernel == KernelType::linux, "running kernel is Linux");
    check(getCpuCache(0, data + "/no-such-cache/index").size == 0, "missing cache folder");
    check(countMice((data + "/no-such-input/mouse*").c_str()) == 0, "no mice");

    std::printf("%d failure(s)\n", failures);
    return failures == 0 ? 0 : 1;
}
