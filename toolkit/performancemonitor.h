// Resource sampling of the running Linux system: processor count, memory,
// CPU load, disks, processes and network interfaces, read through the shell.
// The processor count and the memory total are cached for the whole process.
#pragma once
#include <QList>
#include <QObject>
#include <QSharedPointer>
#include <QString>

// One fixed whole disk measured over a short interval. The counters hold the
// first sample of /proc/diskstats; the texts are the rates worked out from the second.
struct PhysicalDisk {
    QString diskName;
    QString diskCapability;
    QString diskRatio;
    QString ioThroughputRead;
    QString ioThroughputWrite;
    QString ioDelayRead;
    QString ioDelayWrite;
    QString diskRequestRead;
    QString diskRequestWrite;
    quint64 readsCompleted = 0;
    quint64 readsMerged = 0;
    quint64 sectorsRead = 0;
    quint64 readMillis = 0;
    quint64 writesCompleted = 0;
    quint64 writesMerged = 0;
    quint64 sectorsWritten = 0;
    quint64 writeMillis = 0;
    quint64 ioInProgress = 0;
    quint64 ioMillis = 0;
    quint64 weightedIoMillis = 0;
};

// One mounted fixed partition; figures are texts as QString::number writes them.
struct LogicalDisk {
    QString sysPartition;
    QString capability;
    QString useCapability;
    QString ratio;
};

// One process of a top snapshot. Every field is text as top prints it, except the
// memory figure, which is worked out from %MEM and the installed memory.
struct ProcessInfo {
    QString userName;
    QString pid;
    QString processName;
    QString cpuRatio;
    QString memoryRatio;
    QString memoryUseCapability;
};

// One network interface measured over a short interval: throughput texts in binary
// megabytes per second, and the byte counters of the first sample.
struct Network {
    QString mac;
    QString netThroughputReceive;
    QString netThroughputSend;
    quint64 receivedBytes = 0;
    quint64 sentBytes = 0;
};

class PerformanceMonitor : public QObject
{
    Q_OBJECT

public:
    explicit PerformanceMonitor(QObject *parent = nullptr);
    ~PerformanceMonitor() override;

    static PerformanceMonitor *getInstance();

    static quint32 getCpuCount();
    static quint64 getMemoryTotalKb();
    static double getMemoryTotal();
    static double getMemoryFreeRatio();

    void updateCpuUsage();
    static double getCpuUsage();

    static void getPhysicalDiskInfo(QList<QSharedPointer<PhysicalDisk>> &list);
    static void getLogicalDiskInfo(QList<QSharedPointer<LogicalDisk>> &list);

    // Both append to the list and never clear it.
    static void getProcessInfo(QList<QSharedPointer<ProcessInfo>> &list);
    static void getNetworkInfo(QList<QSharedPointer<Network>> &list);

    // Last load of updateCpuUsage in percent, or -1.0. Left unset by the constructor on
    // purpose: it means nothing before the first updateCpuUsage, which writes it first.
    double cpuUsage;

protected:
    // Forgets every cached figure and the previous CPU sample, as in a fresh process.
    // Nothing in the program calls it; tests reach it through a subclass.
    static void resetProcessState();

private:
    static quint32 cpuCount;
    static quint64 memoryTotalKb;
    static qint32 memoryTotalRead;
    static double memoryTotalGb;
    static double previousCpuTotal;
    static double previousCpuBusy;
};
