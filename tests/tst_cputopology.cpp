// Package counts over real /proc/cpuinfo files, cache geometry over sysfs-like
// folders, and the CPUID extension table over made-up register contents.
#include <QTemporaryDir>
#include <QtTest>
#include <array>
#include <fstream>
#include <map>
#include <sstream>

#include "cputopology.h"

Q_DECLARE_METATYPE(CacheType)

namespace
{

QByteArray fixture(const QString &name)
{
    QFile file(QStringLiteral(PROBIX_TEST_DATA "/") + name);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("missing fixture %s", qPrintable(name));
    return file.readAll();
}

using Registers = std::map<std::uint32_t, std::array<std::uint32_t, 4>>;

QString joined(const std::vector<InstructionSetExtension> &codes)
{
    QStringList parts;
    for (InstructionSetExtension code : codes)
        parts << QString::number(code);
    return parts.join(',');
}

CpuidQuery fakeCpuid(const Registers &leaves)
{
    return [leaves](std::uint32_t registers[4], std::uint32_t leaf) {
        const auto found = leaves.find(leaf);
        if (found != leaves.end())
            std::copy(found->second.begin(), found->second.end(), registers);
    };
}

const std::array<std::uint32_t, 4> allBits = {~0u, ~0u, ~0u, ~0u};

} // namespace

class TestCpuTopology : public QObject
{
    Q_OBJECT

private slots:
    void quantities_data();
    void quantities();
    void cacheSize_data();
    void cacheSize();
    void cacheType_data();
    void cacheType();
    void cacheFolder();
    void extensions_data();
    void extensions();
    void extendedControlOnlyWithOsxsave();
    void extensionsOfThisMachine();
};

void TestCpuTopology::quantities_data()
{
    QTest::addColumn<QByteArray>("cpuInfo");
    QTest::addColumn<uint>("logical");
    QTest::addColumn<uint>("physical");
    QTest::addColumn<uint>("packages");
    QTest::newRow("x86 laptop, one package")
        << fixture("cpuinfo/x86-intel-i5-m560-2c4t-ht-dell-e4310.txt") << 4u << 4u << 1u;
    QTest::newRow("x86 eight threads")
        << fixture("cpuinfo/x86-intel-i7-1165g7-4c8t-linux6.2.txt") << 8u << 8u << 1u;
    QTest::newRow("arm64 prints no physical id")
        << fixture("cpuinfo/arm64-biglittle-a510-a710-a715-x3-8cpu.txt") << 8u << 0u << 0u;
    QTest::newRow("two packages on eight processors")
        << QByteArray("physical id\t: 0\n").repeated(4) + QByteArray("physical id\t: 1\n").repeated(4) << 8u
        << 4u << 2u;
    QTest::newRow("sixteen lines of one id")
        << QByteArray("physical id\t: 0\n").repeated(16) << 16u << 16u << 1u;
    QTest::newRow("ids out of order counted once")
        << QByteArray("physical id : 3\nphysical id : 1\nphysical id : 3\n") << 4u << 2u << 2u;
    QTest::newRow("line without digits skipped")
        << QByteArray("physical id : \nphysical id : 7\n") << 2u << 2u << 1u;
}

void TestCpuTopology::quantities()
{
    QFETCH(QByteArray, cpuInfo);
    QFETCH(uint, logical);
    QFETCH(uint, physical);
    QFETCH(uint, packages);
    std::istringstream text(cpuInfo.toStdString());
    const CpuQuantities result = cpuQuantities(logical, text);
    QCOMPARE(result.logical, logical);
    QCOMPARE(result.physical, physical);
    QCOMPARE(result.packages, packages);
}

