#include <QtTest>

#include "fakecommands.h"
#include "mysystem.h"
#include "performancemonitor.h"
#include "performanceparsers.h"

using namespace performanceparsers;

namespace
{

// A fresh process for every case: the caches live as long as the process does.
class FreshProcess : public PerformanceMonitor
{
public:
    using PerformanceMonitor::resetProcessState;
};

const QString kMemTotal =
    QStringLiteral(R"(cat /proc/meminfo | grep MemTotal | awk -F':' '{print $2}' | awk -F' ' '{print $1}')");
const QString kMemAvailable = QStringLiteral(
    R"(cat /proc/meminfo | grep MemAvailable | awk -F':' '{print $2}' | awk -F' ' '{print $1}')");
const QString kFirmwareValue = QStringLiteral(
    R"(dmidecode -t memory | grep "Size:" | grep -v "No Module Installed" | awk -F':' '{print $2}' | awk '{print $1}')");
const QString kFirmwareUnit = QStringLiteral(
    R"(dmidecode -t memory | grep "Size:" | grep -v "No Module Installed" | awk -F':' '{print $2}' | awk '{print $2}')");
const QString kWholeDisks = QStringLiteral(R"(lsblk -nbd -o NAME,SIZE,RM | awk '{if($3==0){print $1,$2}}')");
const QString kPartitions =
    QStringLiteral(R"(lsblk -nbl -o NAME,SIZE,MOUNTPOINT,RM | awk '{if(($3!="")&&($4==0)){print $1,$2}}')");

QString diskStatsCommand(const QString &name)
{
    return QStringLiteral(R"(cat /proc/diskstats | awk '{if($3=="%1"){print $0}}')").arg(name);
}

// A dmidecode dump with one memory device per size, in the layout of the real tool.
QByteArray memoryDump(const QList<QByteArray> &sizes)
{
    QByteArray dump =
        "# dmidecode 3.4\nGetting SMBIOS data from sysfs.\nSMBIOS 3.0.0 present.\n\n"
        "Handle 0x1000, DMI type 16, 23 bytes\nPhysical Memory Array\n\tMaximum Capacity: 32 GB\n\n";
    for (const QByteArray &size : sizes)
        dump +=
            "Handle 0x1100, DMI type 17, 40 bytes\nMemory Device\n\tSize: " + size + "\n\tLocator: DIMM\n\n";
    return dump + "Handle 0x0400, DMI type 4, 48 bytes\nProcessor Information\n\tMax Speed: 2000 MHz\n\n";
}

QByteArray meminfo(const QByteArray &totalKb)
{
    return "MemTotal:       " + totalKb + " kB\nMemFree:          123456 kB\n";
}

QStringList texts(const PhysicalDisk &disk)
{
    return {disk.diskRatio,    disk.ioThroughputRead, disk.ioThroughputWrite, disk.ioDelayRead,
            disk.ioDelayWrite, disk.diskRequestRead,  disk.diskRequestWrite};
}

QStringList texts(const QList<QSharedPointer<LogicalDisk>> &disks)
{
    QStringList rows;
    for (const auto &disk : disks)
        rows << QStringList{disk->sysPartition, disk->capability, disk->useCapability, disk->ratio}.join('|');
    return rows;
}

} // namespace

class TestPerformanceMonitor : public QObject
{
    Q_OBJECT

    FakeCommands fakes;

private slots:
    void initTestCase()
    {
        QVERIFY(fakes.isValid());
        fakes.catchMessages();
    }
    void init()
    {
        fakes.clear();
        FreshProcess::resetProcessState();
    }

