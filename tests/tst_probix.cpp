// The model's texts and its list plumbing, as the window reads them.
#include <QSignalSpy>
#include <QtTest>

#include "probix.h"

class TestProbix : public QObject
{
    Q_OBJECT

private slots:
    void texts()
    {
        // Two significant digits, not decimals, and the exponent form from 99.5 on.
        QCOMPARE(Probix::memoryText(15.6), QString("16"));
        QCOMPARE(Probix::memoryText(128.0), QString("1.3e+02"));
        QCOMPARE(Probix::memoryText(0.0), QString("0"));
        QCOMPARE(Probix::frequencyText(0), QString("0.0"));
        QCOMPARE(Probix::frequencyText(2260000000ULL), QString("2.3"));
        // 2.25e9 is not a float: it becomes 2249999872, so the single-precision quotient
        // rounds down where the exact 2.25 would not.
        QCOMPARE(Probix::frequencyText(2250000000ULL), QString("2.2"));
    }

    void diskListIsReadOnlyAndBounded()
    {
        Probix model;
        Disk row;
        row.setPartition("/dev/sda1");
        model.clearDisks();
        model.appendDisk(row);
        model.appendDisk(row);
        QQmlListProperty<Disk> list = model.disks();
        QVERIFY(list.append == nullptr && list.clear == nullptr);
        QCOMPARE(Probix::diskCount(&list), 2);
        QCOMPARE(Probix::diskAt(&list, 0)->partition(), QString("/dev/sda1"));
        QVERIFY(Probix::diskAt(&list, 0) != &row);
        QVERIFY(Probix::diskAt(&list, 2) == nullptr);
        model.clearDisks();
        QCOMPARE(Probix::diskCount(&list), 0);
        QVERIFY(Probix::diskAt(&list, 0) == nullptr);
        // The same functions over a list whose object is no model find nothing.
        QObject stranger;
        QQmlListProperty<Disk> foreign(&stranger, nullptr, &Probix::diskCount, &Probix::diskAt);
        QCOMPARE(Probix::diskCount(&foreign), 0);
        QVERIFY(Probix::diskAt(&foreign, 0) == nullptr);
    }

    void everyUpdateSignalsOnce()
    {
        Probix model;
        ServerInfo *server = model.serverinfo();
        QSignalSpy info(&model, &Probix::infoChanged);
        QSignalSpy serverSpy(server, &ServerInfo::serverInfoChanged);
        model.update();
        model.update();
        QCOMPARE(info.count(), 2);
        QCOMPARE(serverSpy.count(), 2);
        QCOMPARE(model.serverinfo(), server);
    }
};

QTEST_GUILESS_MAIN(TestProbix)
#include "tst_probix.moc"
