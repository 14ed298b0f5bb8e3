#include "performanceparsers.h"

#include <QNetworkInterface>
#include <QStringList>

namespace
{

constexpr double kKbToGb = 9.5367431640625e-07;      // 1 / 2^20, also bytes to MB
constexpr double kBytesToGb = 9.313225746154785e-10; // 1 / 2^30
constexpr double kMbToGb = 0.0009765625;             // 1 / 1024
// The sleep between the two disk or network samples, in milliseconds. The real gap is longer
// (the commands run in between) and is deliberately not measured.
constexpr double kNominalIntervalMs = 10.0;

QString sampleText(double value)
{
    return QString::number(value, 'g', 6);
}

// Ten is no format letter; Qt then writes plain decimals as with 'f'. Kept on purpose,
// since the memory figure has always been rounded this way.
QString oneDecimal(double value)
{
    return QString::number(value, char(10), 1);
}

QString gigabytesFromBytes(const QString &bytes)
{
    return sampleText(bytes.toULongLong(nullptr, 10) * kBytesToGb);
}

} // namespace

namespace performanceparsers
{

bool memoryTotalFromKernel(bool armCpu, const QString &lsbRelease)
{
    return armCpu || lsbRelease.contains(QLatin1String("Kylin"), Qt::CaseInsensitive);
}

double kernelMemoryTotal(const QString &memTotalKb)
{
    // toInt on purpose: a total beyond the signed 32-bit range of kB reads as 0.
    return oneDecimal(memTotalKb.toInt(nullptr, 10) * kKbToGb).toDouble();
}

double firmwareMemoryTotal(const QString &valueText, const QString &unitText)
{
    // The firmware figure only works for one module reported in MB: several modules give
    // one number per line, which toInt rejects, and a GB unit replaces the figure by
    // "GB", which reads as 0. Both are kept as they have always been.
    QString total = oneDecimal(valueText.toInt(nullptr, 10) * kMbToGb);
    if (unitText.compare(QLatin1String("GB"), Qt::CaseInsensitive) == 0)
        total = unitText;
    return total.toDouble();
}

double memoryFreeRatio(const QString &memTotalKb, const QString &memAvailableKb)
{
    const quint64 total = memTotalKb.toULongLong(nullptr, 10);
    const quint64 available = memAvailableKb.toULongLong(nullptr, 10);
    if (total == 0)
        return 0.0;
    return static_cast<double>(available) / static_cast<double>(total);
}

CpuSample cpuSample(const QString &statLine)
{
    CpuSample sample;
    const QStringList pieces = statLine.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (pieces.size() < 4)
        return sample;
    sample.valid = true;
    sample.busy = pieces.at(1).toDouble() + pieces.at(2).toDouble() + pieces.at(3).toDouble();
    // Interrupt and I/O-wait jiffies widen the total without counting as busy.
    for (int i = 1; i < pieces.size(); ++i)
        sample.total += pieces.at(i).toDouble();
    return sample;
}

double cpuLoad(const CpuSample &first, const CpuSample &second)
{
    const double delta = second.total - first.total;
    if (!(delta > 0.0))
        return -1.0;
    return (second.busy - first.busy) / delta * 100.0;
}

QList<DiskSize> wholeDisks(const QString &lsblkOutput)
{
    QList<DiskSize> disks;
    const QStringList lines = lsblkOutput.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString &line : lines) {
        const QStringList pieces = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        if (pieces.size() != 2)
            continue;
        disks.append({pieces.at(0), gigabytesFromBytes(pieces.at(1))});
    }
    return disks;
}

bool diskStatsCounters(const QString &diskStatsLine, DiskCounters &counters)
{
    const QStringList pieces = diskStatsLine.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (pieces.size() < 14)
        return false;
    for (int i = 0; i < 11; ++i)
        counters[i] = pieces.at(i + 3).toULong(nullptr, 10);
    return true;
}

