#include "performancemonitor.h"

#include <QMap>
#include <QMutex>
#include <QMutexLocker>
#include <QNetworkInterface>
#include <QStringList>
#include <QThread>

#include "commandrunner.h"
#include "logtag.h"
#include "mysystem.h"
#include "performanceparsers.h"

using namespace performanceparsers;

namespace
{

const QString kCpuCountCommand = QStringLiteral("cat /proc/cpuinfo | grep processor | wc -l");
const QString kMemTotalCommand =
    QStringLiteral(R"(cat /proc/meminfo | grep MemTotal | awk -F':' '{print $2}' | awk -F' ' '{print $1}')");
const QString kMemAvailableCommand = QStringLiteral(
    R"(cat /proc/meminfo | grep MemAvailable | awk -F':' '{print $2}' | awk -F' ' '{print $1}')");
const QString kDistributorCommand = QStringLiteral("lsb_release -id");
const QString kFirmwareValueCommand = QStringLiteral(
    R"(dmidecode -t memory | grep "Size:" | grep -v "No Module Installed" | awk -F':' '{print $2}' | awk '{print $1}')");
const QString kFirmwareUnitCommand = QStringLiteral(
    R"(dmidecode -t memory | grep "Size:" | grep -v "No Module Installed" | awk -F':' '{print $2}' | awk '{print $2}')");
const QString kCpuStatCommand = QStringLiteral("cat /proc/stat | head -n1");
const QString kWholeDisksCommand =
    QStringLiteral(R"(lsblk -nbd -o NAME,SIZE,RM | awk '{if($3==0){print $1,$2}}')");
const QString kDiskStatsCommand = QStringLiteral(R"(cat /proc/diskstats | awk '{if($3=="%1"){print $0}}')");
const QString kPartitionsCommand =
    QStringLiteral(R"(lsblk -nbl -o NAME,SIZE,MOUNTPOINT,RM | awk '{if(($3!="")&&($4==0)){print $1,$2}}')");
const QString kDfCommand = QStringLiteral("df -hk");
const QString kTopCommand = QStringLiteral("top -bn 1");
const QString kNetDevCommand = QStringLiteral("cat /proc/net/dev");

CpuSample readCpuSample()
{
    return cpuSample(mySystem::start(kCpuStatCommand));
}

// A name refused here never gets a first sample, so it is asked about only once.
bool readDiskStats(const QString &name, DiskCounters &counters)
{
    return mySystem::fitsCommand(name, "getPhysicalDiskInfo") &&
           diskStatsCounters(mySystem::start(kDiskStatsCommand.arg(name)), counters);
}

// No shell: the line is split into program and arguments as the one-string
// QProcess::start would do it. Whatever the command printed within the wait is read.
QList<QByteArray> runWithoutShell(const QString &commandLine)
{
    return CommandRunner::run(CommandRunner::splitLine(commandLine), 30000).outputLines();
}

} // namespace

quint32 PerformanceMonitor::cpuCount = 0;
quint64 PerformanceMonitor::memoryTotalKb = 0;
qint32 PerformanceMonitor::memoryTotalRead = 0;
double PerformanceMonitor::memoryTotalGb = 0.0;
double PerformanceMonitor::previousCpuTotal = 0.0;
double PerformanceMonitor::previousCpuBusy = 0.0;

PerformanceMonitor::PerformanceMonitor(QObject *parent) : QObject(parent) {}

PerformanceMonitor::~PerformanceMonitor() = default;

PerformanceMonitor *PerformanceMonitor::getInstance()
{
    static QMutex mutex;
    static PerformanceMonitor *instance = nullptr;
    QMutexLocker locker(&mutex);
    if (!instance)
        instance = new PerformanceMonitor(nullptr);
    return instance;
}

void PerformanceMonitor::resetProcessState()
{
    cpuCount = 0;
    memoryTotalKb = 0;
    memoryTotalRead = 0;
    memoryTotalGb = 0.0;
    previousCpuTotal = 0.0;
    previousCpuBusy = 0.0;
}

quint32 PerformanceMonitor::getCpuCount()
{
    // 0 doubles as "not read yet", so a failed count is asked again next time.
    if (cpuCount != 0)
        return cpuCount;
    cpuCount = mySystem::start(kCpuCountCommand).toUInt(nullptr, 10);
    return cpuCount;
}

quint64 PerformanceMonitor::getMemoryTotalKb()
{
    if (memoryTotalKb != 0)
        return memoryTotalKb;
    memoryTotalKb = mySystem::start(kMemTotalCommand).toULongLong(nullptr, 10);
    return memoryTotalKb;
}

