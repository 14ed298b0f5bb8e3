// The processor frequency through fake commands over real machines' outputs, and its identity.
#include <QTemporaryDir>
#include <QtTest>

#include "cpu.h"
#include "cpufrequency.h"

static const QByteArray e4310 = "cpuinfo/x86-intel-i5-m560-2c4t-ht-dell-e4310.txt";
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
    // and prints <name>.out from its own folder; sudo runs what it is given. Texts: cpuinfo, dmidecode,
    // lscpu.
    QTemporaryDir m_bin;
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
        using L = QByteArrayList;
        const QByteArray mhz = "cpu MHz\t\t: 1200.000\n", socket = "\n\tMax Speed: ";
        QTest::newRow("last cpu MHz, not the highest") << L{"cpu MHz: 3000\n" + mhz} << 1200000000ull;
        QTest::newRow("Max Speed beats cpu MHz") << L{mhz, socket + "2600 MHz\n"} << 2600000000ull;
        QTest::newRow("Unknown socket") << L{mhz, socket + "2600 MHz" + socket + "Unknown"} << 1200000000ull;
        QTest::newRow("older lscpu with CPU MHz")
            << L{load(e4310), load("dmidecode/two-modules-gb-4-hp-t620.txt"),
                 load("lscpu/x86-cpu-mhz-max-min-pentium-2020m.txt")}
            << 2400000000ull;
        QTest::newRow("newer lscpu, 45% ignored")
            << L{"", "", load("lscpu/x86-new-format-no-cpu-mhz-scaling-pct-i7-1165g7-utillinux.txt")}
            << 4700000000ull;
        QTest::newRow("arm64 without cpu MHz")
            << L{load("cpuinfo/arm64-biglittle-a510-a710-a715-x3-8cpu.txt"), "",
                 load("lscpu/arm64-cortex-a55-max-min-no-cur.txt")}
            << 1908000000ull;
        QTest::newRow("fraction truncated") << L{"", "", "CPU max MHz:  2399.999\n"} << 2399999000ull;
        QTest::newRow("Board 800MHz never wins") << L{"", "", "Model name: Board 800MHz\n"} << 0ull;
        QTest::newRow("a figure no count holds loses nothing")
            << L{"", "", "CPU max MHz: 3000\nCPU x MHz: 1e300\nCPU min MHz: 800\n"} << 3000000000ull;
    }
    void frequency()
    {
        QFETCH(QByteArrayList, texts);
        QFETCH(quint64, hertz);
        if (QByteArray(QTest::currentDataTag()) == "Max Speed beats cpu MHz") // the firmware's lines, as read
            QTest::ignoreMessage(QtInfoMsg, R"(processor info :  ("Max Speed: 2600 MHz"))");
        QCOMPARE(frequencyOf(texts), hertz);
        // Both commands run every time, exactly as written, whatever the kernel gave.
        QCOMPARE(load("commands.log", m_bin.path()),
                 QByteArray("sudo dmidecode -t 4\ndmidecode -t 4\nlscpu\n"));
    }
    void identity()
    {
        // The kernel's machine name decides; "aarch64" is not an "arm*" name.
        QCOMPARE(cpuArchitectureFromMachine("x86_64"), CpuArchitecture::x86_64);
        QCOMPARE(cpuArchitectureFromMachine("armv7l"), CpuArchitecture::arm);
        QCOMPARE(cpuArchitectureFromMachine("aarch64"), CpuArchitecture::unknown);
        // "vendor" finds x86's "vendor_id"; the blanks inside a value stay.
        const QByteArray path = PROBIX_TEST_DATA "/" + e4310;
        QCOMPARE(readCpuInfoField("vendor", path.constData()), std::string("GenuineIntel"));
        QCOMPARE(readCpuInfoField("model name", path.constData()),
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
