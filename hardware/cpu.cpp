#include "cpu.h"

std::uint64_t getCpuFrequency()
{
    return 0;
}