    void kernelMemoryTotal_data()
    {
        QTest::addColumn<QString>("memTotalKb");
        QTest::addColumn<double>("gigabytes");
        QTest::newRow("1,992,000 kB") << "1992000" << 1.9;
        QTest::newRow("2,050,000 kB rounds up") << "2050000" << 2.0;
        QTest::newRow("2,097,152 kB exactly") << "2097152" << 2.0;
        QTest::newRow("1,940,000 kB, 1.85 rounds up") << "1940000" << 1.9;
        QTest::newRow("largest signed 32-bit") << "2147483647" << 2048.0;
        QTest::newRow("beyond signed 32-bit") << "2147483648" << 0.0;
        QTest::newRow("empty") << "" << 0.0;
    }
    void kernelMemoryTotal()
    {
        QFETCH(QString, memTotalKb);
        QFETCH(double, gigabytes);
        QCOMPARE(performanceparsers::kernelMemoryTotal(memTotalKb), gigabytes);
    }

    void memorySource()
    {
        QVERIFY(memoryTotalFromKernel(true, QStringLiteral("Distributor ID:\tDebian")));
        QVERIFY(memoryTotalFromKernel(true, QString()));
        QVERIFY(!memoryTotalFromKernel(false, QString()));
    }

    void getMemoryTotal_data()
    {
        QTest::addColumn<QByteArray>("lsbRelease");
        QTest::addColumn<QByteArray>("dmidecode");
        QTest::addColumn<QByteArray>("memTotalKb");
        QTest::addColumn<double>("gigabytes");
        QTest::addColumn<QStringList>("firmwareTexts"); // value and unit; empty on the kernel path

        const QByteArray debian = "Distributor ID:\tDebian\nDescription:\tDebian GNU/Linux 12 (bookworm)\n";
        const QByteArray kylin = "Distributor ID:\tKylin\nDescription:\tKylin V10 SP1\n";
        const QByteArray eightGb = memoryDump({"8192 MB"});
        QTest::newRow("Kylin reads the kernel")
            << kylin << eightGb << QByteArray("1992000") << 1.9 << QStringList();
        QTest::newRow("kylin in lower case")
            << kylin.toLower() << eightGb << QByteArray("2050000") << 2.0 << QStringList();
        QTest::newRow("Kylin, MemTotal beyond 32 bits")
            << kylin << eightGb << QByteArray("2147483648") << 0.0 << QStringList();
        QTest::newRow("one 4096 MB module")
            << debian << memoryDump({"4096 MB"}) << QByteArray("1992000") << 4.0 << QStringList{"4096", "MB"};
        QTest::newRow("two 4096 MB modules are not summed")
            << debian << memoryDump({"4096 MB", "4096 MB"}) << QByteArray() << 0.0
            << QStringList{"4096\n4096", "MB\nMB"};
        QTest::newRow("GB unit") << debian << memoryDump({"8 GB"}) << QByteArray() << 0.0
                                 << QStringList{"8", "GB"};
        QTest::newRow("GB unit, large enough to show as MB")
            << debian << memoryDump({"128 GB"}) << QByteArray() << 0.0 << QStringList{"128", "GB"};
        QTest::newRow("no lsb_release, no firmware")
            << QByteArray() << QByteArray() << QByteArray() << 0.0 << QStringList{"", ""};
        const auto fixture = [](const char *name) {
            return FakeCommands::read(QStringLiteral("dmidecode/") + name);
        };
        QTest::newRow("FUTRO S700, 2048 MB")
            << debian << fixture("one-module-mb-2048-single-core-futro-s700.txt") << QByteArray() << 2.0
            << QStringList{"2048", "MB"};
        QTest::newRow("t630, 4 GB and an empty slot")
            << debian << fixture("one-module-gb-4-plus-empty-slot-hp-t630.txt") << QByteArray() << 0.0
            << QStringList{"4", "GB"};
        QTest::newRow("t620, two 4 GB modules") << debian << fixture("two-modules-gb-4-hp-t620.txt")
                                                << QByteArray() << 0.0 << QStringList{"4\n4", "GB\nGB"};
    }
    void getMemoryTotal()
    {
        QFETCH(QByteArray, lsbRelease);
        QFETCH(QByteArray, dmidecode);
        QFETCH(QByteArray, memTotalKb);
        QFETCH(double, gigabytes);
        QFETCH(QStringList, firmwareTexts);
        if (mySystem::isArmCpu())
            QSKIP("Arm terminals always read the kernel figure");
        if (!lsbRelease.isEmpty())
            fakes.put("lsb_release.out", lsbRelease);
        if (!dmidecode.isEmpty())
            fakes.put("dmidecode.out", dmidecode);
        fakes.put("proc/meminfo", meminfo(memTotalKb));

        QCOMPARE(PerformanceMonitor::getMemoryTotal(), gigabytes);

        const QString sudo = mySystem::getSudoPrefix();
        QStringList expected{QStringLiteral("lsb_release -id")};
        if (firmwareTexts.isEmpty())
            expected << kMemTotal;
        else
            expected << sudo + kFirmwareValue << sudo + kFirmwareUnit;
        QCOMPARE(fakes.commands(), FakeCommands::quoted(expected));
        const QStringList logLines = FakeCommands::messages().filter(QStringLiteral("[ getMemoryTotal ]"));
        if (firmwareTexts.isEmpty()) {
            QVERIFY(logLines.isEmpty());
        } else {
            QCOMPARE(logLines,
                     QStringList(QStringLiteral("[ getMemoryTotal ] memTotalValue = %1 , memTotalUnit = %2")
                                     .arg(FakeCommands::quoted(firmwareTexts.at(0)),
                                          FakeCommands::quoted(firmwareTexts.at(1)))));
        }

        // Once per process, even when the first answer was 0.
        fakes.clear();
        fakes.put("proc/meminfo", meminfo("8388608"));
        QCOMPARE(PerformanceMonitor::getMemoryTotal(), gigabytes);
        QVERIFY(fakes.commands().isEmpty());
    }

