// Package counts, cache file contents and the CPUID extension gates over made-up input.
#include <QtTest>
#include <sstream>

#include "cputopology.h"

// One stream refilled at each call, as the parsers take a stream by reference.
static std::istream &stream(const QByteArray &text)
{
    static std::istringstream in;
    in.clear();
    in.str(text.toStdString());
    return in;
}

class TestCpuTopology : public QObject
{
    Q_OBJECT
private slots:
    void quantities()
    {
        const auto counts = [](const QByteArray &cpuInfo) {
            const CpuQuantities q = cpuQuantities(8, stream(cpuInfo));
            return QString("%1 %2 %3").arg(q.logical).arg(q.physical).arg(q.packages);
        };
        const QByteArray id0 = "physical id\t: 0\n", id1 = "physical id\t: 1\n";
        // Ids count once whatever their order; a line without digits is no package.
        QCOMPARE(counts(id1 + "physical id\t:\n" + id0.repeated(4) + id1.repeated(3)), QString("8 4 2"));
        QCOMPARE(counts("processor\t: 7\nCPU part\t: 0xd46\n"), QString("8 0 0")); // Arm prints no ids
    }
    void cacheFiles()
    {
        const auto size = [](const char *text) { return QString::number(cacheSize(stream(text))); };
        QCOMPARE(QStringList({size("32K"), size("1M"), size("1G"), size("512"), size("32k")}).join(' '),
                 QString("32768 1048576 1073741824 512 32")); // lower-case units are left as read
        QCOMPARE(cacheType(stream("Data\n")), CacheType::data);
        QCOMPARE(cacheType(stream("Metadata\n")), CacheType::unified);
    }
    void extensionGates()
    {
        // Every feature bit set; what the gates let through is counted by gate.
        const auto count = [](std::uint32_t highestExtended, std::uint64_t xcr0) {
            const CpuidQuery allBits = [=](std::uint32_t r[4], std::uint32_t leaf) {
                std::fill(r, r + 4, leaf == 0 ? 7u : leaf == 0x80000000 ? highestExtended : ~0u);
            };
            return int(instructionSetExtensions(allBits, [=] { return xcr0; }).size());
        };
        // The OS saving only the AVX state drops the ten AVX-512 codes; saving none drops AVX2 too;
        // no extended leaf past the first leaves its nine bits unread.
        QCOMPARE(QList<int>({count(0x80000001, 0xe6), count(0x80000001, 6), count(0x80000001, 0),
                             count(0x80000000, 0xe6)}),
                 QList<int>({38, 28, 27, 29}));
    }
};

QTEST_GUILESS_MAIN(TestCpuTopology)
#include "tst_cputopology.moc"
