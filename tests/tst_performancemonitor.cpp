// PerformanceMonitor through the fake commands of tests/fakebin: memory, CPU and disk
// figures, top's batch output, /proc/net/dev, and the interfaces of this machine.
#include <QNetworkInterface>
#include <QtTest>

#include "fakecommands.h"
#include "mysystem.h"
#include "performancemonitor.h"
#include "performanceparsers.h"

struct FreshProcess : PerformanceMonitor { // a fresh process: the caches live as long as the process does
    using PerformanceMonitor::resetProcessState;
};

const QByteArray kTop = testsupport::fixture("top/x86-vbox-vm-2908mib-one-stopped-task.txt");
// The five summary lines, the blank line and the column header of the real snapshot.
const QByteArray kTopHeader = kTop.left(kTop.indexOf("COMMAND\n") + 8);
const QByteArray kEm1 = testsupport::fixture("net-dev/x86-i7-2600-lo-em1-kernel-3.13.txt");

class TestPerformanceMonitor : public QObject
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
    void getMemoryTotal_data()
    {
        QTest::addColumn<QString>("kernel"); // distributor and MemTotal in kB
        QTest::addColumn<QString>("dmidecode");
        QTest::addColumn<double>("gigabytes");
        const QString dump = "Handle 0x1100, DMI type 17, 40 bytes\nMemory Device\n\tSize: %1\n\n";
        const QString four = dump.arg("4096 MB");
        QTest::newRow("kylin, one decimal, rounded") << "kylin 1992000" << four << 1.9;
        QTest::newRow("beyond 32 bits") << "Kylin 2147483648" << four << 0.0;
        QTest::newRow("4096 MB") << "Debian" << four << 4.0;
        QTest::newRow("two modules are not summed") << "Debian" << four + four << 0.0;
        QTest::newRow("8 GB") << "Debian" << dump.arg("8 GB") << 0.0;
    }
    void getMemoryTotal()
    {
        QFETCH(QString, kernel);
        QFETCH(QString, dmidecode);
        QFETCH(double, gigabytes);
        if (mySystem::isArmCpu())
            QSKIP("Arm terminals always read the kernel figure");
        fakes.put("lsb_release.out", ("Distributor ID:\t" + kernel.section(' ', 0, 0) + '\n').toUtf8());
        fakes.put("dmidecode.out", dmidecode.toUtf8());
        fakes.put("proc/meminfo",
                  ("MemTotal: " + kernel.section(' ', 1) + " kB\nMemFree:  123456 kB\n").toUtf8());
        QCOMPARE(PerformanceMonitor::getMemoryTotal(), gigabytes);
        fakes.clear(); // once per process, even when the first answer was 0
        QCOMPARE(PerformanceMonitor::getMemoryTotal(), gigabytes);
        QVERIFY(fakes.commands().isEmpty());
    }
    void cpuAndMemoryFigures()
    {
        fakes.emptyProc();
        QCOMPARE(PerformanceMonitor::getCpuCount(), 0u);
        fakes.putFixture("proc/cpuinfo", "cpuinfo/x86-intel-i5-m560-2c4t-ht-dell-e4310.txt");
        QCOMPARE(PerformanceMonitor::getCpuCount(), 4u); // 0 is asked again
        PerformanceMonitor monitor;
        const QByteArray first = "cpu  100 0 100 700 50 50 0\n";
        const QByteArrayList stats{first + "cpu0 1 1\n", first, "cpu 10 20\n",
                                   "cpu  150 0 150 700 100 100 0\n"};
        const QList<double> usages{20, -1, -1, 50}; // since boot first; no time passed; too short a line
        for (int i = 0; i < stats.size(); ++i) {
            fakes.put("proc/stat", stats[i]);
            monitor.updateCpuUsage();
            QCOMPARE(monitor.cpuUsage, usages[i]);
        }
        fakes.put("proc/meminfo", "MemTotal: 1000 kB\nMemAvailable: 250 kB\n");
        QCOMPARE(PerformanceMonitor::getMemoryFreeRatio(), 0.25);
        fakes.putFixture("proc/meminfo", "meminfo/x86-desktop-i7-2600-8gb-kernel-3.13-no-memavailable.txt");
        QCOMPARE(PerformanceMonitor::getMemoryFreeRatio(), 0.0);
    }
    void getPhysicalDiskInfo_data()
    {
        QTest::addColumn<QString>("sample"); // counters | ratio, throughput r/w, delay r/w, requests r/w
        QTest::newRow("16 sectors in 2 reads") << "3 1 5000000016 4 1 1 1 1 0 1 1 | 0 819.2 0 1.5 0 0 0";
        QTest::newRow("3 merged, none completed") << "1 4 5000000000 6 1 1 1 1 0 1 1 | 0 0 0 0 0 300 0";
        QTest::newRow("writes") << "1 1 5000000000 1 2 2 9 5 1 2 26 7 7 7 7 7 7 | 2.5 0 409.6 0 4 0 100";
        QTest::newRow("counter reset wraps") << "1 1 4999999950 1 1 1 1 1 0 1 1 | 0 1.84467e+18 0 0 0 0 0";
    }
    void getPhysicalDiskInfo()
    {
        QFETCH(QString, sample);
        fakes.put("lsblk.out", "sda 500107862016 0\nsdz 8004304896 1\nmmcblk0 31267487744 0\n");
        fakes.put("proc/diskstats", "   8       0 sda 1 1 5000000000 1 1 1 1 1 0 1 1\n");
        fakes.put("proc/diskstats.next", ("   8       0 sda " + sample.section(" | ", 0, 0) + '\n').toUtf8());
        QList<QSharedPointer<PhysicalDisk>> disks{QSharedPointer<PhysicalDisk>::create()};
        PerformanceMonitor::getPhysicalDiskInfo(disks);
        const PhysicalDisk &d = *disks.last();
        const QStringList got{d.diskName,         d.diskCapability,    d.diskRatio,
                              d.ioThroughputRead, d.ioThroughputWrite, d.ioDelayRead,
                              d.ioDelayWrite,     d.diskRequestRead,   d.diskRequestWrite};
        QCOMPARE(got, ("sda 465.762 " + sample.section(" | ", 1)).split(' '));
        QCOMPARE(fakes.commands().size(), 5); // two passes; sdz is removable, mmcblk0 has no line
    }
    void diskNameWithShellSyntax()
    {
        // A name lsblk prints stands inside awk's quotes inside the shell's.
        const QString pwned = QDir(qEnvironmentVariable("PROBIX_FAKE_DIR")).filePath("pwned");
        fakes.put("lsblk.out", ("sdx';touch${IFS}" + pwned + ";' 500107862016 0\n").toUtf8());
        fakes.put("proc/diskstats", "   8       0 sda 1 1 5000000000 1 1 1 1 1 0 1 1\n");
        QList<QSharedPointer<PhysicalDisk>> disks;
        PerformanceMonitor::getPhysicalDiskInfo(disks);
        QVERIFY(disks.isEmpty());
        QVERIFY(!QFile::exists(pwned));
        QCOMPARE(fakes.messages().filter("refused").size(), 1);
    }
    void getLogicalDiskInfo()
    {
        fakes.put("lsblk.out",
                  "sda1 1073741824 /boot 0\nsda2 62914560000 /home 0\nvg-root 19327352832 / 0\n");
        fakes.put("df.out",
                  "Filesystem 1K-blocks Used Available Use% Mounted on\n/dev/sda2 0 0 0 - /var/home\n"
                  "/dev/sda2 61440000 1048576 60391424 2% /home\n/dev/sda1 1020904 209715 758581 22% /boot\n"
                  "/dev/mapper/vg-root 18864304 5242880 12637120  30% /\n");
        QList<QSharedPointer<LogicalDisk>> disks{QSharedPointer<LogicalDisk>::create()};
        PerformanceMonitor::getLogicalDiskInfo(disks); // in df's order, after the row there before
        QStringList rows;
        for (const auto &d : disks)
            rows << QStringList{d->sysPartition, d->capability, d->useCapability, d->ratio}.join(' ');
        QCOMPARE(rows.join('|'), "   |/dev/sda2 58.5938 0 0|/dev/sda2 58.5938 1 0.02|/dev/sda1 1 0.2 0.22");
        QVERIFY(fakes.fakeLog().contains("df -hk"));
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
QTEST_GUILESS_MAIN(TestPerformanceMonitor)
#include "tst_performancemonitor.moc"
