// Resource sampling of the running Linux system: processor count, memory,
// CPU load, disks, processes and network interfaces, read through the shell.
#pragma once
#include <QList>
#include <QObject>
#include <QSharedPointer>
#include <QString>

// One mounted fixed partition; figures are texts as QString::number writes them.
struct LogicalDisk {
    QString sysPartition;
    QString capability;
    QString useCapability;
    QString ratio;
};

class PerformanceMonitor : public QObject
{
    Q_OBJECT

public:
    explicit PerformanceMonitor(QObject *parent = nullptr);
    ~PerformanceMonitor() override;

    static double getMemoryTotal();
    static double getMemoryFreeRatio();
    static void getLogicalDiskInfo(QList<QSharedPointer<LogicalDisk>> &list);
};
