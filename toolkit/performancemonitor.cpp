#include "performancemonitor.h"

PerformanceMonitor::PerformanceMonitor(QObject *parent) : QObject(parent) {}

PerformanceMonitor::~PerformanceMonitor() = default;

double PerformanceMonitor::getMemoryTotal()
{
    return 0.0;
}

double PerformanceMonitor::getMemoryFreeRatio()
{
    return 0.0;
}

void PerformanceMonitor::getLogicalDiskInfo(QList<QSharedPointer<LogicalDisk>> &) {}
