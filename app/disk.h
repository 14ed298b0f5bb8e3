// One row of the window's disk list: a mounted fixed partition with its sizes
// as ready-made texts. Rows never change while QML sees them; they are replaced.
#pragma once
#include <QObject>
#include <QString>

class Disk : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString partition READ partition CONSTANT)
    Q_PROPERTY(QString capability READ capability CONSTANT)
    Q_PROPERTY(QString usecapability READ usecapability CONSTANT)
    Q_PROPERTY(QString ratio READ ratio CONSTANT)
    Q_PROPERTY(QString availablecapability READ availablecapability CONSTANT)

public:
    explicit Disk(QObject *parent = nullptr);
    // QList<Disk> must copy rows and QObject cannot be copied; the copy has no parent.
    Disk(const Disk &other);
    // QList needs it in unoptimised builds too; the texts are taken over, the parent stays.
    Disk &operator=(const Disk &other);

    QString partition() const { return m_partition; }
    QString capability() const { return m_capability; }
    QString usecapability() const { return m_usecapability; }
    QString ratio() const { return m_ratio; }
    // Worked out from the rounded texts, so reserved blocks count as free.
    QString availablecapability() const;

    void setPartition(const QString &value) { m_partition = value; }
    void setCapability(const QString &value) { m_capability = value; }
    void setUsecapability(const QString &value) { m_usecapability = value; }
    void setRatio(const QString &value) { m_ratio = value; }

private:
    QString m_partition;
    QString m_capability;
    QString m_usecapability;
    QString m_ratio;
};
