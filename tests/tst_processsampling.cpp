// Process and network snapshots of PerformanceMonitor: top's batch output through a
// fake top, /proc/net/dev through the fake cat, and the interfaces of this machine.
#include <QNetworkInterface>
#include <QStandardPaths>
#include <QtTest>

#include "fakecommands.h"
#include "performancemonitor.h"
#include "performanceparsers.h"

using namespace performanceparsers;

namespace
{

class FreshProcess : public PerformanceMonitor
{
public:
    using PerformanceMonitor::resetProcessState;
};

QStringList warnings;

const QString kMemTotal =
    QStringLiteral(R"(cat /proc/meminfo | grep MemTotal | awk -F':' '{print $2}' | awk -F' ' '{print $1}')");
const QByteArray kTopHeader =
    "top - 13:24:18 up  2:13,  1 user,  load average: 0.42, 0.39, 0.39\n"
    "Tasks: 210 total,   1 running, 208 sleeping,   1 stopped,   0 zombie\n"
    "%Cpu(s):  7.4 us, 18.5 sy,  0.0 ni, 70.4 id,  0.0 wa,  0.0 hi,  3.7 si,  0.0 st\n"
    "MiB Mem :   2908.8 total,    159.4 free,   1331.9 used,   1417.5 buff/cache\n"
    "MiB Swap:   1873.3 total,   1850.4 free,     22.9 used.   1329.4 avail Mem \n"
    "\n"
    "    PID USER      PR  NI    VIRT    RES    SHR S  %CPU  %MEM     TIME+ COMMAND\n";
const QByteArray kNetDevHeader =
    "Inter-|   Receive                                                |  Transmit\n"
    " face |bytes    packets errs drop fifo frame compressed multicast|bytes    packets errs drop fifo "
    "colls carrier compressed\n";

QString fields(const ProcessInfo &process)
{
    return QStringList{process.pid,      process.userName,    process.processName,
                       process.cpuRatio, process.memoryRatio, process.memoryUseCapability}
        .join('|');
}

QByteArray devLine(const QString &name, quint64 received, quint64 sent)
{
    return QStringLiteral("%1: %2 10 0 0 0 0 0 0 %3 20 0 0 0 0 0 0\n")
        .arg(name)
        .arg(received)
        .arg(sent)
        .toLatin1();
}

} // namespace

class TestProcessSampling : public QObject
{
    Q_OBJECT

