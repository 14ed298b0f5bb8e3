// The sampling parsers of performanceparsers.h over command output: meminfo and
// dmidecode figures, /proc/stat, lsblk, /proc/diskstats, df, top and /proc/net/dev.
// The whole input is one command's output: the whole-text parsers get all of it,
// the line parsers get every line as readLine hands it over (with its line feed),
// and the figures that come in pairs take the first two lines. The interface check
// takes its flags and type from the first and second bytes.
#include <QNetworkInterface>
#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "fuzzing.h"
#include "performanceparsers.h"

using namespace performanceparsers;

namespace
{

// As QIODevice::readLine cuts them: every line keeps its line feed, the last may lack one.
QStringList readLines(const QString &text)
{
    QStringList lines;
    int from = 0;
    while (from < text.size()) {
        const int feed = text.indexOf(QLatin1Char('\n'), from);
        const int end = feed < 0 ? text.size() : feed + 1;
        lines << text.mid(from, end - from);
        from = end;
    }
    return lines;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzzing::dropLog();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    // The terminals run UTF-8 locales, where the program's fromLocal8Bit is fromUtf8.
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const QStringList lines = readLines(text);
    const QString first = lines.value(0).trimmed();
    const QString second = lines.value(1).trimmed();

    memoryTotalFromKernel(size > 0 && (data[0] & 1), text);
    kernelMemoryTotal(first);
    firmwareMemoryTotal(first, second);
    const double ratio = memoryFreeRatio(first, second);
    if (!(ratio >= 0.0))
        fuzzing::fail("memoryFreeRatio is negative or not a number");

    const CpuSample before = cpuSample(first);
    const CpuSample after = cpuSample(second);
    const double load = cpuLoad(before, after);
    if (!(after.total - before.total > 0.0) && load != -1.0)
        fuzzing::fail("cpuLoad gave a load although the total did not grow");

    for (const DiskSize &disk : wholeDisks(text))
        if (disk.name.isEmpty() || disk.name.contains(QLatin1Char(' ')) ||
            disk.name.contains(QLatin1Char('\n')))
            fuzzing::fail("wholeDisks gave a name that is empty or has a blank");

    // Each line that reads as diskstats is a sample; every one after the first is
    // the second sample of the one before, as two passes over the same disk would be.
    PhysicalDisk disk;
    bool sampled = false;
    for (const QString &line : lines) {
        DiskCounters counters{};
        if (!diskStatsCounters(line, counters))
            continue;
        if (sampled)
            storeRates(disk, counters);
        storeFirstSample(disk, counters);
        sampled = true;
    }

    // df's lines are joined with the sizes lsblk gave in the same text.
    const QMap<QString, QString> sizes = partitionSizes(text);
    const quint64 memoryTotalKb = first.toULongLong(nullptr, 10);
    bool counted = false;
    InterfaceBytes counters;
    for (const QString &line : lines) {
        if (const QSharedPointer<LogicalDisk> partition = logicalDisk(line, sizes)) {
            if (sizes.value(partition->sysPartition, QStringLiteral("absent")) != partition->capability)
                fuzzing::fail("logicalDisk joined a partition lsblk did not list");
        }
        if (const QSharedPointer<ProcessInfo> process = processInfo(line)) {
            if (process->pid.isEmpty() || process->userName.isEmpty() || process->processName.isEmpty() ||
                process->cpuRatio.isEmpty() || process->memoryRatio.isEmpty())
                fuzzing::fail("processInfo gave an empty column");
            memoryUseCapability(process->memoryRatio, memoryTotalKb);
        }
        InterfaceBytes bytes;
        if (interfaceBytes(line, bytes)) {
            if (bytes.name.contains(QLatin1Char(':')))
                fuzzing::fail("interfaceBytes left the colon in the name");
            if (counted) {
                throughput(counters.received, bytes.received);
                throughput(counters.sent, bytes.sent);
            }
            counters = bytes;
            counted = true;
        }
    }
    if (throughput(counters.received, counters.received) != QLatin1String("0"))
        fuzzing::fail("throughput of an unchanged counter is not 0");

    const int flags = size > 0 ? static_cast<signed char>(data[0]) : 0;
    const int type = size > 1 ? static_cast<signed char>(data[1]) : 0;
    const InterfaceCheck check = checkInterface(first, second, flags, type);
    const bool sampledInterface = (flags & QNetworkInterface::IsUp) && type != QNetworkInterface::Loopback;
    if (check.collect != sampledInterface || check.warning == check.collect || check.message.isEmpty())
        fuzzing::fail("checkInterface decided against the up flag and the loopback type");
    return 0;
}
