// The processor frequency from its three sources through fake commands on PATH,
// over the outputs of real machines, and the processor's identity.
#include <QTemporaryDir>
#include <QtTest>

#include "cpu.h"
#include "cpufrequency.h"

Q_DECLARE_METATYPE(CpuArchitecture)

// A fixture file, or a file of the fake commands' folder.
static QByteArray load(const QString &name, const QString &folder = PROBIX_TEST_DATA)
{
    QFile file(folder + '/' + name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("missing " + name.toUtf8());
}

static void writeFile(const QString &path, const QByteArray &text)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(text);
}

class TestCpu : public QObject
{
    Q_OBJECT
    // Fake sudo, dmidecode and lscpu: each appends its command line to commands.log
    // and prints <name>.out from its own folder; sudo runs what it is given.
    QTemporaryDir m_bin;

    // The texts of /proc/cpuinfo, "dmidecode -t 4" and "lscpu", in this order.
    quint64 frequencyOf(const QByteArrayList &texts)
    {
        QFile::remove(m_bin.filePath("commands.log"));
        for (int i = 0; i < 3; ++i)
            writeFile(m_bin.filePath(QStringList{"cpuinfo", "dmidecode.out", "lscpu.out"}[i]),
                      texts.value(i));
        return getCpuFrequency(QFile::encodeName(m_bin.filePath("cpuinfo")).toStdString());
    }

private slots:
    void initTestCase()
    {
        for (const QString name : {"sudo", "dmidecode", "lscpu"}) {
            writeFile(m_bin.filePath(name),
                      "#!/bin/sh\necho \"${0##*/}${*:+ $*}\" >> \"${0%/*}/commands.log\"\n" +
                          QByteArray(name == "sudo" ? "exec \"$@\"\n" : "cat \"${0%/*}/${0##*/}.out\"\n"));
            QVERIFY(QFile::setPermissions(m_bin.filePath(name), QFile::ReadOwner | QFile::ExeOwner));
        }
        qputenv("PATH", QFile::encodeName(m_bin.path()) + ':' + qgetenv("PATH"));
    }
    void frequency_data()
    {
        QTest::addColumn<QByteArrayList>("texts");
        QTest::addColumn<quint64>("hertz");
        const QByteArray kernel1200 = "cpu MHz\t\t: 1200.000\n";
        QTest::newRow("last cpu MHz line, not the highest")
            << QByteArrayList{"cpu MHz\t\t: 3000.000\n" + kernel1200} << quint64(1200000000);
        QTest::newRow("Max Speed beats cpu MHz")
            << QByteArrayList{kernel1200, "\tMax Speed: 2600 MHz\n"} << quint64(2600000000);
        QTest::newRow("second socket Unknown, the kernel decides")
            << QByteArrayList{kernel1200, "Processor Information\n\tMax Speed: 2600 MHz\n\n"
                                          "Processor Information\n\tMax Speed: Unknown\n"}
            << quint64(1200000000);
        QTest::newRow("older lscpu with CPU MHz: max wins")
            << QByteArrayList{load("cpuinfo/x86-intel-i5-m560-2c4t-ht-dell-e4310.txt"),
                              load("dmidecode/two-modules-gb-4-hp-t620.txt"),
                              load("lscpu/x86-cpu-mhz-max-min-pentium-2020m.txt")}
            << quint64(2400000000);
        QTest::newRow("newer lscpu without CPU MHz, 45% ignored")
            << QByteArrayList{"", "",
                              load("lscpu/x86-new-format-no-cpu-mhz-scaling-pct-i7-1165g7-utillinux.txt")}
            << quint64(4700000000);
        QTest::newRow("arm64 without cpu MHz")
            << QByteArrayList{load("cpuinfo/arm64-biglittle-a510-a710-a715-x3-8cpu.txt"), "",
                              load("lscpu/arm64-cortex-a55-max-min-no-cur.txt")}
            << quint64(1908000000);
        QTest::newRow("fraction truncated")
            << QByteArrayList{"", "", "CPU max MHz:  2399.999\n"} << quint64(2399999000);
        QTest::newRow("nothing, and Board 800MHz never wins")
            << QByteArrayList{"", "", "Model name: Board 800MHz\n"} << quint64(0);
    }
    void frequency()
    {
        QFETCH(QByteArrayList, texts);
        QFETCH(quint64, hertz);
        QCOMPARE(frequencyOf(texts), hertz);
        // Both commands run every time, exactly as written, whatever the kernel gave.
        QCOMPARE(load("commands.log", m_bin.path()),
                 QByteArray("sudo dmidecode -t 4\ndmidecode -t 4\nlscpu\n"));
    }
    void logsWhatItRead()
    {
        QTest::ignoreMessage(QtInfoMsg, "processor info :  (\"Max Speed: 1200 MHz\")");
        QCOMPARE(frequencyOf({"", "\tMax Speed: 1200 MHz\n", "CPU max MHz:  2400.0000\n"}),
                 quint64(2400000000));
    }
    void architecture_data()
    {
        // The row's name is the kernel's machine name; "aarch64" is not an "arm*" name.
        QTest::addColumn<CpuArchitecture>("architecture");
        QTest::newRow("x86_64") << CpuArchitecture::x86_64;
        QTest::newRow("armv7l") << CpuArchitecture::arm;
        QTest::newRow("aarch64") << CpuArchitecture::unknown;
        QTest::newRow("IA64") << CpuArchitecture::ia64;
        QTest::newRow("i686") << CpuArchitecture::x86;
    }
    void architecture()
    {
        QFETCH(CpuArchitecture, architecture);
        QCOMPARE(cpuArchitectureFromMachine(QTest::currentDataTag()), architecture);
    }
    void identity()
    {
        // "vendor" finds x86's "vendor_id"; the blanks inside a value stay.
        const char *e4310 = PROBIX_TEST_DATA "/cpuinfo/x86-intel-i5-m560-2c4t-ht-dell-e4310.txt";
        QCOMPARE(readCpuInfoField("vendor", e4310), std::string("GenuineIntel"));
        QCOMPARE(readCpuInfoField("model name", e4310),
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
