#include "probix.h"

#include <QSharedPointer>

#include "cpu.h"
#include "oslabel.h"
#include "performancemonitor.h"

Probix::Probix(QObject *parent) : QObject(parent)
{
    update();
}

void Probix::update()
{
    m_memoryTotal = memoryText(PerformanceMonitor::getMemoryTotal());
    m_memoryRatio = memoryText(PerformanceMonitor::getMemoryFreeRatio());
    updateDisks();
    m_serverInfo.checkServerAvailable();
    emit infoChanged();
}

QString Probix::memoryText(double gigabytes)
{
    return QString::number(gigabytes, 'g', 2);
}

QString Probix::frequencyText(quint64 hertz)
{
    // Single precision on purpose: the shown figure is rounded from the float quotient.
    const float gigahertz = static_cast<float>(hertz) / 1e9f;
    return QString::number(static_cast<double>(gigahertz), 'f', 1);
}

QString Probix::cpuFrequency() const
{
    return frequencyText(getCpuFrequency());
}

QString Probix::os() const
{
    return operatingSystemLabel();
}

QQmlListProperty<Disk> Probix::disks()
{
    return QQmlListProperty<Disk>(this, nullptr, &Probix::diskCount, &Probix::diskAt);
}

int Probix::diskCount(QQmlListProperty<Disk> *list)
{
    auto *self = qobject_cast<Probix *>(list->object);
    return self ? self->m_disks.size() : 0;
}

Disk *Probix::diskAt(QQmlListProperty<Disk> *list, int index)
{
    auto *self = qobject_cast<Probix *>(list->object);
    if (!self || index >= self->m_disks.size())
        return nullptr;
    return &self->m_disks[index];
}

void Probix::clearDisks()
{
    QList<Disk> old;
    old.swap(m_disks);
}

void Probix::appendDisk(const Disk &row)
{
    m_disks.append(row);
}

void Probix::updateDisks()
{
    clearDisks();
    QList<QSharedPointer<LogicalDisk>> partitions;
    PerformanceMonitor::getLogicalDiskInfo(partitions);
    for (const QSharedPointer<LogicalDisk> &entry : qAsConst(partitions)) {
        const QSharedPointer<LogicalDisk> record = entry;
        if (!record)
            continue;
        Disk row;
        row.setPartition(record->sysPartition);
        row.setCapability(QString::number(record->capability.toDouble(), 'f', 1));
        row.setUsecapability(QString::number(record->useCapability.toDouble(), 'f', 1));
        row.setRatio(QString::number(record->ratio.toDouble(), 'f', 1));
        appendDisk(row);
    }
}
