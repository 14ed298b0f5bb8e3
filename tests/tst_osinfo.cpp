// Release files, kernel versions and memory counters of real machines, which
// release file wins, and the mouse count through the shell pattern.
#include <QTemporaryDir>
#include <QtTest>
#include <sstream>

#include <unistd.h>

#include "osinfo.h"

namespace
{

QByteArray fixture(const QString &name)
{
    QFile file(QStringLiteral(PROBIX_TEST_DATA "/") + name);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("missing fixture %s", qPrintable(name));
    return file.readAll();
}

QString versionOf(const OsInfo &info)
{
    return QStringLiteral("%1.%2.%3.%4")
        .arg(info.major)
        .arg(info.minor)
        .arg(info.patch)
        .arg(info.buildNumber);
}

void writeFile(const QString &path, const QByteArray &text)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(text);
}

} // namespace

class TestOsInfo : public QObject
{
    Q_OBJECT

private slots:
    void osRelease_data();
    void osRelease();
    void lsbRelease_data();
    void lsbRelease();
    void releaseFileChoice_data();
    void releaseFileChoice();
    void kernel_data();
    void kernel();
    void kernelOfThisMachine();
    void memory_data();
    void memory();
    void memoryOfThisMachine();
    void mice_data();
    void mice();
};

void TestOsInfo::osRelease_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("fullName");
    QTest::addColumn<QString>("version");
    QTest::newRow("debian 12") << fixture("os-release/debian-12-bookworm.os-release") << "Debian GNU/Linux"
                               << "Debian GNU/Linux 12 (bookworm)"
                               << "12.0.0.0";
    QTest::newRow("ubuntu 22.04") << fixture("os-release/ubuntu-22.04.os-release") << "Ubuntu"
                                  << "Ubuntu 22.04 LTS"
                                  << "22.4.0.0";
    QTest::newRow("three parts quoted")
        << fixture("os-release/xcp-ng-7.4.0-quoted-three-part-version-id.os-release") << "XCP-ng"
        << "XCP-ng 7.4.0"
        << "7.4.0.0";
    QTest::newRow("unquoted version")
        << fixture("os-release/fedora-40-workstation-unquoted-version-id.os-release") << "Fedora Linux"
        << "Fedora Linux 40 (Workstation Edition)"
        << "40.0.0.0";
    QTest::newRow("blank line") << fixture("os-release/centos-7-blank-line.os-release") << "CentOS Linux"
                                << "CentOS Linux 7 (Core)"
                                << "7.0.0.0";
    QTest::newRow("two digit minor") << fixture("os-release/rhel-8.10.os-release")
                                     << "Red Hat Enterprise Linux"
                                     << "Red Hat Enterprise Linux 8.10 (Ootpa)"
                                     << "8.10.0.0";
    QTest::newRow("quoted 10.5.2") << QByteArray("VERSION_ID=\"10.5.2\"\n") << ""
                                   << ""
                                   << "10.5.2.0";
    QTest::newRow("four numbers") << QByteArray("VERSION_ID=1.2.3.4\n") << ""
                                  << ""
                                  << "1.2.3.4";
    QTest::newRow("later NAME replaces, quotes only at the ends")
        << QByteArray("NAME=First\nNAME=\"Say \"hi\"\"\nPRETTY_NAME=\"\n") << "Say \"hi\""
        << ""
        << "0.0.0.0";
    QTest::newRow("number cut to 32 bits") << QByteArray("VERSION_ID=4294967297\n") << ""
                                           << ""
                                           << "1.0.0.0";
}

void TestOsInfo::osRelease()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, name);
    QFETCH(QString, fullName);
    QFETCH(QString, version);
    std::istringstream stream(text.toStdString());
    const OsInfo info = osInfoFromOsRelease(stream);
    QCOMPARE(QString::fromStdString(info.name), name);
    QCOMPARE(QString::fromStdString(info.fullName), fullName);
    QCOMPARE(versionOf(info), version);
}