    void getMemoryTotalKb()
    {
        fakes.emptyProc();
        QCOMPARE(PerformanceMonitor::getMemoryTotalKb(), quint64(0));
        fakes.putFixture("proc/meminfo", "meminfo/x86-server-xeon-e5-2690-128gb-two-numa-nodes.txt");
        QCOMPARE(PerformanceMonitor::getMemoryTotalKb(), quint64(131831052));
        fakes.put("proc/meminfo", meminfo("1000"));
        QCOMPARE(PerformanceMonitor::getMemoryTotalKb(), quint64(131831052));
        QCOMPARE(fakes.commands(), FakeCommands::quoted(QStringList{kMemTotal, kMemTotal}));
    }

    void getCpuCount_data()
    {
        QTest::addColumn<QString>("cpuinfo");
        QTest::addColumn<quint32>("count");
        QTest::newRow("i5 M560, 2 cores 4 threads") << "x86-intel-i5-m560-2c4t-ht-dell-e4310.txt" << 4u;
        QTest::newRow("i7-1165G7, 8 threads") << "x86-intel-i7-1165g7-4c8t-linux6.2.txt" << 8u;
        QTest::newRow("Arm big.LITTLE, no model name") << "arm64-biglittle-a510-a710-a715-x3-8cpu.txt" << 8u;
        QTest::newRow("unreadable cpuinfo") << "" << 0u;
    }
    void getCpuCount()
    {
        QFETCH(QString, cpuinfo);
        QFETCH(quint32, count);
        fakes.emptyProc();
        if (!cpuinfo.isEmpty())
            fakes.putFixture("proc/cpuinfo", "cpuinfo/" + cpuinfo);
        QCOMPARE(PerformanceMonitor::getCpuCount(), count);
        QCOMPARE(PerformanceMonitor::getCpuCount(), count);
        // A count of 0 is asked again; any other is kept.
        const QString command = QStringLiteral("cat /proc/cpuinfo | grep processor | wc -l");
        QCOMPARE(fakes.commands(),
                 FakeCommands::quoted(count ? QStringList{command} : QStringList{command, command}));
        if (count == 0) {
            fakes.putFixture("proc/cpuinfo", "cpuinfo/x86-intel-i5-3317u-2vcpu-virtualbox.txt");
            QCOMPARE(PerformanceMonitor::getCpuCount(), 2u);
        }
    }