double PerformanceMonitor::getMemoryTotal()
{
    if (memoryTotalRead)
        return memoryTotalGb;
    // Set before any work, so that a run that found nothing is not repeated either.
    memoryTotalRead = 1;

    const QString distributor = mySystem::start(kDistributorCommand);
    if (memoryTotalFromKernel(mySystem::isArmCpu(), distributor)) {
        memoryTotalGb = kernelMemoryTotal(mySystem::start(kMemTotalCommand));
        return memoryTotalGb;
    }

    const QString value = mySystem::start(mySystem::getSudoPrefix() + kFirmwareValueCommand);
    const QString unit = mySystem::start(mySystem::getSudoPrefix() + kFirmwareUnitCommand);
    toolkitlog::tag(qDebug(), "getMemoryTotal") << "memTotalValue =" << value << ", memTotalUnit =" << unit;
    memoryTotalGb = firmwareMemoryTotal(value, unit);
    return memoryTotalGb;
}

double PerformanceMonitor::getMemoryFreeRatio()
{
    const QString total = mySystem::start(kMemTotalCommand);
    const QString available = mySystem::start(kMemAvailableCommand);
    return memoryFreeRatio(total, available);
}

void PerformanceMonitor::updateCpuUsage()
{
    cpuUsage = -1.0;
    const CpuSample sample = readCpuSample();
    if (!sample.valid)
        return;
    const double delta = sample.total - previousCpuTotal;
    if (!(delta > 0.0))
        return;
    // The first call after start measures against zeros: the average since boot.
    cpuUsage = (sample.busy - previousCpuBusy) / delta * 100.0;
    previousCpuTotal = sample.total;
    previousCpuBusy = sample.busy;
}

double PerformanceMonitor::getCpuUsage()
{
    // A first sample that cannot be read counts as zeros; only the second can end the call.
    const CpuSample first = readCpuSample();
    // 10 ms is about one kernel tick: coarse, and -1.0 when no tick fell in between.
    QThread::msleep(10);
    const CpuSample second = readCpuSample();
    if (!second.valid)
        return -1.0;
    return cpuLoad(first, second);
}

void PerformanceMonitor::getPhysicalDiskInfo(QList<QSharedPointer<PhysicalDisk>> &list)
{
    QMap<QString, QSharedPointer<PhysicalDisk>> firstSamples;
    for (const DiskSize &size : wholeDisks(mySystem::start(kWholeDisksCommand))) {
        DiskCounters counters;
        if (!readDiskStats(size.name, counters))
            continue;
        auto disk = QSharedPointer<PhysicalDisk>::create();
        disk->diskName = size.name;
        disk->diskCapability = size.capability;
        storeFirstSample(*disk, counters);
        firstSamples.insert(size.name, disk);
    }

    QThread::msleep(10);

    // Disks that appeared during the sleep have no first sample and are left out.
    for (const DiskSize &size : wholeDisks(mySystem::start(kWholeDisksCommand))) {
        const auto disk = firstSamples.constFind(size.name);
        if (disk == firstSamples.constEnd())
            continue;
        DiskCounters counters;
        if (!readDiskStats(size.name, counters))
            continue;
        storeRates(**disk, counters);
        list.append(disk.value());
    }
}

void PerformanceMonitor::getLogicalDiskInfo(QList<QSharedPointer<LogicalDisk>> &list)
{
    const QMap<QString, QString> sizes = partitionSizes(mySystem::start(kPartitionsCommand));

    // The header line carries no figures.
    for (const QByteArray &line : runWithoutShell(kDfCommand).mid(1)) {
        const QSharedPointer<LogicalDisk> disk = logicalDisk(QString::fromLocal8Bit(line), sizes);
        if (disk)
            list.append(disk);
    }
}

void PerformanceMonitor::getProcessInfo(QList<QSharedPointer<ProcessInfo>> &list)
{
    // Five summary lines, the blank line and the column header.
    for (const QByteArray &line : runWithoutShell(kTopCommand).mid(7)) {
        const QSharedPointer<ProcessInfo> process = processInfo(QString::fromLocal8Bit(line));
        if (!process)
            continue;
        process->memoryUseCapability = memoryUseCapability(process->memoryRatio, getMemoryTotalKb());
        list.append(process);
    }
}

void PerformanceMonitor::getNetworkInfo(QList<QSharedPointer<Network>> &list)
{
    QMap<QString, QString> sampled; // name to hardware address
    for (const QNetworkInterface &netInterface : QNetworkInterface::allInterfaces()) {
        const InterfaceCheck check = checkInterface(netInterface.name(), netInterface.hardwareAddress(),
                                                    int(netInterface.flags()), int(netInterface.type()));
        toolkitlog::tag(check.warning ? qWarning() : qDebug(), "getNetworkInfo").noquote() << check.message;
        if (check.collect)
            sampled.insert(netInterface.name(), netInterface.hardwareAddress());
    }
    const QList<QByteArray> first = runWithoutShell(kNetDevCommand);
    QThread::msleep(10);
    list.append(networkSamples(sampled, first, runWithoutShell(kNetDevCommand)));
}
