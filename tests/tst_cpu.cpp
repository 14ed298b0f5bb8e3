// The processor frequency from its three sources, and the processor's identity,
// over the outputs of real machines and through fake commands on PATH.
#include <QTemporaryDir>
#include <QtTest>
#include <fstream>
#include <sstream>

#include "cpu.h"
#include "cpufrequency.h"

namespace
{

QByteArray fixture(const QString &name)
{
    QFile file(QStringLiteral(PROBIX_TEST_DATA "/") + name);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("missing fixture %s", qPrintable(name));
    return file.readAll();
}

QStringList capturedInfo;

void captureInfo(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type == QtInfoMsg)
        capturedInfo << message;
}

// A folder of fake commands, first on PATH while the object lives; each appends
// its command line to "commands.log" and prints its fixture, if it has one.
class FakeCommands
{
public:
    FakeCommands(const QByteArray &dmidecode, const QByteArray &lscpu, bool sudoRefuses)
        : m_oldPath(qgetenv("PATH"))
    {
        writeFixture("dmidecode.out", dmidecode);
        writeFixture("lscpu.out", lscpu);
        const QByteArray log =
            "echo \"${0##*/}${*:+ $*}\" >> '" + QFile::encodeName(m_dir.filePath("commands.log")) + "'\n";
        writeScript("sudo", sudoRefuses ? log + "echo 'sudo: a password is required' >&2\nexit 1\n"
                                        : log + "exec \"$@\"\n");
        for (const char *name : {"dmidecode", "lscpu"})
            writeScript(name,
                        log + "cat '" + QFile::encodeName(m_dir.filePath(QString(name) + ".out")) + "'\n");
        qputenv("PATH", QFile::encodeName(m_dir.path()) + ':' + m_oldPath);
    }
    ~FakeCommands() { qputenv("PATH", m_oldPath); }

    QStringList commands() const
    {
        QFile file(m_dir.filePath("commands.log"));
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts);
    }