void TestOsInfo::lsbRelease_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("fullName");
    QTest::addColumn<QString>("version");
    QTest::newRow("ubuntu 24.04") << fixture("os-release/ubuntu-24.04.lsb-release") << "Ubuntu"
                                  << "Ubuntu 24.04.3 LTS"
                                  << "24.4.0.0";
    QTest::newRow("linux mint") << fixture("os-release/linuxmint-17.3.lsb-release") << "LinuxMint"
                                << "Linux Mint 17.3 Rosa"
                                << "17.3.0.0";
    QTest::newRow("id keeps its quotes") << QByteArray("DISTRIB_ID=\"Corp\"\n") << "\"Corp\""
                                         << ""
                                         << "0.0.0.0";
    QTest::newRow("description without quotes loses its last character")
        << QByteArray("DISTRIB_DESCRIPTION=Plain\n") << ""
        << "DISTRIB_DESCRIPTION=Plai"
        << "0.0.0.0";
    QTest::newRow("any character separates") << QByteArray("DISTRIB_RELEASE=5-6 7x8\n") << ""
                                             << ""
                                             << "5.6.7.8";
}

void TestOsInfo::lsbRelease()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, name);
    QFETCH(QString, fullName);
    QFETCH(QString, version);
    std::istringstream stream(text.toStdString());
    const OsInfo info = osInfoFromLsbRelease(stream);
    QCOMPARE(QString::fromStdString(info.name), name);
    QCOMPARE(QString::fromStdString(info.fullName), fullName);
    QCOMPARE(versionOf(info), version);
}

void TestOsInfo::releaseFileChoice_data()
{
    QTest::addColumn<QStringList>("present");
    QTest::addColumn<QString>("fullName");
    const QString etc = "etc/os-release", usr = "usr/lib/os-release", lsb = "etc/lsb-release";
    QTest::newRow("etc first") << QStringList{etc, usr, lsb} << "Debian GNU/Linux 12 (bookworm)";
    QTest::newRow("usr/lib before lsb") << QStringList{usr, lsb} << "XCP-ng 7.4.0";
    QTest::newRow("lsb last") << QStringList{lsb} << "Ubuntu 24.04.3 LTS";
    QTest::newRow("none") << QStringList{} << "";
}

void TestOsInfo::releaseFileChoice()
{
    QFETCH(QStringList, present);
    QFETCH(QString, fullName);
    const QMap<QString, QString> fixtures = {
        {"etc/os-release", "os-release/debian-12-bookworm.os-release"},
        {"usr/lib/os-release", "os-release/xcp-ng-7.4.0-quoted-three-part-version-id.os-release"},
        {"etc/lsb-release", "os-release/ubuntu-24.04.lsb-release"}};
    QTemporaryDir root;
    for (const QString &file : present)
        writeFile(root.filePath(file), fixture(fixtures[file]));
    const OsInfo info = getOsInfo(QFile::encodeName(root.path()).toStdString());
    QCOMPARE(QString::fromStdString(info.fullName), fullName);
    if (present.isEmpty())
        QCOMPARE(versionOf(info), QString("0.0.0.0"));
}

void TestOsInfo::kernel_data()
{
    QTest::addColumn<QString>("system");
    QTest::addColumn<QString>("release");
    QTest::addColumn<int>("kernel");
    QTest::addColumn<QString>("version");
    QTest::newRow("ubuntu, dash separates") << "Linux"
                                            << "5.4.0-77-generic" << int(KernelType::linux) << "5.4.0.77";
    QTest::newRow("three numbers only") << "Linux"
                                        << "2.6.35" << int(KernelType::linux) << "2.6.35.0";
    QTest::newRow("darwin") << "Darwin"
                            << "21.6.0" << int(KernelType::darwin) << "21.6.0.0";
    QTest::newRow("FreeBSD still parsed") << "FreeBSD"
                                          << "13.1-RELEASE" << int(KernelType::unknown) << "13.1.0.0";
    QTest::newRow("empty release") << "Linux"
                                   << "" << int(KernelType::linux) << "0.0.0.0";
}

void TestOsInfo::kernel()
{
    QFETCH(QString, system);
    QFETCH(QString, release);
    QFETCH(int, kernel);
    QFETCH(QString, version);
    const KernelInfo info = kernelInfo(system.toLatin1().constData(), release.toLatin1().constData());
    QCOMPARE(int(info.kernel), kernel);
    QCOMPARE(
        QStringLiteral("%1.%2.%3.%4").arg(info.major).arg(info.minor).arg(info.patch).arg(info.buildNumber),
        version);
}

void TestOsInfo::kernelOfThisMachine()
{
    const KernelInfo info = getKernelInfo();
    QCOMPARE(info.kernel, KernelType::linux);
    const QStringList parts = QSysInfo::kernelVersion().split('.');
    QCOMPARE(QString::number(info.major), parts.value(0));
    QCOMPARE(QString::number(info.minor), parts.value(1));
}

