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
        QTest::addColumn<QByteArrayList>("outputs"); // cpuinfo, dmidecode, lscpu; empty: a failing command
        QTest::addColumn<quint64>("hertz");
        const auto row = [](const char *tag, const QByteArray &cpuinfo, const QByteArray &dmidecode,
                            const QByteArray &lscpu, quint64 hertz) {
            QTest::newRow(tag) << QByteArrayList{cpuinfo, dmidecode, lscpu} << hertz;
        };
        const QByteArray t620 = fixture("dmidecode/two-modules-gb-4-hp-t620.txt"),
                         pentium = fixture("lscpu/x86-cpu-mhz-max-min-pentium-2020m.txt"),
                         i7 = fixture("lscpu/x86-new-format-no-cpu-mhz-scaling-pct-i7-1165g7-utillinux.txt");
        row("t620's firmware beats e4310's kernel", fixture(e4310), t620, "", 1650000000);
        row("the last socket and the last cpu MHz count", "cpu MHz\t: 3000\ncpu MHz\t\t: 1200.000\n",
            "Max Speed: 2600 MHz\nMax Speed: Unknown", "", 1200000000);
        row("lscpu's max beats CPU MHz before it and min after", "", "", pentium, 2400000000);
        row("newer lscpu, 45% ignored", "", "", i7, 4700000000);
        row("MHz fraction kept; a name's 9000MHz, 1e300 and min lose", "", "",
            "Model name: Board 9000MHz\nCPU max MHz:  2399.999\nCPU x MHz: 1e300\nCPU min MHz: 800\n",
            2399999000);
    }
    void frequency()
    {
        QFETCH(QByteArrayList, outputs);
        fakes.clear();
        for (int i = 0; i < 3; ++i)
            fakes.put(QStringList({"cpuinfo", "dmidecode.out", "lscpu.out"})[i], outputs[i]);
        if (outputs[1].startsWith("Max Speed: 2600")) // the firmware's lines, as read
            QTest::ignoreMessage(QtInfoMsg,
                                 R"(processor info :  ("Max Speed: 2600 MHz", "Max Speed: Unknown"))");
        const QByteArray cpuinfo = qgetenv("PROBIX_FAKE_DIR") + "/cpuinfo";
        QTEST(quint64(getCpuFrequency(cpuinfo.toStdString())), "hertz");
        // Both commands run every time, exactly as written, whatever the kernel gave.
        QCOMPARE(fakes.fakeLog(), QStringList({"sudo dmidecode -t 4", "dmidecode -t 4", "lscpu "}));
    }
    void identity()
    {
        QCOMPARE(cpuArchitectureFromMachine("x86_64"), CpuArchitecture::x86_64);
        QCOMPARE(cpuArchitectureFromMachine("armv7l"), CpuArchitecture::arm);
        QCOMPARE(cpuArchitectureFromMachine("aarch64"), CpuArchitecture::unknown); // not an "arm*" name
        // "vendor" finds x86's "vendor_id"; the blanks inside a value stay.
        const std::string path = QFile::encodeName(testsupport::fixturePath(e4310)).toStdString();
        QCOMPARE(readCpuInfoField("vendor", path.c_str()) + '|' +
                     readCpuInfoField("model name", path.c_str()),
                 std::string("GenuineIntel|Intel(R) Core(TM) i5 CPU       M 560  @ 2.67GHz"));
#if defined(__x86_64__)
        // CPUID lays the vendor out as EBX, EDX, ECX; the kernel prints the same text on "vendor_id".
        QCOMPARE(getCpuVendorId(), getCpuVendor());
#endif
    }
};
QTEST_GUILESS_MAIN(TestCpu)
#include "tst_cpu.moc"
