// Release files and memory counters of real machines, kernel versions and the mouse count.
#include <QtTest>
#include <sstream>

#include "osinfo.h"
#include "support.h"

using testsupport::writeFile;

static QByteArray os(const QString &name)
{
    return testsupport::fixture("os-release/" + name);
}
template <typename Info> static QString version(const Info &i)
{
    return QStringLiteral("%1.%2.%3.%4").arg(i.major).arg(i.minor).arg(i.patch).arg(i.buildNumber);
}

class TestOsInfo : public QObject
{
    Q_OBJECT
private slots:
    void release_data()
    {
        QTest::addColumn<QByteArray>("text");  // read as lsb-release when it starts with DISTRIB_
        QTest::addColumn<QString>("expected"); // name|full name|version
        QTest::newRow("quoted, blank line")
            << os("centos-7-blank-line.os-release") << "CentOS Linux|CentOS Linux 7 (Core)|7.0.0.0";
        QTest::newRow("unquoted") << os("fedora-40-workstation-unquoted-version-id.os-release")
                                  << "Fedora Linux|Fedora Linux 40 (Workstation Edition)|40.0.0.0";
        QTest::newRow("three parts") << os("xcp-ng-7.4.0-quoted-three-part-version-id.os-release")
                                     << "XCP-ng|XCP-ng 7.4.0|7.4.0.0";
        QTest::newRow("later NAME, inner quotes, low 32 bits")
            << QByteArray("NAME=a\nNAME=\"b\"c\"\nVERSION_ID=4294967297\n") << "b\"c||1.0.0.0";
        QTest::newRow("lsb file") << os("ubuntu-24.04.lsb-release") << "Ubuntu|Ubuntu 24.04.3 LTS|24.4.0.0";
        QTest::newRow("lsb: quoted id, unquoted description cut short, any separator")
            << QByteArray("DISTRIB_ID=\"Corp\"\nDISTRIB_DESCRIPTION=Plain\nDISTRIB_RELEASE=5-6 7x8\n")
            << "\"Corp\"|DISTRIB_DESCRIPTION=Plai|5.6.7.8";
    }
    void release()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, expected);
        std::istringstream in(text.toStdString());
        const OsInfo info = text.startsWith("DISTRIB_") ? osInfoFromLsbRelease(in) : osInfoFromOsRelease(in);
        QCOMPARE(QString::fromStdString(info.name + '|' + info.fullName + '|') + version(info), expected);
    }
    void releaseFileOrder()
    {
        QTemporaryDir root; // each file added takes over from those before it
        for (const QString file : {"etc/lsb-release", "usr/lib/os-release", "etc/os-release"}) {
            writeFile(root.filePath(file),
                      "PRETTY_NAME=" + file.toUtf8() + "\nDISTRIB_DESCRIPTION=\"" + file.toUtf8() + "\"\n");
            QCOMPARE(getOsInfo(root.path().toStdString()).fullName, file.toStdString());
        }
    }
    void kernelAndMemory()
    {
        QCOMPARE(version(kernelInfo("Linux", "5.4.0-77-generic")), QString("5.4.0.77")); // "-" counts as "."
        QCOMPARE(kernelInfo("Darwin", "21.6.0").kernel, KernelType::darwin);
        const MemoryInfo m = getMemoryInfo(
            qPrintable(testsupport::fixturePath("meminfo/x86-server-xeon-e5-2690-128gb-two-numa-nodes.txt")));
        QCOMPARE(QList<quint64>({m.physicalTotal, m.physicalAvailable, m.virtualTotal, m.virtualAvailable}),
                 QList<quint64>({131831052ull << 10, 118425544ull << 10, 34359738367ull << 10,
                                 (34359738367ull - 513640) << 10}));
    }
    void mice()
    {
        QTemporaryDir input;
        const QByteArray pattern = QFile::encodeName(input.filePath("mouse*"));
        QCOMPARE(countMice(pattern.constData()), 0u); // the unmatched pattern comes back as one word
        for (const QString node : {"mice", "event0", "mouse0", "mouse1"})
            writeFile(input.filePath(node), QByteArray());
        QCOMPARE(countMice(pattern.constData()), 2u);
        QCOMPARE(countMice((pattern + ";|").constData()), 0u); // rejected by the shell rules
        const QByteArray pwned = QFile::encodeName(input.filePath("pwned"));
        for (const QByteArray &substitution : {"$(touch " + pwned + ")", "`touch " + pwned + "`"})
            QCOMPARE(countMice((pattern + substitution).constData()), 0u);
        QVERIFY(!QFile::exists(input.filePath("pwned")));
    }
};

QTEST_GUILESS_MAIN(TestOsInfo)
#include "tst_osinfo.moc"