private:
    void writeFixture(const QString &name, const QByteArray &text)
    {
        QFile file(m_dir.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(text);
    }
    void writeScript(const QString &name, const QByteArray &body)
    {
        QFile file(m_dir.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/sh\n" + body);
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    QTemporaryDir m_dir;
    QByteArray m_oldPath;
};

const QByteArray twoSocketsSecondEmpty = "Handle 0x0004, DMI type 4, 48 bytes\n"
                                         "Processor Information\n"
                                         "\tSocket Designation: CPU0\n"
                                         "\tMax Speed: 2600 MHz\n"
                                         "\tCurrent Speed: 2600 MHz\n"
                                         "\n"
                                         "Handle 0x0005, DMI type 4, 48 bytes\n"
                                         "Processor Information\n"
                                         "\tSocket Designation: CPU1\n"
                                         "\tMax Speed: Unknown\n"
                                         "\tCurrent Speed: Unknown\n";

} // namespace

class TestCpu : public QObject
{
    Q_OBJECT

private slots:
    void kernelFrequency_data();
    void kernelFrequency();
    void firmwareFrequency_data();
    void firmwareFrequency();
    void lscpuFrequency_data();
    void lscpuFrequency();
    void probe_data();
    void probe();
    void probeLogsWhatItRead();
    void probeReadsTheRealCpuInfo();
    void architecture_data();
    void architecture();
    void cpuInfoField_data();
    void cpuInfoField();
    void identityOfThisMachine();
};

void TestCpu::kernelFrequency_data()
{
    QTest::addColumn<QByteArray>("cpuInfo");
    QTest::addColumn<quint64>("hertz");
    QTest::newRow("x86 laptop, 4 equal lines")
        << fixture("cpuinfo/x86-intel-i5-m560-2c4t-ht-dell-e4310.txt") << quint64(1199000000);
    QTest::newRow("x86, last core decides, not the highest")
        << fixture("cpuinfo/x86-intel-i7-1165g7-4c8t-linux6.2.txt") << quint64(1183463000);
    QTest::newRow("arm64 without cpu MHz")
        << fixture("cpuinfo/arm64-biglittle-a510-a710-a715-x3-8cpu.txt") << quint64(0);
    QTest::newRow("later lower line overwrites")
        << QByteArray("cpu MHz\t\t: 3000.000\ncpu MHz\t\t: 1200.000\n") << quint64(1200000000);
    QTest::newRow("no colon") << QByteArray("cpu MHz 1200\n") << quint64(0);
    QTest::newRow("key must start the line") << QByteArray(" cpu MHz : 1200\n") << quint64(0);
}

void TestCpu::kernelFrequency()
{
    QFETCH(QByteArray, cpuInfo);
    QFETCH(quint64, hertz);
    std::istringstream text(cpuInfo.toStdString());
    QCOMPARE(quint64(cpuInfoFrequency(text)), hertz);
}

void TestCpu::firmwareFrequency_data()
{
    QTest::addColumn<QByteArray>("dmidecode");
    QTest::addColumn<quint64>("start");
    QTest::addColumn<quint64>("hertz");
    QTest::newRow("thin client, one socket")
        << fixture("dmidecode/one-module-mb-2048-single-core-futro-s700.txt") << quint64(0)
        << quint64(1200000000);
    QTest::newRow("max below current speed")
        << fixture("dmidecode/two-modules-gb-16-max-below-current-optiplex-3000-tc.txt") << quint64(0)
        << quint64(2000000000);
    QTest::newRow("lower than the kernel's figure replaces it")
        << fixture("dmidecode/two-modules-gb-4-hp-t620.txt") << quint64(1800000000) << quint64(1650000000);
    QTest::newRow("second socket unknown") << twoSocketsSecondEmpty << quint64(1200000000) << quint64(0);
    QTest::newRow("nothing printed keeps start")
        << QByteArray() << quint64(1200000000) << quint64(1200000000);
}

void TestCpu::firmwareFrequency()
{
    QFETCH(QByteArray, dmidecode);
    QFETCH(quint64, start);
    QFETCH(quint64, hertz);
    QCOMPARE(quint64(dmidecodeFrequency(commandOutputLines(dmidecode), start)), hertz);
}

void TestCpu::lscpuFrequency_data()
{
    QTest::addColumn<QByteArray>("lscpu");
    QTest::addColumn<quint64>("start");
    QTest::addColumn<quint64>("hertz");
    QTest::newRow("older format, max wins over current")
        << fixture("lscpu/x86-cpu-mhz-max-min-pentium-2020m.txt") << quint64(0) << quint64(2400000000);
    QTest::newRow("model name with MHz")
        << fixture("lscpu/x86-model-name-mhz-i686-via-c7m-1600mhz.txt") << quint64(0) << quint64(1600000000);
    QTest::newRow("newer format, scaling percentage")
        << fixture("lscpu/x86-new-format-no-cpu-mhz-scaling-pct-i7-1165g7-utillinux.txt") << quint64(0)
        << quint64(4700000000);
    QTest::newRow("arm64 max and min only")
        << fixture("lscpu/arm64-cortex-a55-max-min-no-cur.txt") << quint64(0) << quint64(1908000000);
    QTest::newRow("arm64 two sockets") << fixture("lscpu/arm64-hisilicon-kunpeng920-two-sockets-max-min.txt")
                                       << quint64(0) << quint64(2600000000);
    QTest::newRow("arm64 no MHz lines keeps start")
        << fixture("lscpu/arm64-cortex-a72-no-mhz-lines.txt") << quint64(1500000000) << quint64(1500000000);
    QTest::newRow("never lowers start") << fixture("lscpu/x86-cpu-mhz-max-min-via-eden-x2-u4200-ghz-plus.txt")
                                        << quint64(1200000000) << quint64(1200000000);
    QTest::newRow("order current max min")
        << QByteArray("CPU MHz:   1800.000\nCPU max MHz:  2600.0000\nCPU min MHz:  1000.0000\n") << quint64(0)
        << quint64(2600000000);
    QTest::newRow("order min max current")
        << QByteArray("CPU min MHz:  1000.0000\nCPU max MHz:  2600.0000\nCPU MHz:   1800.000\n") << quint64(0)
        << quint64(2600000000);
    QTest::newRow("unit glued to the number")
        << QByteArray("Model name: Board 800MHz\n") << quint64(0) << quint64(0);
    QTest::newRow("fraction truncated")
        << QByteArray("CPU max MHz: 2399.999\n") << quint64(0) << quint64(2399999000);
}

void TestCpu::lscpuFrequency()
{
    QFETCH(QByteArray, lscpu);
    QFETCH(quint64, start);
    QFETCH(quint64, hertz);
    QCOMPARE(quint64(::lscpuFrequency(commandOutputLines(lscpu), start)), hertz);
}

void TestCpu::probe_data()
{
    QTest::addColumn<QByteArray>("cpuInfo");
    QTest::addColumn<QByteArray>("dmidecode");
    QTest::addColumn<QByteArray>("lscpu");
    QTest::addColumn<bool>("sudoRefuses");
    QTest::addColumn<quint64>("hertz");
    const QByteArray e4310 = fixture("cpuinfo/x86-intel-i5-m560-2c4t-ht-dell-e4310.txt");
    QTest::newRow("kernel only, last line") << QByteArray("cpu MHz : 3000.000\ncpu MHz : 1200.000\n")
                                            << QByteArray() << QByteArray() << false << quint64(1200000000);
    QTest::newRow("Max Speed beats cpu MHz")
        << QByteArray("cpu MHz : 1200.000\n") << QByteArray("\tMax Speed: 2600 MHz\n") << QByteArray()
        << false << quint64(2600000000);
    QTest::newRow("unknown second socket, kernel decides")
        << QByteArray("cpu MHz : 1200.000\n") << twoSocketsSecondEmpty << QByteArray() << false
        << quint64(1200000000);
    QTest::newRow("lower Max Speed does not lower")
        << fixture("cpuinfo/x86-intel-i5-3317u-2vcpu-virtualbox.txt")
        << fixture("dmidecode/one-module-mb-2048-single-core-futro-s700.txt") << QByteArray() << false
        << quint64(1600000000);
    QTest::newRow("lscpu max wins") << e4310 << fixture("dmidecode/two-modules-gb-4-hp-t620.txt")
                                    << fixture("lscpu/x86-cpu-mhz-max-min-celeron-j4105.txt") << false
                                    << quint64(2500000000);
    QTest::newRow("firmware beats lscpu")
        << e4310 << fixture("dmidecode/one-module-gb-4-plus-empty-slot-ht-lenovo-m710q-tiny.txt")
        << fixture("lscpu/x86-cpu-mhz-max-min-pentium-2020m.txt") << false << quint64(3400000000);
    QTest::newRow("arm64, no cpu MHz")
        << fixture("cpuinfo/arm64-biglittle-a510-a710-a715-x3-8cpu.txt")
        << fixture("dmidecode/arm64-ampere-altra-four-modules-gb-8-four-empty.txt")
        << fixture("lscpu/arm64-cortex-a53-max-min-no-cur.txt") << false << quint64(2200000000);
    QTest::newRow("sudo refuses") << e4310
                                  << fixture(
                                         "dmidecode/one-module-gb-4-plus-empty-slot-ht-lenovo-m710q-tiny.txt")
                                  << fixture("lscpu/armv6l-arm1176-no-mhz-lines.txt") << true
                                  << quint64(1199000000);
    QTest::newRow("no source at all") << QByteArray() << QByteArray() << QByteArray() << true << quint64(0);
}

void TestCpu::probe()
{
    QFETCH(QByteArray, cpuInfo);
    QFETCH(QByteArray, dmidecode);
    QFETCH(QByteArray, lscpu);
    QFETCH(bool, sudoRefuses);
    QFETCH(quint64, hertz);

    QTemporaryDir dir;
    std::string cpuInfoPath = QFile::encodeName(dir.filePath("cpuinfo")).toStdString();
    if (!cpuInfo.isEmpty()) {
        QFile file(dir.filePath("cpuinfo"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(cpuInfo);
    }
    FakeCommands fakes(dmidecode, lscpu, sudoRefuses);
    QCOMPARE(quint64(getCpuFrequency(cpuInfoPath)), hertz);
    // Both commands always run, exactly as written, whatever the kernel gave.
    const QStringList expected = sudoRefuses ? QStringList{"sudo dmidecode -t 4", "lscpu"}
                                             : QStringList{"sudo dmidecode -t 4", "dmidecode -t 4", "lscpu"};
    QCOMPARE(fakes.commands(), expected);
}

void TestCpu::probeLogsWhatItRead()
{
    FakeCommands fakes(fixture("dmidecode/one-module-mb-2048-single-core-futro-s700.txt"),
                       fixture("lscpu/x86-cpu-mhz-max-min-pentium-2020m.txt"), false);
    capturedInfo.clear();
    const QtMessageHandler previous = qInstallMessageHandler(captureInfo);
    getCpuFrequency("/nonexistent/cpuinfo");
    qInstallMessageHandler(previous);

    const QStringList outputs = capturedInfo.filter(QRegularExpression("^processor info :  \\("));
    QCOMPARE(outputs.size(), 2);
    QVERIFY(outputs[0].contains("Max Speed: 1200 MHz\""));
    QVERIFY(outputs[1].contains("CPU max MHz:"));
    // One "colons" line for each of the three MHz lines of this lscpu.
    const QStringList colons = capturedInfo.filter(QRegularExpression("^colons :  \\("));
    QCOMPARE(colons.size(), 3);
    QVERIFY(colons[1].endsWith(", \"2400.0000\")"));
}

void TestCpu::probeReadsTheRealCpuInfo()
{
    std::ifstream real("/proc/cpuinfo");
    if (!real)
        QSKIP("no /proc/cpuinfo");
    // The live figure moves between two reads, so only whether the kernel gave one is compared.
    const bool kernelHasFigure = cpuInfoFrequency(real) > 0;
    FakeCommands fakes(QByteArray(), QByteArray(), false);
    QCOMPARE(getCpuFrequency() > 0, kernelHasFigure);
}

void TestCpu::architecture_data()
{
    QTest::addColumn<QString>("machine");
    QTest::addColumn<int>("architecture");
    QTest::newRow("x86_64") << "x86_64" << int(CpuArchitecture::x86_64);
    QTest::newRow("armv7l") << "armv7l" << int(CpuArchitecture::arm);
    QTest::newRow("aarch64 is not arm*") << "aarch64" << int(CpuArchitecture::unknown);
    QTest::newRow("arm only at the start") << "xarm" << int(CpuArchitecture::unknown);
    QTest::newRow("ia64") << "ia64" << int(CpuArchitecture::ia64);
    QTest::newRow("IA64") << "IA64" << int(CpuArchitecture::ia64);
    QTest::newRow("i686") << "i686" << int(CpuArchitecture::x86);
    QTest::newRow("i386") << "i386" << int(CpuArchitecture::unknown);
    QTest::newRow("exact match only") << "x86_64_v2" << int(CpuArchitecture::unknown);
}

void TestCpu::architecture()
{
    QFETCH(QString, machine);
    QFETCH(int, architecture);
    QCOMPARE(int(cpuArchitectureFromMachine(machine.toLatin1().constData())), architecture);
}

void TestCpu::cpuInfoField_data()
{
    QTest::addColumn<QByteArray>("cpuInfo");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("value");
    const QByteArray e4310 = fixture("cpuinfo/x86-intel-i5-m560-2c4t-ht-dell-e4310.txt");
    QTest::newRow("vendor finds vendor_id") << e4310 << "vendor"
                                            << "GenuineIntel";
    QTest::newRow("model name keeps inner blanks") << e4310 << "model name"
                                                   << "Intel(R) Core(TM) i5 CPU       M 560  @ 2.67GHz";
    QTest::newRow("arm64 has no model name")
        << fixture("cpuinfo/arm64-biglittle-a510-a710-a715-x3-8cpu.txt") << "model name"
        << "";
    QTest::newRow("arm64 first line wins")
        << fixture("cpuinfo/arm64-biglittle-a510-a710-a715-x3-8cpu.txt") << "CPU part"
        << "0xd46";
    QTest::newRow("blank after colon") << QByteArray("vendor_id : ExampleVendor\n") << "vendor"
                                       << "ExampleVendor";
    QTest::newRow("absent key") << QByteArray("vendor_id : ExampleVendor\n") << "model name"
                                << "";
}

void TestCpu::cpuInfoField()
{
    QFETCH(QByteArray, cpuInfo);
    QFETCH(QString, key);
    QFETCH(QString, value);
    std::istringstream text(cpuInfo.toStdString());
    QCOMPARE(QString::fromStdString(::cpuInfoField(text, key.toLatin1().constData())), value);
}

void TestCpu::identityOfThisMachine()
{
    QCOMPARE(readCpuInfoField("vendor", "/nonexistent/cpuinfo"), std::string());
#if defined(__x86_64__)
    QCOMPARE(getCpuArchitecture(), CpuArchitecture::x86_64);
    // CPUID lays the vendor out as EBX, EDX, ECX; the kernel prints the same text.
    QCOMPARE(QString::fromStdString(getCpuVendorId()), QString::fromStdString(getCpuVendor()));
    QVERIFY(getCpuVendorId().size() == 12);
#else
    QSKIP("identity checks are for x86_64 hosts; the aarch64 check covers Arm");
#endif
}

QTEST_GUILESS_MAIN(TestCpu)
#include "tst_cpu.moc"