    void getMemoryFreeRatio_data()
    {
        QTest::addColumn<QByteArray>("meminfo");
        QTest::addColumn<double>("ratio");
        QTest::newRow("250 of 1000") << QByteArray("MemTotal: 1000 kB\nMemAvailable: 250 kB\n") << 0.25;
        QTest::newRow("laptop") << FakeCommands::read("meminfo/x86-laptop-i7-4810mq-16gb-memavailable.txt")
                                << 12881060.0 / 16022140.0;
        QTest::newRow("kernel 3.13, no MemAvailable")
            << FakeCommands::read("meminfo/x86-desktop-i7-2600-8gb-kernel-3.13-no-memavailable.txt") << 0.0;
        QTest::newRow("no MemTotal") << QByteArray("MemAvailable: 250 kB\n") << 0.0;
    }
    void getMemoryFreeRatio()
    {
        QFETCH(QByteArray, meminfo);
        QFETCH(double, ratio);
        fakes.put("proc/meminfo", meminfo);
        QCOMPARE(PerformanceMonitor::getMemoryFreeRatio(), ratio);
        fakes.put("proc/meminfo", "MemTotal: 1000 kB\nMemAvailable: 500 kB\n");
        QCOMPARE(PerformanceMonitor::getMemoryFreeRatio(), 0.5);
        QCOMPARE(fakes.commands(),
                 FakeCommands::quoted(QStringList{kMemTotal, kMemAvailable, kMemTotal, kMemAvailable}));
    }

    void updateCpuUsage()
    {
        const QByteArray bootLine = FakeCommands::read("stat/x86-vm-2cpu-kernel-4.18-sosreport.txt");
        PerformanceMonitor monitor;
        fakes.put("proc/stat", bootLine);
        monitor.updateCpuUsage(); // against zeros: the average since boot
        QCOMPARE(monitor.cpuUsage,
                 (12333.0 + 29 + 11930) / (12333.0 + 29 + 11930 + 386965 + 126 + 4523 + 2711) * 100);
        monitor.updateCpuUsage();
        QCOMPARE(monitor.cpuUsage, -1.0);
        fakes.put("proc/stat", "cpu 10 20\n");
        monitor.updateCpuUsage();
        QCOMPARE(monitor.cpuUsage, -1.0);
        // 200 busy jiffies since the boot line, and 200 of idle and interrupt time.
        fakes.put("proc/stat", "cpu  12433 29 12030 387065 126 4623 2711 0 0 0\n");
        monitor.updateCpuUsage();
        QCOMPARE(monitor.cpuUsage, 50.0);
        const QString command = QStringLiteral("cat /proc/stat | head -n1");
        QCOMPARE(fakes.commands(), FakeCommands::quoted(QStringList{command, command, command, command}));
    }

    void getCpuUsage_data()
    {
        QTest::addColumn<QByteArray>("first");
        QTest::addColumn<QByteArray>("second");
        QTest::addColumn<double>("load");
        QTest::newRow("equal samples")
            << QByteArray("cpu 100 0 100 800") << QByteArray("cpu 100 0 100 800") << -1.0;
        QTest::newRow("short first counts as zeros")
            << QByteArray("cpu 10 20") << QByteArray("cpu 100 0 100 800") << 20.0;
        QTest::newRow("short second") << QByteArray("cpu 100 0 100 800") << QByteArray("cpu 10 20") << -1.0;
        QTest::newRow("a third busy")
            << QByteArray("cpu 100 0 100 800") << QByteArray("cpu 150 0 150 1000") << 100.0 / 300.0 * 100.0;
    }
    void getCpuUsage()
    {
        QFETCH(QByteArray, first);
        QFETCH(QByteArray, second);
        QFETCH(double, load);
        fakes.put("proc/stat", first);
        fakes.put("proc/stat.next", second);
        QCOMPARE(PerformanceMonitor::getCpuUsage(), load);
    }