void TestCpuTopology::cacheSize_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<quint64>("bytes");
    QTest::newRow("32K") << "32K\n" << quint64(32768);
    QTest::newRow("1M") << "1M\n" << quint64(1048576);
    QTest::newRow("1G") << "1G\n" << quint64(1073741824);
    QTest::newRow("no unit") << "512\n" << quint64(512);
    QTest::newRow("lower-case k not a unit") << "32k\n" << quint64(32);
    QTest::newRow("not a number") << "K\n" << quint64(0);
}

void TestCpuTopology::cacheSize()
{
    QFETCH(QString, text);
    QFETCH(quint64, bytes);
    std::istringstream stream(text.toStdString());
    QCOMPARE(quint64(::cacheSize(stream)), bytes);
}

void TestCpuTopology::cacheType_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<CacheType>("type");
    QTest::newRow("Unified") << "Unified\n" << CacheType::unified;
    QTest::newRow("unified") << "unified\n" << CacheType::unified;
    QTest::newRow("Instruction") << "Instruction\n" << CacheType::instruction;
    QTest::newRow("Data") << "Data\n" << CacheType::data;
    QTest::newRow("Trace") << "Trace\n" << CacheType::trace;
    QTest::newRow("Metadata is not data") << "Metadata\n" << CacheType::unified;
}

void TestCpuTopology::cacheType()
{
    QFETCH(QString, text);
    QFETCH(CacheType, type);
    std::istringstream stream(text.toStdString());
    QCOMPARE(::cacheType(stream), type);
}

