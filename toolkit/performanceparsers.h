// The arithmetic of resource sampling over the text that the commands print:
// memory figures, CPU jiffies, disk counters, the lsblk/df join, top's process
// lines and the counters of /proc/net/dev. Nothing here
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

// One process line of "top -b"; null when it has fewer than twelve pieces. Columns
// are taken by position, so a locale that renames the header changes nothing.
// memoryUseCapability is left for the caller, which owns the memory total.
QSharedPointer<ProcessInfo> processInfo(const QString &topLine);
// %MEM times the installed memory in kB.
QString memoryUseCapability(const QString &memoryRatio, quint64 memoryTotalKb);

// Whether an interface is sampled, and the line that says so.
struct InterfaceCheck {
    bool collect = false;
    bool warning = false;
    QString message;
};
InterfaceCheck checkInterface(const QString &name, const QString &mac, int flags, int type);

// Name and byte counters of one interface line of /proc/net/dev.
struct InterfaceBytes {
    QString name;
    quint64 received = 0;
    quint64 sent = 0;
};
bool interfaceBytes(const QString &netDevLine, InterfaceBytes &bytes);
// Binary megabytes per second between two byte counts, against a nominal 10 ms.
QString throughput(quint64 first, quint64 second);
// The sampled interfaces (name to hardware address) measured between two outputs of
// "cat /proc/net/dev", in the order of the second; one missing from it is left out.
QList<QSharedPointer<Network>> networkSamples(const QMap<QString, QString> &sampled,
                                              const QList<QByteArray> &firstLines,
                                              const QList<QByteArray> &secondLines);

} // namespace performanceparsers