    void diskRates_data()
    {
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::addColumn<QStringList>("rates"); // ratio, throughput r/w, delay r/w, requests r/w

        const QString before = QStringLiteral("8 0 sda 100 10 1000 50 200 20 2000 80 0 300 400");
        QTest::newRow("idle") << before << before << QStringList{"0", "0", "0", "0", "0", "0", "0"};
        QTest::newRow("16 sectors in 2 reads, 3 ms")
            << before << "8 0 sda 102 10 1016 53 200 20 2000 80 0 300 400"
            << QStringList{"0", "819.2", "0", "1.5", "0", "0", "0"};
        QTest::newRow("3 merged reads, read time but none completed")
            << before << "8 0 sda 100 13 1000 55 200 20 2000 80 0 300 400"
            << QStringList{"0", "0", "0", "0", "0", "300", "0"};
        QTest::newRow("writes and weighted time")
            << before << "8 0 sda 100 10 1000 50 201 21 2008 84 1 301 425 7 7 7 7"
            << QStringList{"2.5", "0", "409.6", "0", "4", "0", "100"};
        QTest::newRow("counters beyond 32 bits") << "8 0 sda 100 10 5000000000 50 200 20 2000 80 0 300 400"
                                                 << "8 0 sda 102 10 5000000016 53 200 20 2000 80 0 300 400"
                                                 << QStringList{"0", "819.2", "0", "1.5", "0", "0", "0"};
        QTest::newRow("counter reset wraps") << before << "8 0 sda 100 10 950 50 200 20 2000 80 0 300 400"
                                             << QStringList{"0", "1.84467e+18", "0", "0", "0", "0", "0"};
    }
    void diskRates()
    {
        QFETCH(QString, first);
        QFETCH(QString, second);
        QFETCH(QStringList, rates);
        DiskCounters firstCounters{}, secondCounters{};
        QVERIFY(diskStatsCounters(first, firstCounters));
        QVERIFY(diskStatsCounters(second, secondCounters));
        PhysicalDisk disk;
        storeFirstSample(disk, firstCounters);
        storeRates(disk, secondCounters);
        QCOMPARE(texts(disk), rates);
    }

    void getPhysicalDiskInfo()
    {
        // Identical samples: idle everywhere. sdz is removable, mmcblk0 has no diskstats line.
        fakes.putFixture("proc/diskstats", "diskstats/x86-nvme-zram-dm-20-fields.txt");
        fakes.put("lsblk.out", "nvme0n1 500107862016  0\nsda     1000204886016 0\nsdz     8004304896 1\n"
                               "mmcblk0 31267487744 0\n");
        QList<QSharedPointer<PhysicalDisk>> disks{QSharedPointer<PhysicalDisk>::create()};
        PerformanceMonitor::getPhysicalDiskInfo(disks);
        QCOMPARE(disks.size(), 3);
        QCOMPARE(disks.at(1)->diskName, QStringLiteral("nvme0n1"));
        QCOMPARE(disks.at(1)->diskCapability, QStringLiteral("465.762"));
        QCOMPARE(disks.at(1)->readsCompleted, quint64(2501871));
        QCOMPARE(disks.at(1)->weightedIoMillis, quint64(66636403));
        QCOMPARE(disks.at(2)->diskName, QStringLiteral("sda"));
        QCOMPARE(disks.at(2)->diskCapability, QStringLiteral("931.513"));
        QCOMPARE(texts(*disks.at(2)), (QStringList{"0", "0", "0", "0", "0", "0", "0"}));
        QCOMPARE(fakes.commands(), FakeCommands::quoted(QStringList{
                                       kWholeDisks, diskStatsCommand("nvme0n1"), diskStatsCommand("sda"),
                                       diskStatsCommand("mmcblk0"), kWholeDisks, diskStatsCommand("nvme0n1"),
                                       diskStatsCommand("sda")}));
    }