void storeFirstSample(PhysicalDisk &disk, const DiskCounters &counters)
{
    disk.readsCompleted = counters[0];
    disk.readsMerged = counters[1];
    disk.sectorsRead = counters[2];
    disk.readMillis = counters[3];
    disk.writesCompleted = counters[4];
    disk.writesMerged = counters[5];
    disk.sectorsWritten = counters[6];
    disk.writeMillis = counters[7];
    disk.ioInProgress = counters[8];
    disk.ioMillis = counters[9];
    disk.weightedIoMillis = counters[10];
}

void storeRates(PhysicalDisk &disk, const DiskCounters &second)
{
    // Unsigned differences: a counter that went backwards (a reset) wraps to a huge
    // figure, which is passed on as it is. Pieces 11 and 12 are read but not used.
    const auto delta = [&second](int piece, quint64 first) -> quint64 { return second[piece - 3] - first; };
    const quint64 readsCompleted = delta(3, disk.readsCompleted);
    const quint64 readsMerged = delta(4, disk.readsMerged);
    const quint64 sectorsRead = delta(5, disk.sectorsRead);
    const quint64 readMillis = delta(6, disk.readMillis);
    const quint64 writesCompleted = delta(7, disk.writesCompleted);
    const quint64 writesMerged = delta(8, disk.writesMerged);
    const quint64 sectorsWritten = delta(9, disk.sectorsWritten);
    const quint64 writeMillis = delta(10, disk.writeMillis);
    const quint64 weightedIoMillis = delta(13, disk.weightedIoMillis);

    const auto perCompleted = [](quint64 millis, quint64 completed) {
        if (millis == 0 || completed == 0)
            return QStringLiteral("0");
        return sampleText(static_cast<double>(millis) / static_cast<double>(completed));
    };

    disk.diskRatio = sampleText(weightedIoMillis / kNominalIntervalMs);
    // Sectors are 512 bytes whatever the device's own block size.
    disk.ioThroughputRead = sampleText((sectorsRead << 9) / kNominalIntervalMs);
    disk.ioThroughputWrite = sampleText((sectorsWritten << 9) / kNominalIntervalMs);
    disk.ioDelayRead = perCompleted(readMillis, readsCompleted);
    disk.ioDelayWrite = perCompleted(writeMillis, writesCompleted);
    disk.diskRequestRead = sampleText(readsMerged / kNominalIntervalMs * 1000.0);
    disk.diskRequestWrite = sampleText(writesMerged / kNominalIntervalMs * 1000.0);
}

QMap<QString, QString> partitionSizes(const QString &lsblkOutput)
{
    QMap<QString, QString> sizes;
    const QStringList lines = lsblkOutput.split(QLatin1Char('\n'), Qt::KeepEmptyParts);
    for (const QString &line : lines) {
        const QStringList pieces = line.split(QLatin1Char(' '), Qt::KeepEmptyParts);
        if (pieces.size() != 2)
            continue;
        sizes.insert(QLatin1String("/dev/") + pieces.at(0), gigabytesFromBytes(pieces.at(1)));
    }
    return sizes;
}

QSharedPointer<LogicalDisk> logicalDisk(const QString &dfLine, const QMap<QString, QString> &sizes)
{
    QString line = dfLine;
    line.remove(QLatin1Char('\n'));
    const QStringList pieces = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (pieces.size() < 6)
        return {};
    // Only what lsblk listed counts: this keeps out in-memory file systems, removable
    // media, and LVM volumes, whose df path runs through /dev/mapper.
    const auto size = sizes.constFind(pieces.at(0));
    if (size == sizes.constEnd())
        return {};
    auto disk = QSharedPointer<LogicalDisk>::create();
    disk->sysPartition = pieces.at(0);
    disk->capability = size.value();
    disk->useCapability = sampleText(pieces.at(2).toULong(nullptr, 10) * kKbToGb);
    QString percent = pieces.at(4);
    percent.chop(1);
    disk->ratio = sampleText(percent.toDouble() / 100.0);
    return disk;
}

QSharedPointer<ProcessInfo> processInfo(const QString &topLine)
{
    QString line = topLine;
    line.remove(QLatin1Char('\n'));
    const QStringList pieces = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    // Pieces past the twelfth are dropped: a command with arguments keeps its first word.
    if (pieces.size() < 12)
        return {};
    auto process = QSharedPointer<ProcessInfo>::create();
    process->userName = pieces.at(1);
    process->pid = pieces.at(0);
    process->processName = pieces.at(11);
    process->cpuRatio = pieces.at(8);
    process->memoryRatio = pieces.at(9);
    return process;
}

