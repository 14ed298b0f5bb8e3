#include <QtTest>

#include "fakecommands.h"
#include "mysystem.h"
#include "performancemonitor.h"

// A fresh process for every case: the caches live as long as the process does.
struct FreshProcess : PerformanceMonitor {
    using PerformanceMonitor::resetProcessState;
};

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
        QTest::addColumn<QString>("lsbRelease");
        QTest::addColumn<QString>("dmidecode");
        QTest::addColumn<QString>("memTotalKb");
        QTest::addColumn<double>("gigabytes");
        QTest::addColumn<QString>("log"); // the firmware texts; none on the kernel path
        const QString debian = "Distributor ID:\tDebian\n", kylin = "Distributor ID:\tKylin\n";
        const QString dump = "Handle 0x1100, DMI type 17, 40 bytes\nMemory Device\n\tSize: %1\n\n";
        const QString eight = dump.arg("8192 MB"); // 8.0 if the firmware were read
        QTest::newRow("Kylin") << kylin << eight << "1992000" << 1.9 << "";
        QTest::newRow("kylin, rounds up") << kylin.toLower() << eight << "2050000" << 2.0 << "";
        QTest::newRow("beyond 32 bits") << kylin << eight << "2147483648" << 0.0 << "";
        QTest::newRow("one 4096 MB module") << debian << dump.arg("4096 MB") << "1992000" << 4.0
                                            << R"(memTotalValue = "4096" , memTotalUnit = "MB")";
        QTest::newRow("two modules are not summed")
            << debian << dump.arg("4096 MB") + dump.arg("4096 MB") << "" << 0.0
            << R"(memTotalValue = "4096\n4096" , memTotalUnit = "MB\nMB")";
        QTest::newRow("GB unit") << debian << dump.arg("8 GB") << "" << 0.0
                                 << R"(memTotalValue = "8" , memTotalUnit = "GB")";
    }
    void getMemoryTotal()
    {
        QFETCH(QString, lsbRelease);
        QFETCH(QString, dmidecode);
        QFETCH(QString, memTotalKb);
        QFETCH(double, gigabytes);
        QFETCH(QString, log);
        if (mySystem::isArmCpu())
            QSKIP("Arm terminals always read the kernel figure");
        fakes.put("lsb_release.out", lsbRelease.toUtf8());
        fakes.put("dmidecode.out", dmidecode.toUtf8());
        fakes.put("proc/meminfo", ("MemTotal:       " + memTotalKb + " kB\nMemFree:  123456 kB\n").toUtf8());
        QCOMPARE(PerformanceMonitor::getMemoryTotal(), gigabytes);
        QCOMPARE(fakes.commands().size(), log.isEmpty() ? 2 : 3);
        QCOMPARE(FakeCommands::messages().filter("[ getMemoryTotal ]"),
                 log.isEmpty() ? QStringList() : QStringList("[ getMemoryTotal ] " + log));
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
        QCOMPARE(PerformanceMonitor::getCpuCount(), 4u); // any other count is kept
        QCOMPARE(fakes.commands().size(), 2);

        PerformanceMonitor monitor;
        fakes.put("proc/stat", "cpu  100 0 100 700 50 50 0 0 0 0\ncpu0 1 1 1 1\n");
        monitor.updateCpuUsage(); // against zeros: the average since boot
        QCOMPARE(monitor.cpuUsage, 20.0);
        monitor.updateCpuUsage();
        QCOMPARE(monitor.cpuUsage, -1.0);
        fakes.put("proc/stat", "cpu 10 20\n");
        monitor.updateCpuUsage();
        QCOMPARE(monitor.cpuUsage, -1.0);
        fakes.put("proc/stat", "cpu  150 0 150 700 100 100 0 0 0 0\n"); // 100 of 200 more jiffies busy
        monitor.updateCpuUsage();
        QCOMPARE(monitor.cpuUsage, 50.0);
        fakes.put("proc/stat.next", "cpu 100 0 100 800\n");
        fakes.put("proc/stat", "cpu 10 20\n");
        QCOMPARE(PerformanceMonitor::getCpuUsage(), 20.0); // an unreadable first sample counts as zeros
        fakes.put("proc/meminfo", "MemTotal: 1000 kB\nMemAvailable: 250 kB\n");
        QCOMPARE(PerformanceMonitor::getMemoryFreeRatio(), 0.25);
        fakes.putFixture("proc/meminfo", "meminfo/x86-desktop-i7-2600-8gb-kernel-3.13-no-memavailable.txt");
        QCOMPARE(PerformanceMonitor::getMemoryFreeRatio(), 0.0);
        fakes.put("proc/meminfo", "MemAvailable: 250 kB\n");
        QCOMPARE(PerformanceMonitor::getMemoryFreeRatio(), 0.0);
    }

    void getPhysicalDiskInfo_data()
    {
        QTest::addColumn<QString>("sample"); // counters | ratio, throughput r/w, delay r/w, requests r/w
        QTest::newRow("idle") << "1 1 5000000000 1 1 1 1 1 0 1 1 | 0 0 0 0 0 0 0";
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
        QCOMPARE(disks.size(), 2);
        const PhysicalDisk &d = *disks.last();
        QCOMPARE(
            QStringList({d.diskName, d.diskCapability, d.diskRatio, d.ioThroughputRead, d.ioThroughputWrite,
                         d.ioDelayRead, d.ioDelayWrite, d.diskRequestRead, d.diskRequestWrite}),
            ("sda 465.762 " + sample.section(" | ", 1)).split(' '));
        QCOMPARE(fakes.commands().size(), 5); // two passes; sdz is removable, mmcblk0 has no line
    }

    void getLogicalDiskInfo()
    {
        // In df's order after the entry there before; sdc1's mount point has a blank, nvme0n1p2 wraps.
        fakes.put("lsblk.out", "sda1 1073741824 /boot 0\nsda2 62914560000 /home 0\nvg-root 19327352832 / 0\n"
                               "sdc1 107374182400 /mnt/data disk 0\nnvme0n1p2 536870912000 /srv 0\n");
        fakes.put("df.out", "Filesystem     1K-blocks    Used Available Use% Mounted on\n"
                            "/dev/mapper/vg-root 18864304 5242880 12637120  30% /\n"
                            "/dev/sda2 61440000 1048576 60391424 2% /home\n"
                            "/dev/sdc1 104857600 52428800 52428800 50% /mnt/data disk\n"
                            "/dev/nvme0n1p2\n 524288000 104857600 419430400  20% /srv\n"
                            "/dev/sda1 1020904 209715 758581 22% /boot\n"
                            "/dev/sda2 0 0 0 - /var/home\n");
        QList<QSharedPointer<LogicalDisk>> disks{QSharedPointer<LogicalDisk>::create()};
        PerformanceMonitor::getLogicalDiskInfo(disks);
        QStringList rows;
        for (const auto &d : disks)
            rows << QStringList{d->sysPartition, d->capability, d->useCapability, d->ratio}.join(' ');
        QCOMPARE(rows, (QStringList{"   ", "/dev/sda2 58.5938 1 0.02", "/dev/sda1 1 0.2 0.22",
                                    "/dev/sda2 58.5938 0 0"}));
        QVERIFY(fakes.fakeLog().contains("df -hk"));
    }
};

QTEST_GUILESS_MAIN(TestPerformanceMonitor)
#include "tst_performancemonitor.moc"
