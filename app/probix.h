// The model the inspection window binds to. Every figure is a text, refreshed
// in line on the GUI thread by update(); cpuFrequency and os are worked out
// anew at each read and never stored.
#pragma once
#include <QList>
#include <QObject>
#include <QQmlListProperty>
#include <QString>

#include "disk.h"
#include "serverinfo.h"

class Probix : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString memoryTotal READ memoryTotal NOTIFY infoChanged)
    Q_PROPERTY(QString memoryRatio READ memoryRatio NOTIFY infoChanged)
    Q_PROPERTY(QQmlListProperty<Disk> disks READ disks NOTIFY infoChanged)
    Q_PROPERTY(QString cpuFrequency READ cpuFrequency NOTIFY infoChanged)
    Q_PROPERTY(QString os READ os NOTIFY infoChanged)
    Q_PROPERTY(ServerInfo *serverinfo READ serverinfo NOTIFY infoChanged)

public:
    explicit Probix(QObject *parent = nullptr);

    Q_INVOKABLE void update();

    QString memoryTotal() const { return m_memoryTotal; }
    QString memoryRatio() const { return m_memoryRatio; }
    QQmlListProperty<Disk> disks();
    QString cpuFrequency() const;
    QString os() const;
    ServerInfo *serverinfo() { return &m_serverInfo; }

    static int diskCount(QQmlListProperty<Disk> *list);
    static Disk *diskAt(QQmlListProperty<Disk> *list, int index);

    void updateDisks();
    void clearDisks();
    void appendDisk(const Disk &row);

    // The texts the window shows, kept apart so their rounding can be checked alone.
    static QString memoryText(double gigabytes);
    static QString frequencyText(quint64 hertz);

signals:
    void infoChanged();

private:
    QList<Disk> m_disks;
    QString m_memoryTotal;
    QString m_memoryRatio;
    ServerInfo m_serverInfo;
};