void TestOsInfo::memory_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<quint64>("physicalTotal");
    QTest::addColumn<quint64>("physicalAvailable");
    QTest::addColumn<quint64>("virtualTotal");
    QTest::addColumn<quint64>("virtualAvailable");
    QTest::newRow("x86 laptop") << fixture("meminfo/x86-laptop-i7-4810mq-16gb-memavailable.txt")
                                << quint64(16022140) * 1024 << quint64(12881060) * 1024
                                << quint64(34359738367) * 1024 << quint64(34359738367) * 1024;
    QTest::newRow("kernel 3.13, no MemAvailable")
        << fixture("meminfo/x86-desktop-i7-2600-8gb-kernel-3.13-no-memavailable.txt")
        << quint64(8131884) * 1024 << quint64(0) << quint64(34359738367) * 1024
        << (quint64(34359738367) - 113816) * 1024;
    QTest::newRow("128 GB server, wider column")
        << fixture("meminfo/x86-server-xeon-e5-2690-128gb-two-numa-nodes.txt") << quint64(131831052) * 1024
        << quint64(118425544) * 1024 << quint64(34359738367) * 1024 << (quint64(34359738367) - 513640) * 1024;
    QTest::newRow("arm64 with vendor keys")
        << fixture("meminfo/arm64-jetson-nano-4gb-nvmap-extra-keys.txt") << quint64(4059272) * 1024
        << quint64(3791976) * 1024 << quint64(263061440) * 1024 << quint64(263061440) * 1024;
    QTest::newRow("armv7 kernel 2.6")
        << fixture("meminfo/armv7-kobo-imx50-256mb-kernel-2.6.35-no-memavailable.txt")
        << quint64(254388) * 1024 << quint64(0) << quint64(1638400) * 1024 << quint64(1638400 - 1528) * 1024;
    QTest::newRow("2,048,000 kB") << QByteArray("MemTotal:        2048000 kB\n") << quint64(2097152000)
                                  << quint64(0) << quint64(0) << quint64(0);
    QTest::newRow("vmalloc 100 minus 40") << QByteArray("VmallocTotal:    100 kB\nVmallocUsed:      40 kB\n")
                                          << quint64(0) << quint64(0) << quint64(102400) << quint64(61440);
}

void TestOsInfo::memory()
{
    QFETCH(QByteArray, text);
    QFETCH(quint64, physicalTotal);
    QFETCH(quint64, physicalAvailable);
    QFETCH(quint64, virtualTotal);
    QFETCH(quint64, virtualAvailable);
    std::istringstream stream(text.toStdString());
    const MemoryInfo info = memoryInfo(stream);
    QCOMPARE(quint64(info.physicalTotal), physicalTotal);
    QCOMPARE(quint64(info.physicalAvailable), physicalAvailable);
    QCOMPARE(quint64(info.virtualTotal), virtualTotal);
    QCOMPARE(quint64(info.virtualAvailable), virtualAvailable);
}

void TestOsInfo::memoryOfThisMachine()
{
    const MemoryInfo missing = getMemoryInfo("/nonexistent/meminfo");
    QCOMPARE(quint64(missing.physicalTotal) + missing.physicalAvailable + missing.virtualTotal, quint64(0));
    // The kernel's MemTotal is the same figure sysconf gives in pages.
    const quint64 pages = quint64(sysconf(_SC_PHYS_PAGES)) * quint64(sysconf(_SC_PAGESIZE));
    QCOMPARE(quint64(getMemoryInfo().physicalTotal), pages);
}

void TestOsInfo::mice_data()
{
    QTest::addColumn<QStringList>("nodes");
    QTest::addColumn<uint>("count");
    QTest::newRow("none") << QStringList{"mice", "event0"} << 0u;
    QTest::newRow("one") << QStringList{"mice", "mouse0", "event0"} << 1u;
    QTest::newRow("two") << QStringList{"mice", "mouse0", "mouse1", "event3"} << 2u;
}

void TestOsInfo::mice()
{
    QFETCH(QStringList, nodes);
    QFETCH(uint, count);
    QTemporaryDir input;
    for (const QString &node : nodes)
        writeFile(input.filePath(node), QByteArray());
    const QByteArray pattern = QFile::encodeName(input.filePath("mouse*"));
    QCOMPARE(countMice(pattern.constData()), count);
    // A pattern the shell rules reject counts nothing and leaks nothing.
    QCOMPARE(countMice((pattern + ";|").constData()), 0u);
}

QTEST_GUILESS_MAIN(TestOsInfo)
#include "tst_osinfo.moc"
