// The model's texts and its list plumbing, as the window reads them.
#include <QSignalSpy>
#include <QtTest>

#include "probix.h"

class TestProbix : public QObject
{
    Q_OBJECT

private slots:
    void memoryText_data();
    void memoryText();
    void frequencyText_data();
    void frequencyText();
    void diskListIsReadOnlyAndBounded();
    void diskListOnForeignObject();
    void everyUpdateSignalsOnce();
};

void TestProbix::memoryText_data()
{
    QTest::addColumn<double>("gigabytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("one decimal kept") << 3.7 << "3.7";
    QTest::newRow("two significant digits, not decimals") << 15.6 << "16";
    QTest::newRow("exponent form from 99.5 on") << 128.0 << "1.3e+02";
    QTest::newRow("fraction rounded") << 0.123 << "0.12";
    QTest::newRow("empty answer") << 0.0 << "0";
}

void TestProbix::memoryText()
{
    QFETCH(double, gigabytes);
    QFETCH(QString, text);
    QCOMPARE(Probix::memoryText(gigabytes), text);
}

void TestProbix::frequencyText_data()
{
    QTest::addColumn<quint64>("hertz");
    QTest::addColumn<QString>("text");
    QTest::newRow("2.4 GHz") << quint64(2400000000ULL) << "2.4";
    QTest::newRow("no source gave a number") << quint64(0) << "0.0";
    // 2.25e9 is not a float: it becomes 2249999872, so the single-precision
    // quotient rounds down where the exact 2.25 would not.
    QTest::newRow("single precision rounding") << quint64(2250000000ULL) << "2.2";
    QTest::newRow("2.26 GHz shows as 2.3") << quint64(2260000000ULL) << "2.3";
}

void TestProbix::frequencyText()
{
    QFETCH(quint64, hertz);
    QFETCH(QString, text);
    QCOMPARE(Probix::frequencyText(hertz), text);
}

void TestProbix::diskListIsReadOnlyAndBounded()
{
    Probix model;
    Disk row;
    row.setPartition("/dev/sda1");
    model.clearDisks();
    model.appendDisk(row);
    model.appendDisk(row);

    QQmlListProperty<Disk> list = model.disks();
    QVERIFY(list.append == nullptr);
    QVERIFY(list.clear == nullptr);
    QCOMPARE(Probix::diskCount(&list), 2);
    Disk *first = Probix::diskAt(&list, 0);
    QVERIFY(first);
    QCOMPARE(first->partition(), QString("/dev/sda1"));
    QVERIFY(first != &row);
    QVERIFY(Probix::diskAt(&list, 2) == nullptr);

    model.clearDisks();
    QCOMPARE(Probix::diskCount(&list), 0);
    QVERIFY(Probix::diskAt(&list, 0) == nullptr);
}

void TestProbix::diskListOnForeignObject()
{
    QObject stranger;
    QQmlListProperty<Disk> list(&stranger, nullptr, &Probix::diskCount, &Probix::diskAt);
    QCOMPARE(Probix::diskCount(&list), 0);
    QVERIFY(Probix::diskAt(&list, 0) == nullptr);
}

void TestProbix::everyUpdateSignalsOnce()
{
    Probix model;
    ServerInfo *server = model.serverinfo();
    QVERIFY(server);
    QSignalSpy info(&model, &Probix::infoChanged);
    QSignalSpy serverSpy(server, &ServerInfo::serverInfoChanged);
    model.update();
    model.update();
    QCOMPARE(info.count(), 2);
    QCOMPARE(serverSpy.count(), 2);
    QCOMPARE(model.serverinfo(), server);
}

QTEST_GUILESS_MAIN(TestProbix)
#include "tst_probix.moc"
