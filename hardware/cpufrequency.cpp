#include "cpufrequency.h"

#include <QDebug>
#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "commandrunner.h"
#include "cpu.h"

namespace
{

QList<QByteArray> runForLines(const QString &command)
{
    // Standard error and the exit code say nothing the output does not: a sudo
    // that refuses or a missing command simply leaves the output empty.
    return commandOutputLines(CommandRunner::run(CommandRunner::shellLine(command), 30000).output);
}

std::uint64_t cpuInfoFrequencyFromFile(const std::string &path)
{
    std::ifstream file(path);
    if (!file)
        return 0;
    return cpuInfoFrequency(file);
}

} // namespace

QList<QByteArray> commandOutputLines(const QByteArray &output)
{
    return output.trimmed().split('\n');
}

std::uint64_t dmidecodeFrequency(const QList<QByteArray> &lines, std::uint64_t start)
{
    std::uint64_t hertz = start;
    for (const QByteArray &raw : lines) {
        const QByteArray line = raw.trimmed();
        if (!line.startsWith("Max Speed"))
            continue;
        const int colon = line.indexOf(':');
        hertz = hertzFromMegahertz(std::strtod(line.constData() + colon + 1, nullptr));
    }
    return hertz;
}

std::uint64_t lscpuFrequency(const QList<QByteArray> &lines, std::uint64_t start)
{
    std::uint64_t hertz = start;
    for (const QByteArray &line : lines) {
        if (!line.contains("MHz"))
            continue;
        // Cut at single blanks, so aligned columns leave empty pieces; only the
        // last piece with text counts, and the colon plays no part.
        const QList<QByteArray> pieces = line.trimmed().split(' ');
        qInfo() << "colons : " << pieces;
        auto last = std::find_if(pieces.crbegin(), pieces.crend(),
                                 [](const QByteArray &piece) { return !piece.isEmpty(); });
        if (last == pieces.crend())
            continue;
        // toDouble gives 0 for "800MHz" or "45%", and a figure no count can hold gives
        // 0 as well: neither ever wins, nor wipes out what an earlier line gave.
        const std::uint64_t figure = hertzFromMegahertz(last->toDouble());
        if (figure > hertz)
            hertz = figure;
    }
    return hertz;
}

std::uint64_t getCpuFrequency(const std::string &cpuInfoPath)
{
    const std::uint64_t kernel = cpuInfoFrequencyFromFile(cpuInfoPath);

    // The command text is fixed: the firmware table needs root whoever runs us.
    const QList<QByteArray> processor = runForLines(QStringLiteral("sudo dmidecode -t 4"));
    qInfo() << "processor info : " << processor;
    const std::uint64_t firmware = dmidecodeFrequency(processor, kernel);
    const std::uint64_t best = std::max(kernel, firmware);

    const QList<QByteArray> lscpu = runForLines(QStringLiteral("lscpu"));
    qInfo() << "processor info : " << lscpu;
    // lscpu competes with the firmware figure, not with the best so far; the
    // final maximum makes the order of the comparisons irrelevant to the result.
    const std::uint64_t reported = lscpuFrequency(lscpu, firmware);

    return std::max(reported, best);
}

std::uint64_t getCpuFrequency()
{
    return getCpuFrequency("/proc/cpuinfo");
}