    void getPhysicalDiskInfoRates()
    {
        fakes.put("lsblk.out", "sda 500107862016 0\n");
        fakes.put("proc/diskstats", "   8       0 sda 100 10 1000 50 200 20 2000 80 0 300 400 0 0 0 0\n");
        fakes.put("proc/diskstats.next",
                  "   8       0 sda 102 13 1016 53 200 20 2000 80 0 300 410 0 0 0 0\n");
        QList<QSharedPointer<PhysicalDisk>> disks;
        PerformanceMonitor::getPhysicalDiskInfo(disks);
        QCOMPARE(disks.size(), 1);
        QCOMPARE(texts(*disks.at(0)), (QStringList{"1", "819.2", "0", "1.5", "0", "300", "0"}));
    }

    void getLogicalDiskInfo_data()
    {
        QTest::addColumn<QByteArray>("lsblk");
        QTest::addColumn<QByteArray>("df");
        QTest::addColumn<QStringList>("rows");
        const QByteArray header = "Filesystem     1K-blocks    Used Available Use% Mounted on\n";

        const QString sda3 = QStringLiteral("/dev/sda3|125.907|4.16514|0.04");
        QTest::newRow("VM with bind mounts and pseudo file systems")
            << FakeCommands::read("lsblk/x86-vm-rhcos-nbl-name-size-mountpoint-rm-handmade.txt")
            << FakeCommands::read("df/x86-vm-rhcos-df-al-x-autofs.txt")
            << QStringList{sda3,
                           sda3,
                           sda3,
                           sda3,
                           sda3,
                           "/dev/sda2|1|0.130722|0.15",
                           "/dev/sda1|0.0917969|0.00643539|0.08"};
        QTest::newRow("LVM volume under /dev/mapper")
            << QByteArray("sda1    1073741824 /boot 0\nvg-root 19327352832 /     0\n")
            << header + "/dev/mapper/vg-root 18864304 5242880 12637120  30% /\n"
                        "/dev/sda1 1020904 209715 758581  22% /boot\n"
            << QStringList{"/dev/sda1|1|0.2|0.22"};
        QTest::newRow("blank in the mount point")
            << QByteArray("sda2 107374182400 /mnt/data disk 0\n")
            << header + "/dev/sda2 104857600 52428800 52428800 50% /mnt/data disk\n"
            << QStringList();
        QTest::newRow("mounted twice, use shown as -")
            << QByteArray("sdb1 62914560000 /srv 0\n")
            << header + "/dev/sdb1 61440000 1048576 60391424 2% /srv\n/dev/sdb1 0 0 0 - /var/srv\n"
            << QStringList{"/dev/sdb1|58.5938|1|0.02", "/dev/sdb1|58.5938|0|0"};
        QTest::newRow("removable medium") << QByteArray("sdc1 8004304896 /media/usb 1\n")
                                          << header + "/dev/sdc1 7816704 1024 7815680 1% /media/usb\n"
                                          << QStringList();
        QTest::newRow("no lsblk") << QByteArray() << header + "/dev/sda1 1020904 209715 758581 22% /boot\n"
                                  << QStringList();
        QTest::newRow("long name wraps the line")
            << QByteArray("nvme0n1p2 536870912000 / 0\n")
            << header + "/dev/nvme0n1p2\n 524288000 104857600 419430400  20% /\n"
            << QStringList();
    }
    void getLogicalDiskInfo()
    {
        QFETCH(QByteArray, lsblk);
        QFETCH(QByteArray, df);
        QFETCH(QStringList, rows);
        if (!lsblk.isEmpty())
            fakes.put("lsblk.out", lsblk);
        fakes.put("df.out", df);
        QList<QSharedPointer<LogicalDisk>> disks{QSharedPointer<LogicalDisk>::create()};
        PerformanceMonitor::getLogicalDiskInfo(disks);
        QCOMPARE(texts(disks.mid(1)), rows);
        QCOMPARE(texts(disks.mid(0, 1)), QStringList("|||"));
        QCOMPARE(fakes.commands(), FakeCommands::quoted(QStringList{kPartitions}));
        QVERIFY(fakes.fakeLog().contains(QStringLiteral("df -hk")));
    }
};

QTEST_GUILESS_MAIN(TestPerformanceMonitor)
#include "tst_performancemonitor.moc"
