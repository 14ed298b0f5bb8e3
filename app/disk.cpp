#include "disk.h"

Disk::Disk(QObject *parent) : QObject(parent) {}

Disk::Disk(const Disk &other) : QObject(nullptr)
{
    setPartition(other.partition());
    setCapability(other.capability());
    setUsecapability(other.usecapability());
    setRatio(other.ratio());
}

Disk &Disk::operator=(const Disk &other)
{
    setPartition(other.partition());
    setCapability(other.capability());
    setUsecapability(other.usecapability());
    setRatio(other.ratio());
    return *this;
}

QString Disk::availablecapability() const
{
    return QString::number(m_capability.toDouble() - m_usecapability.toDouble(), 'f', 1);
}
