// The processor frequency through the fake sudo, dmidecode and lscpu over real machines'
// outputs, and its identity.
#include <QtTest>

#include "cpu.h"
#include "cpufrequency.h"
#include "fakecommands.h"

using testsupport::fixture;

static const QString e4310 = "cpuinfo/x86-intel-i5-m560-2c4t-ht-dell-e4310.txt";

class TestCpu : public QObject
{
    Q_OBJECT
    FakeCommands fakes;

private slots:
    void initTestCase() { QVERIFY(fakes.isValid()); }
    void frequency_data()
    {
        QTest::addColumn<QByteArray>("cpuinfo");
        QTest::addColumn<QByteArray>("dmidecode"); // empty: the command fails, as a refused sudo does
        QTest::addColumn<QByteArray>("lscpu");
        QTest::addColumn<quint64>("hertz");
        const auto row = [](const char *tag, const QByteArray &cpuinfo, const QByteArray &dmidecode,
                            const QByteArray &lscpu,
                            quint64 hertz) { QTest::newRow(tag) << cpuinfo << dmidecode << lscpu << hertz; };
        const QByteArray mhz = "cpu MHz\t\t: 1200.000\n", socket = "\n\tMax Speed: ";
        row("last cpu MHz, not the highest", "cpu MHz: 3000\n" + mhz, "", "", 1200000000);
        row("Max Speed beats cpu MHz", mhz, socket + "2600 MHz\n", "", 2600000000);
        row("Unknown socket", mhz, socket + "2600 MHz" + socket + "Unknown", "", 1200000000);
        row("older lscpu with CPU MHz", fixture(e4310), fixture("dmidecode/two-modules-gb-4-hp-t620.txt"),
            fixture("lscpu/x86-cpu-mhz-max-min-pentium-2020m.txt"), 2400000000);
        row("newer lscpu, 45% ignored", "", "",
            fixture("lscpu/x86-new-format-no-cpu-mhz-scaling-pct-i7-1165g7-utillinux.txt"), 4700000000);
        row("arm64 without cpu MHz", fixture("cpuinfo/arm64-biglittle-a510-a710-a715-x3-8cpu.txt"), "",
            fixture("lscpu/arm64-cortex-a55-max-min-no-cur.txt"), 1908000000);
        row("fraction truncated", "", "", "CPU max MHz:  2399.999\n", 2399999000);
        row("Board 800MHz never wins", "", "", "Model name: Board 800MHz\n", 0);
        row("a figure no count holds loses nothing", "", "",
            "CPU max MHz: 3000\nCPU x MHz: 1e300\nCPU min MHz: 800\n", 3000000000);
    }
    void frequency()
    {
        QFETCH(QByteArray, cpuinfo);
        QFETCH(QByteArray, dmidecode);
        QFETCH(QByteArray, lscpu);
        QFETCH(quint64, hertz);
        fakes.clear();
        fakes.put("cpuinfo", cpuinfo);
        if (!dmidecode.isEmpty())
            fakes.put("dmidecode.out", dmidecode);
        if (!lscpu.isEmpty())
            fakes.put("lscpu.out", lscpu);
        if (QByteArray(QTest::currentDataTag()) == "Max Speed beats cpu MHz") // the firmware's lines, as read
            QTest::ignoreMessage(QtInfoMsg, R"(processor info :  ("Max Speed: 2600 MHz"))");
        const QString cpuinfoPath = qEnvironmentVariable("PROBIX_FAKE_DIR") + "/cpuinfo";
        QCOMPARE(getCpuFrequency(QFile::encodeName(cpuinfoPath).toStdString()), hertz);
        // Both commands run every time, exactly as written, whatever the kernel gave.
        QCOMPARE(fakes.fakeLog(), QStringList({"sudo dmidecode -t 4", "dmidecode -t 4", "lscpu "}));
    }
    void identity()
    {
        // The kernel's machine name decides; "aarch64" is not an "arm*" name.
        QCOMPARE(cpuArchitectureFromMachine("x86_64"), CpuArchitecture::x86_64);
        QCOMPARE(cpuArchitectureFromMachine("armv7l"), CpuArchitecture::arm);
        QCOMPARE(cpuArchitectureFromMachine("aarch64"), CpuArchitecture::unknown);
        // "vendor" finds x86's "vendor_id"; the blanks inside a value stay.
        const std::string path = QFile::encodeName(testsupport::fixturePath(e4310)).toStdString();
        QCOMPARE(readCpuInfoField("vendor", path.c_str()), std::string("GenuineIntel"));
        QCOMPARE(readCpuInfoField("model name", path.c_str()),
                 std::string("Intel(R) Core(TM) i5 CPU       M 560  @ 2.67GHz"));
        QCOMPARE(readCpuInfoField("vendor", "/nonexistent/cpuinfo"), std::string());
#if defined(__x86_64__)
        // CPUID lays the vendor out as EBX, EDX, ECX; the kernel prints the same text on "vendor_id".
        QCOMPARE(getCpuVendorId(), getCpuVendor());
#endif
    }
};
QTEST_GUILESS_MAIN(TestCpu)
#include "tst_cpu.moc"
