// Processor clock and identity, read from the kernel, the firmware and lscpu.
#pragma once
#include <cstdint>

// Highest frequency any source reports, in hertz; 0 when none gave a number.
std::uint64_t getCpuFrequency();
