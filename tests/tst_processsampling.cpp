// Process and network snapshots of PerformanceMonitor: top's batch output through a
// fake top, /proc/net/dev through the fake cat, and the interfaces of this machine.
#include <QNetworkInterface>
#include <QtTest>

#include "fakecommands.h"
#include "performancemonitor.h"
#include "performanceparsers.h"

struct FreshProcess : PerformanceMonitor {
    using PerformanceMonitor::resetProcessState;
};

const QByteArray kTop = testsupport::fixture("top/x86-vbox-vm-2908mib-one-stopped-task.txt");
// The five summary lines, the blank line and the column header of the real snapshot.
const QByteArray kTopHeader = kTop.left(kTop.indexOf("COMMAND\n") + 8);
const QByteArray kEm1 = testsupport::fixture("net-dev/x86-i7-2600-lo-em1-kernel-3.13.txt");

class TestProcessSampling : public QObject
{
    Q_OBJECT
    FakeCommands fakes;

private slots:
    void initTestCase() { fakes.catchMessages(); }
    void init()
    {
        fakes.clear();
        FreshProcess::resetProcessState();
    }

    void getProcessInfo_data()
    {
        QTest::addColumn<QByteArray>("top");
        QTest::addColumn<int>("count");
        QTest::addColumn<QStringList>("records"); // pid|user|name|%CPU|%MEM|memory
        // The memory figure is a hundred times the share in kB: %MEM is not divided by 100.
        QTest::newRow("VirtualBox guest")
            << kTop << 210
            << QStringList{"8367|anjp|Socket|0.0|1.3|2.6e+06", "2|root|kthreadd|0.0|0.0|0",
                           "10740|anjp|glances|0.0|1.5|3e+06"};
        QTest::newRow("eleven pieces skipped")
            << kTopHeader + "   1 root 20 0 101088 11728 8100 S 0.0 0.4 0:01.71\n"
                            "  77 anjp 20 0 14548 5504 3456 R 9.1 0.0 0:00.02 top\n"
            << 1 << QStringList{"77|anjp|top|9.1|0.0|0"};
        QTest::newRow("fewer than seven lines")
            << kTopHeader.left(kTopHeader.indexOf("\n\n") + 1) << 0 << QStringList();
    }
    void getProcessInfo()
    {
        QFETCH(QByteArray, top);
        QFETCH(int, count);
        QFETCH(QStringList, records);
        fakes.put("top.out", top);
        fakes.put("proc/meminfo", "MemTotal:        2000000 kB\n");
        QList<QSharedPointer<ProcessInfo>> processes{QSharedPointer<ProcessInfo>::create()};
        PerformanceMonitor::getProcessInfo(processes);
        QStringList got;
        for (const auto &p : qAsConst(processes))
            got << QStringList{p->pid,      p->userName,    p->processName,
                               p->cpuRatio, p->memoryRatio, p->memoryUseCapability}
                       .join('|');
        QCOMPARE(got.size(), count + 1);
        QCOMPARE(got.first(), QStringLiteral("|||||")); // the entry already there is kept
        for (const QString &record : records)
            QVERIFY2(got.contains(record), qPrintable(record));
        QCOMPARE(fakes.fakeLog().filter(QRegularExpression("^top ")), QStringList("top -bn 1"));
        // The memory total is asked once for the whole snapshot, and not at all without a process.
        QCOMPARE(fakes.commands().filter("MemTotal").size(), count ? 1 : 0);
    }

    void networkSamples_data()
    {
        QTest::addColumn<QByteArray>("first"); // the sampled interface is "em1"
        QTest::addColumn<QString>("second");
        QTest::addColumn<QString>("record"); // mac|receive|send|received bytes|sent bytes
        const QByteArray headerAndLo = kEm1.left(kEm1.indexOf("   em1:"));
        QTest::newRow("a mebibyte received")
            << kEm1 << "em1: 5311275862 9 0 0 0 0 0 0 2965721960 9 0 0 0 0 0 0"
            << "m|100|0|5310227286|2965721960";
        QTest::newRow("missing from the first sample")
            << headerAndLo << "em1: 1048576 9 0 0 0 0 0 0 0 9 0 0 0 0 0 0"
            << "m|100|0|0|0";
        QTest::newRow("16 pieces") << kEm1 << "em1:5311275862 9 0 0 0 0 0 0 0 9 0 0 0 0 0 0" << QString();
        QTest::newRow("missing from the second sample") << kEm1 << QString() << QString();
    }
    void networkSamples()
    {
        QFETCH(QByteArray, first);
        QFETCH(QString, second);
        QFETCH(QString, record);
        const QByteArray headerAndLo = kEm1.left(kEm1.indexOf("   em1:"));
        const auto lines = [](const QByteArray &text) { return text.split('\n'); };
        const auto networks = performanceparsers::networkSamples({{"em1", "m"}}, lines(first),
                                                                 lines(headerAndLo + second.toLatin1()));
        QCOMPARE(networks.size(), record.isEmpty() ? 0 : 1);
        if (!record.isEmpty()) {
            const Network &n = *networks.first();
            QCOMPARE((QStringList{n.mac, n.netThroughputReceive, n.netThroughputSend,
                                  QString::number(n.receivedBytes), QString::number(n.sentBytes)}),
                     record.split('|'));
        }
    }
    // The real interfaces of this machine: two samples through the fake cat, loopback refused.
    void getNetworkInfo()
    {
        const QList<QNetworkInterface> all = QNetworkInterface::allInterfaces();
        const auto sampled = std::find_if(all.cbegin(), all.cend(), [](const QNetworkInterface &i) {
            return (i.flags() & QNetworkInterface::IsUp) && i.type() != QNetworkInterface::Loopback;
        });
        if (sampled == all.cend() ||
            !(QNetworkInterface::interfaceFromName("lo").flags() & QNetworkInterface::IsUp))
            QSKIP("needs loopback and one more interface up");
        const QByteArray headerAndLo = kEm1.left(kEm1.indexOf("   em1:"));
        fakes.put("proc/net/dev", QByteArray(kEm1).replace("em1:", sampled->name().toLatin1() + ':'));
        fakes.put("proc/net/dev.next", headerAndLo + sampled->name().toLatin1() +
                                           ": 5311275862 9 0 0 0 0 0 0 2965721960 9 0 0 0 0 0 0\n");

        QList<QSharedPointer<Network>> networks;
        PerformanceMonitor::getNetworkInfo(networks);
        QCOMPARE(fakes.fakeLog(), QStringList({"cat /proc/net/dev", "cat /proc/net/dev"}));
        QCOMPARE(networks.size(), 1); // never loopback
        QCOMPARE(networks.first()->mac, sampled->hardwareAddress());
        QCOMPARE(networks.first()->netThroughputReceive, "100");
        const QStringList lo = fakes.messagesWithLevel().filter(QRegularExpression("^warning: .* name:lo "));
        QCOMPARE(lo.size(), 1);
        QVERIFY(lo.first().startsWith("warning: [ getNetworkInfo ] Network Interface type not right, do not "
                                      "collect data, name:lo mac:"));
    }
};

QTEST_GUILESS_MAIN(TestProcessSampling)
#include "tst_processsampling.moc"