QString memoryUseCapability(const QString &memoryRatio, quint64 memoryTotalKb)
{
    // %MEM is a percentage yet is not divided by 100, so the figure is a hundred times
    // the process's share in kB. Kept on purpose: the figure has always had this scale.
    return sampleText(memoryRatio.toDouble() * static_cast<double>(memoryTotalKb));
}

InterfaceCheck checkInterface(const QString &name, const QString &mac, int flags, int type)
{
    InterfaceCheck check;
    const auto message = [&](const char *text) {
        return QString::fromLatin1(text).arg(name, mac, QString::number(flags), QString::number(type));
    };
    // Only the administrative up flag counts: an interface without carrier is still
    // sampled and shows zero throughput.
    if (!(flags & QNetworkInterface::IsUp)) {
        check.warning = true;
        check.message = message(
            "Network Interface flags not right, do not collect data. name:%1 mac:%2 flags:%3 type:%4");
    } else if (type == QNetworkInterface::Loopback) {
        check.warning = true;
        check.message =
            message("Network Interface type not right, do not collect data, name:%1 mac:%2 flags:%3 type:%4");
    } else {
        check.collect = true;
        check.message = message("Network Interface collect data, name:%1 mac:%2 flags:%3 type:%4");
    }
    return check;
}

bool interfaceBytes(const QString &netDevLine, InterfaceBytes &bytes)
{
    QString line = netDevLine;
    line.remove(QLatin1Char('\n'));
    // A name that runs into its first counter ("eth0:123") makes 16 pieces and is
    // skipped, like any other line that is not exactly 17.
    const QStringList pieces = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (pieces.size() != 17)
        return false;
    bytes.name = pieces.at(0);
    bytes.name.remove(QLatin1Char(':'));
    bytes.received = pieces.at(1).toULongLong(nullptr, 10);
    bytes.sent = pieces.at(9).toULongLong(nullptr, 10);
    return true;
}

QString throughput(quint64 first, quint64 second)
{
    // Unsigned on purpose: a counter that went back wraps to a huge figure, passed on as it is.
    const quint64 delta = second - first;
    return sampleText(delta * kKbToGb / kNominalIntervalMs * 1000.0);
}

QList<QSharedPointer<Network>> networkSamples(const QMap<QString, QString> &sampled,
                                              const QList<QByteArray> &firstLines,
                                              const QList<QByteArray> &secondLines)
{
    QMap<QString, QSharedPointer<Network>> interfaces;
    for (auto it = sampled.cbegin(); it != sampled.cend(); ++it) {
        auto network = QSharedPointer<Network>::create();
        network->mac = it.value();
        interfaces.insert(it.key(), network);
    }
    // The sampled interface a line counts for, or null. Both outputs open with two header lines.
    const auto counted = [&interfaces](const QByteArray &line, InterfaceBytes &bytes) {
        return interfaceBytes(QString::fromLocal8Bit(line), bytes) ? interfaces.value(bytes.name)
                                                                   : QSharedPointer<Network>();
    };
    for (const QByteArray &line : firstLines.mid(2)) {
        InterfaceBytes bytes;
        if (const QSharedPointer<Network> network = counted(line, bytes)) {
            network->receivedBytes = bytes.received;
            network->sentBytes = bytes.sent;
        }
    }
    QList<QSharedPointer<Network>> measured;
    for (const QByteArray &line : secondLines.mid(2)) {
        InterfaceBytes bytes;
        if (const QSharedPointer<Network> network = counted(line, bytes)) {
            // An interface missing from the first sample still has zero counters, so its
            // whole count shows up as throughput.
            network->netThroughputReceive = throughput(network->receivedBytes, bytes.received);
            network->netThroughputSend = throughput(network->sentBytes, bytes.sent);
            measured.append(network);
        }
    }
    return measured;
}

} // namespace performanceparsers
