// The arithmetic of resource sampling over the text that the commands print:
// memory figures, CPU jiffies, disk counters and the lsblk/df join. Nothing here
// runs a command or keeps state, so each step can be fed recorded output.
#pragma once
#include <QList>
#include <QMap>
#include <QSharedPointer>
#include <QString>

#include <array>

#include "performancemonitor.h"

namespace performanceparsers
{

// Whether the installed memory is read from the kernel rather than from the firmware.
bool memoryTotalFromKernel(bool armCpu, const QString &lsbRelease);
// Gigabytes with one decimal, from the MemTotal figure of /proc/meminfo in kB.
double kernelMemoryTotal(const QString &memTotalKb);
// Gigabytes with one decimal, from the "Size:" value and unit texts of dmidecode.
double firmwareMemoryTotal(const QString &valueText, const QString &unitText);
// Share of memory available, from the MemTotal and MemAvailable figures in kB.
double memoryFreeRatio(const QString &memTotalKb, const QString &memAvailableKb);

// The first line of /proc/stat reduced to jiffy sums.
struct CpuSample {
    bool valid = false;
    double busy = 0.0;
    double total = 0.0;
};
CpuSample cpuSample(const QString &statLine);
// Load in percent between two samples, or -1.0 when the total did not grow.
double cpuLoad(const CpuSample &first, const CpuSample &second);

// One line of the whole-disk listing: kernel name and size in binary gigabytes.
struct DiskSize {
    QString name;
    QString capability;
};
QList<DiskSize> wholeDisks(const QString &lsblkOutput);

// Pieces 3 to 13 of a /proc/diskstats line, from reads completed to weighted I/O time.
using DiskCounters = std::array<quint64, 11>;
bool diskStatsCounters(const QString &diskStatsLine, DiskCounters &counters);
void storeFirstSample(PhysicalDisk &disk, const DiskCounters &counters);
// Rates between the stored first sample and the second, against a nominal 10 ms.
void storeRates(PhysicalDisk &disk, const DiskCounters &second);

// "/dev/" + name to size in binary gigabytes, for the mounted fixed partitions.
QMap<QString, QString> partitionSizes(const QString &lsblkOutput);
// One line of "df -hk" joined with the partition sizes; null when the line is skipped.
QSharedPointer<LogicalDisk> logicalDisk(const QString &dfLine, const QMap<QString, QString> &sizes);

} // namespace performanceparsers