void TestCpuTopology::cacheFolder()
{
    QTemporaryDir root;
    const auto write = [&](const QString &name, const QByteArray &text) {
        QVERIFY(QDir(root.path()).mkpath(QFileInfo(name).path()));
        QFile file(root.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(text);
    };
    write("index2/size", "1024K\n");
    write("index2/coherency_line_size", "64\n");
    write("index2/associativity", "260\n"); // low 8 bits: 4
    write("index2/type", "Instruction\n");
    write("index3/coherency_line_size", "128\n"); // the other three files missing
    const std::string prefix = QFile::encodeName(root.filePath("index")).toStdString();

    const CpuCache second = getCpuCache(2, prefix);
    QCOMPARE(quint64(second.size), quint64(1048576));
    QCOMPARE(quint64(second.lineSize), quint64(64));
    QCOMPARE(int(second.associativity), 4);
    QCOMPARE(second.type, CacheType::instruction);

    const CpuCache partial = getCpuCache(3, prefix);
    QCOMPARE(quint64(partial.size), quint64(0));
    QCOMPARE(quint64(partial.lineSize), quint64(128));
    QCOMPARE(int(partial.associativity), 0);

    const CpuCache absent = getCpuCache(20, prefix);
    QCOMPARE(quint64(absent.size) + absent.lineSize + absent.associativity, quint64(0));
    QCOMPARE(absent.type, CacheType::unified);

    if (QFile::exists("/sys/devices/system/cpu/cpu0/cache/index0/size"))
        QVERIFY(getCpuCache(0).size > 0);
}

void TestCpuTopology::extensions_data()
{
    QTest::addColumn<int>("highestLeaf");
    QTest::addColumn<uint>("highestExtendedLeaf");
    QTest::addColumn<quint64>("xcr0");
    QTest::addColumn<QString>("codes");
    const QString basic = "3,2,4,5,6,7,9,10,11,32,35";
    const QString extended = "36,37,0,1,36,26,27,28,29";
    QTest::newRow("everything, table order kept")
        << 7 << 0x80000001u << quint64(0xe6)
        << basic + ",13,25,26,27,28,29,30,14,15,16,17,18,19,20,22,23,24,31," + extended;
    QTest::newRow("OS saves no AVX state")
        << 7 << 0x80000001u << quint64(0) << basic + ",25,26,27,28,29,30,31," + extended;
    QTest::newRow("AVX but no AVX-512 state")
        << 7 << 0x80000001u << quint64(0x6) << basic + ",13,25,26,27,28,29,30,31," + extended;
    QTest::newRow("highest leaf 6: no leaf 7") << 6 << 0x80000001u << quint64(0x6) << basic + "," + extended;
    QTest::newRow("AVX-512 rows do not look at the highest leaf")
        << 1 << 0x80000000u << quint64(0xe6) << basic + ",14,15,16,17,18,19,20,22,23,24";
    QTest::newRow("negative highest leaf") << -1 << 0x80000001u << quint64(0) << extended;
    QTest::newRow("no CPUID, registers stay zero") << 0 << 0u << quint64(0) << "";
}

void TestCpuTopology::extensions()
{
    QFETCH(int, highestLeaf);
    QFETCH(uint, highestExtendedLeaf);
    QFETCH(quint64, xcr0);
    QFETCH(QString, codes);
    Registers leaves = {{0, {std::uint32_t(highestLeaf), 0, 0, 0}},
                        {0x80000000, {highestExtendedLeaf, 0, 0, 0}},
                        {1, allBits},
                        {7, allBits},
                        {0x80000001, allBits}};
    if (highestLeaf == 0 && highestExtendedLeaf == 0)
        leaves.clear();
    QCOMPARE(joined(instructionSetExtensions(fakeCpuid(leaves), [xcr0] { return xcr0; })), codes);
    QCOMPARE(osAvxSupport(fakeCpuid(leaves), [xcr0] { return xcr0; }), !leaves.empty() && (xcr0 & 6) == 6);
}

void TestCpuTopology::extendedControlOnlyWithOsxsave()
{
    // Bit 28 (AVX) without bit 27 (OSXSAVE): reading XCR0 there would fault.
    const Registers leaves = {{0, {1, 0, 0, 0}}, {1, {0, 0, 1u << 28, 0}}};
    int reads = 0;
    const ExtendedControlQuery control = [&reads] {
        ++reads;
        return std::uint64_t(0xe6);
    };
    QCOMPARE(osAvxSupport(fakeCpuid(leaves), control), false);
    QCOMPARE(joined(instructionSetExtensions(fakeCpuid(leaves), control)), QString("32"));
    QCOMPARE(reads, 0);
}

void TestCpuTopology::extensionsOfThisMachine()
{
#if defined(__x86_64__)
    std::ifstream cpuInfo("/proc/cpuinfo");
    std::string line;
    QStringList flags;
    while (std::getline(cpuInfo, line))
        if (line.rfind("flags", 0) == 0) {
            flags = QString::fromStdString(line.substr(line.find(':') + 1)).split(' ', Qt::SkipEmptyParts);
            break;
        }
    if (flags.isEmpty())
        QSKIP("no flags line in /proc/cpuinfo");
    // The kernel names the same CPUID bits; a wrong register or leaf shows up here.
    // Codes 26 to 29 and 37 stand for different bits on different vendors, so they are left out.
    const std::vector<InstructionSetExtension> codes = getInstructionSetExtensions();
    const std::map<QString, InstructionSetExtension> sameBit = {
        {"acpi", 3},   {"mmx", 2},     {"sse", 4},      {"sse2", 5}, {"pni", 6},      {"ssse3", 7},
        {"sse4_1", 9}, {"sse4_2", 10}, {"aes", 11},     {"avx", 32}, {"fma", 35},     {"avx2", 13},
        {"hle", 25},   {"sha_ni", 30}, {"avx512f", 15}, {"lm", 36},  {"3dnowext", 0}, {"3dnow", 1}};
    for (const auto &[flag, code] : sameBit)
        QVERIFY2(flags.contains(flag) == (std::find(codes.begin(), codes.end(), code) != codes.end()),
                 qPrintable(flag));
    QCOMPARE(hasOsAvxSupport(), flags.contains("avx"));
#else
    QSKIP("x86 only; the aarch64 check covers Arm");
#endif
}

QTEST_GUILESS_MAIN(TestCpuTopology)
#include "tst_cputopology.moc"
