// The processor texts: /proc/cpuinfo, the sysfs cache files, "dmidecode -t 4",
// lscpu and uname's fields. The whole input goes to every parser: a real machine
// may print any of these texts where another one was expected, and the frequency
// is worked out in the same order as getCpuFrequency does it.
#include <QByteArray>
#include <QList>
#include <QtGlobal>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

#include "cpu.h"
#include "cpufrequency.h"
#include "cputopology.h"
#include "fuzzing.h"
#include "osinfo.h"

namespace
{

std::string lineAt(const std::string &text, int wanted)
{
    std::istringstream in(text);
    std::string line;
    for (int i = 0; i <= wanted; ++i)
        if (!std::getline(in, line))
            return std::string();
    return line;
}

bool anyLine(const QList<QByteArray> &lines, bool (*matches)(const QByteArray &))
{
    for (const QByteArray &line : lines)
        if (matches(line))
            return true;
    return false;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzzing::dropLog();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char *>(data), size);

    std::istringstream kernelText(text);
    const std::uint64_t kernel = cpuInfoFrequency(kernelText);

    for (const char *key : {"vendor", "model name", "physical id", ""}) {
        std::istringstream in(text);
        cpuInfoField(in, key);
    }

    // Whatever the text, lines joined again must give the trimmed output back.
    const QByteArray output(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const QList<QByteArray> lines = commandOutputLines(output);
    if (lines.isEmpty() || lines.join('\n') != output.trimmed())
        fuzzing::fail("commandOutputLines lost or added text");

    const std::uint64_t firmware = dmidecodeFrequency(lines, kernel);
    const bool maxSpeed =
        anyLine(lines, [](const QByteArray &line) { return line.trimmed().startsWith("Max Speed"); });
    if (!maxSpeed && firmware != kernel)
        fuzzing::fail("dmidecodeFrequency changed the figure without a Max Speed line");

    const std::uint64_t reported = lscpuFrequency(lines, firmware);
    const bool megahertz = anyLine(lines, [](const QByteArray &line) { return line.contains("MHz"); });
    if (!megahertz && reported != firmware)
        fuzzing::fail("lscpuFrequency changed the figure without a MHz line");

    // The same conversion straight from a number as strtod reads it, and from raw bits,
    // which reach NaN payloads, infinities and subnormals no text spells.
    const double parsed = std::strtod(text.c_str(), nullptr);
    if (!(parsed > 0.0) && hertzFromMegahertz(parsed) != 0)
        fuzzing::fail("hertzFromMegahertz gave a count for a figure that is not positive");
    if (size >= sizeof(double)) {
        double raw = 0.0;
        std::memcpy(&raw, data, sizeof raw);
        if (!(raw > 0.0) && hertzFromMegahertz(raw) != 0)
            fuzzing::fail("hertzFromMegahertz gave a count for raw bits that are not positive");
    }

    std::uint32_t logical = 0;
    if (size >= sizeof logical)
        std::memcpy(&logical, data + size - sizeof logical, sizeof logical);
    std::istringstream topology(text);
    const CpuQuantities quantities = cpuQuantities(logical, topology);
    if (quantities.logical != logical)
        fuzzing::fail("cpuQuantities did not keep the caller's logical count");
    if (quantities.packages == 0 ? quantities.physical != 0
                                 : std::uint64_t(quantities.physical) * quantities.packages > logical)
        fuzzing::fail("cpuQuantities gave more processors per package than there are");

    std::istringstream sizeText(text);
    cacheSize(sizeText);
    std::istringstream typeText(text);
    cacheType(typeText);

    // uname's fields are C strings: the first line stands for the system and machine
    // names, the second for the release.
    const std::string first = lineAt(text, 0);
    cpuArchitectureFromMachine(first.c_str());
    kernelInfo(first.c_str(), lineAt(text, 1).c_str());
    return 0;
}