    FakeCommands fakes;

private slots:
    void initTestCase()
    {
        QVERIFY(fakes.isValid());
        qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
            FakeCommands::messages() << text;
            if (type == QtWarningMsg)
                warnings << text;
        });
    }
    void init()
    {
        fakes.clear();
        warnings.clear();
        FreshProcess::resetProcessState();
    }

    void memoryUse_data()
    {
        QTest::addColumn<QString>("memoryRatio");
        QTest::addColumn<quint64>("totalKb");
        QTest::addColumn<QString>("figure");
        // Not divided by 100: a hundred times the share in kB.
        QTest::newRow("1.5% of 2,000,000 kB") << "1.5" << quint64(2000000) << "3e+06";
        QTest::newRow("%MEM 0.0") << "0.0" << quint64(2000000) << "0";
        QTest::newRow("%MEM not a number") << "n/a" << quint64(2000000) << "0";
        QTest::newRow("no memory total") << "1.5" << quint64(0) << "0";
        QTest::newRow("six digits") << "0.1" << quint64(16022140) << "1.60221e+06";
    }
    void memoryUse()
    {
        QFETCH(QString, memoryRatio);
        QFETCH(quint64, totalKb);
        QFETCH(QString, figure);
        QCOMPARE(memoryUseCapability(memoryRatio, totalKb), figure);
    }

    void getProcessInfo_data()
    {
        QTest::addColumn<QByteArray>("top");
        QTest::addColumn<int>("count");
        QTest::addColumn<QStringList>("samples"); // records at the start of the snapshot

        QTest::newRow("VirtualBox guest")
            << FakeCommands::read("top/x86-vbox-vm-2908mib-one-stopped-task.txt") << 210
            << QStringList{"1698|anjp|gnome-shell|37.5|13.0|2.6e+07", "8231|anjp|firefox|25.0|16.1|3.22e+07"};
        QTest::newRow("desktop, commands cut by top")
            << FakeCommands::read("top/x86-desktop-12cpu-15gib-truncated-commands.txt") << 336
            << QStringList{"19025|fayyadh|chrome|27.3|3.5|7e+06", "20648|fayyadh|top|9.1|0.0|0"};
        QTest::newRow("short lines skipped, arguments dropped")
            << kTopHeader + "      1 root 20 0 101088 11728 8100 S 0.0 0.4 0:01.71\n"
                            "   8367 anjp 20 0 218140 39400 30764 S 0.0 1.3 0:00.08 Socket Process\n"
                            "  10172 anjp 20 0 2435468 115360 87880 S 0.0 3.9 0:02.27 Isolated Web Co\n"
            << 2 << QStringList{"8367|anjp|Socket|0.0|1.3|2.6e+06", "10172|anjp|Isolated|0.0|3.9|7.8e+06"};
        QTest::newRow("text ends at a NUL")
            << kTopHeader + QByteArray("     42 root 20 0 1 1 1 S 0.0 0.1 0:00.01 \0hidden\n", 50) << 0
            << QStringList();
        QTest::newRow("fewer than seven lines")
            << kTopHeader.left(kTopHeader.indexOf("\n\n") + 1) << 0 << QStringList();
    }
    void getProcessInfo()
    {
        QFETCH(QByteArray, top);
        QFETCH(int, count);
        QFETCH(QStringList, samples);
        fakes.put("top.out", top);
        fakes.put("proc/meminfo", "MemTotal:        2000000 kB\n");

        QList<QSharedPointer<ProcessInfo>> processes{QSharedPointer<ProcessInfo>::create()};
        PerformanceMonitor::getProcessInfo(processes);
        QCOMPARE(processes.size(), count + 1);
        QCOMPARE(fields(*processes.first()), QStringLiteral("|||||")); // kept, not cleared
        for (int i = 0; i < samples.size(); ++i)
            QCOMPARE(fields(*processes.at(i + 1)), samples.at(i));
        QCOMPARE(fakes.fakeLog().filter(QRegularExpression("^top ")), QStringList("top -bn 1"));
        // The memory total is asked once for the whole snapshot, and not at all without a process.
        QCOMPARE(fakes.commands(), count ? FakeCommands::quoted(QStringList{kMemTotal}) : QStringList());
    }

    void getProcessInfoWithoutTop()
    {
        QTemporaryDir emptyPath;
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", QFile::encodeName(emptyPath.path()));
        QList<QSharedPointer<ProcessInfo>> processes;
        PerformanceMonitor::getProcessInfo(processes);
        qputenv("PATH", path);
        QVERIFY(processes.isEmpty());
    }

    void getProcessInfoOnThisMachine()
    {
        if (QStandardPaths::findExecutable("top", {"/usr/bin", "/bin"}).isEmpty())
            QSKIP("top is not installed");
        QList<QSharedPointer<ProcessInfo>> processes;
        PerformanceMonitor::getProcessInfo(processes);
        const QString self = QString::number(QCoreApplication::applicationPid());
        const auto found = std::find_if(processes.cbegin(), processes.cend(),
                                        [&](const QSharedPointer<ProcessInfo> &p) { return p->pid == self; });
        QVERIFY(found != processes.cend());
        bool number = false;
        (*found)->memoryRatio.toDouble(&number);
        QVERIFY(number);
        QVERIFY(!(*found)->userName.isEmpty());
    }

    void interfaceFilter_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("flags");
        QTest::addColumn<int>("type");
        QTest::addColumn<bool>("collect");
        QTest::addColumn<QString>("message");
        const int up = QNetworkInterface::IsUp, running = QNetworkInterface::IsRunning;
        const int broadcast = QNetworkInterface::CanBroadcast | QNetworkInterface::CanMulticast;
        const int loopback = QNetworkInterface::IsLoopBack;
        QTest::newRow("down")
            << "ifb0" << broadcast << int(QNetworkInterface::Ethernet) << false
            << "Network Interface flags not right, do not collect data. name:ifb0 mac:AA:BB flags:36 type:3";
        QTest::newRow("loopback down: the flags decide first")
            << "lo" << loopback << int(QNetworkInterface::Loopback) << false
            << "Network Interface flags not right, do not collect data. name:lo mac:AA:BB flags:8 type:1";
        QTest::newRow("loopback up")
            << "lo" << (up | running | loopback) << int(QNetworkInterface::Loopback) << false
            << "Network Interface type not right, do not collect data, name:lo mac:AA:BB flags:11 type:1";
        QTest::newRow("up without carrier")
            << "eth0" << (up | broadcast) << int(QNetworkInterface::Ethernet) << true
            << "Network Interface collect data, name:eth0 mac:AA:BB flags:37 type:3";
        QTest::newRow("bridge") << "virbr0" << (up | running | broadcast) << int(QNetworkInterface::Virtual)
                                << true
                                << "Network Interface collect data, name:virbr0 mac:AA:BB flags:39 type:2";
        QTest::newRow("placeholder in the name")
            << "%2" << up << int(QNetworkInterface::Unknown) << true
            << "Network Interface collect data, name:%2 mac:AA:BB flags:1 type:0";
    }
    void interfaceFilter()
    {
        QFETCH(QString, name);
        QFETCH(int, flags);
        QFETCH(int, type);
        QFETCH(bool, collect);
        QFETCH(QString, message);
        const InterfaceCheck check = checkInterface(name, QStringLiteral("AA:BB"), flags, type);
        QCOMPARE(check.collect, collect);
        QCOMPARE(check.warning, !collect);
        QCOMPARE(check.message, message);
    }

    void netDevLine_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<bool>("read");
        QTest::addColumn<QString>("name");
        QTest::addColumn<quint64>("received");
        QTest::addColumn<quint64>("sent");
        const QStringList em1 =
            QString::fromLatin1(FakeCommands::read("net-dev/x86-i7-2600-lo-em1-kernel-3.13.txt")).split('\n');
        const QStringList laptop =
            QString::fromLatin1(FakeCommands::read("net-dev/x86-laptop-tun0-wlp3s0-virbr0-kernel-4.15.txt"))
                .split('\n');
        QTest::newRow("counters beyond 32 bits")
            << em1.at(3) << true << "em1" << quint64(5310227286) << quint64(2965721960);
        QTest::newRow("long name pushes the colon")
            << laptop.at(6) << true << "virbr0-nic" << quint64(0) << quint64(0);
        QTest::newRow("no blank behind the colon: 16 pieces")
            << "  eth0:1234 5 0 0 0 0 0 0 99 7 0 0 0 0 0 0" << false << "" << quint64(0) << quint64(0);
        QTest::newRow("counter not a number") << "eth0: x 5 0 0 0 0 0 0 99 7 0 0 0 0 0 0\n"
                                              << true << "eth0" << quint64(0) << quint64(99);
    }
    void netDevLine()
    {
        QFETCH(QString, line);
        QFETCH(bool, read);
        QFETCH(QString, name);
        QFETCH(quint64, received);
        QFETCH(quint64, sent);
        InterfaceBytes bytes;
        QCOMPARE(interfaceBytes(line, bytes), read);
        if (read) {
            QCOMPARE(bytes.name, name);
            QCOMPARE(bytes.received, received);
            QCOMPARE(bytes.sent, sent);
        }
    }

    void throughputFigure_data()
    {
        QTest::addColumn<quint64>("first");
        QTest::addColumn<quint64>("second");
        QTest::addColumn<QString>("figure");
        QTest::newRow("a mebibyte in a nominal 10 ms") << quint64(0) << quint64(1048576) << "100";
        QTest::newRow("no traffic") << quint64(5310227286) << quint64(5310227286) << "0";
        QTest::newRow("half a mebibyte beyond 32 bits") << quint64(5310227286) << quint64(5310751574) << "50";
        QTest::newRow("counter went back, wraps") << quint64(1) << quint64(0) << "1.75922e+15";
    }
    void throughputFigure()
    {
        QFETCH(quint64, first);
        QFETCH(quint64, second);
        QFETCH(QString, figure);
        QCOMPARE(throughput(first, second), figure);
    }

    void getNetworkInfo_data()
    {
        QTest::addColumn<bool>("inFirst");
        QTest::addColumn<QString>("secondLine"); // %1 is the interface's name
        QTest::addColumn<QStringList>("record"); // receive, send, received bytes, sent bytes
        QTest::newRow("a mebibyte received") << true << "%1: 5311275862 10 0 0 0 0 0 0 700 20 0 0 0 0 0 0"
                                             << QStringList{"100", "0", "5310227286", "700"};
        QTest::newRow("missing from the first sample")
            << false << "%1: 1048576 10 0 0 0 0 0 0 2097152 20 0 0 0 0 0 0"
            << QStringList{"100", "200", "0", "0"};
        QTest::newRow("16 pieces in the second sample")
            << true << "%1:5311275862 10 0 0 0 0 0 0 700 20 0 0 0 0 0 0" << QStringList();
    }
    void getNetworkInfo()
    {
        QFETCH(bool, inFirst);
        QFETCH(QString, secondLine);
        QFETCH(QStringList, record);
        const QList<QNetworkInterface> all = QNetworkInterface::allInterfaces();
        const auto sampled = std::find_if(all.cbegin(), all.cend(), [](const QNetworkInterface &i) {
            return (i.flags() & QNetworkInterface::IsUp) && i.type() != QNetworkInterface::Loopback;
        });
        if (sampled == all.cend())
            QSKIP("no interface here is up besides loopback");
        const QString name = sampled->name();

        // Loopback is busy in both samples and still never shows.
        QByteArray first = kNetDevHeader + devLine("lo", 1000, 1000);
        if (inFirst)
            first += devLine(name, 5310227286, 700);
        fakes.put("proc/net/dev", first);
        fakes.put("proc/net/dev.next",
                  kNetDevHeader + devLine("lo", 1049576, 1049576) + secondLine.arg(name).toLatin1() + "\n");

        QList<QSharedPointer<Network>> networks;
        PerformanceMonitor::getNetworkInfo(networks);
        QCOMPARE(fakes.fakeLog(), QStringList({"cat /proc/net/dev", "cat /proc/net/dev"}));
        QCOMPARE(networks.size(), record.isEmpty() ? 0 : 1);
        if (!record.isEmpty()) {
            const Network &network = *networks.first();
            QCOMPARE(network.mac, sampled->hardwareAddress());
            QCOMPARE(
                (QStringList{network.netThroughputReceive, network.netThroughputSend,
                             QString::number(network.receivedBytes), QString::number(network.sentBytes)}),
                record);
        }
    }

    void interfaceLogLines()
    {
        fakes.putFixture("proc/net/dev", "net-dev/x86-i7-2600-lo-em1-kernel-3.13.txt");
        if (QNetworkInterface::interfaceFromName("em1").isValid())
            QSKIP("this machine has an em1 of its own");
        QList<QSharedPointer<Network>> networks{QSharedPointer<Network>::create()};
        PerformanceMonitor::getNetworkInfo(networks);
        // Only lo is both known here and listed, and lo is filtered out.
        QCOMPARE(networks.size(), 1);

        const QList<QNetworkInterface> all = QNetworkInterface::allInterfaces();
        const QStringList lines = FakeCommands::messages().filter(QStringLiteral("[ getNetworkInfo ]"));
        QCOMPARE(lines.size(), all.size());
        const QNetworkInterface lo = QNetworkInterface::interfaceFromName("lo");
        if (lo.isValid() && (lo.flags() & QNetworkInterface::IsUp)) {
            const QStringList loLines = warnings.filter(QStringLiteral(" name:lo "));
            QCOMPARE(loLines.size(), 1);
            QVERIFY(loLines.first().startsWith(
                "[ getNetworkInfo ] Network Interface type not right, do not collect data, name:lo mac:"));
        }
        for (const QNetworkInterface &netInterface : all) {
            const QString named =
                QStringLiteral(" name:%1 mac:%2 ").arg(netInterface.name(), netInterface.hardwareAddress());
            const bool sampled = (netInterface.flags() & QNetworkInterface::IsUp) &&
                                 netInterface.type() != QNetworkInterface::Loopback;
            QCOMPARE(lines.filter(named).size(), 1);
            QCOMPARE(warnings.filter(named).size(), sampled ? 0 : 1);
        }
    }
};

QTEST_GUILESS_MAIN(TestProcessSampling)
#include "tst_processsampling.moc"
