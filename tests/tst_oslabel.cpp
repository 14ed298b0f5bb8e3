// The System row's text: the Corvex marker with the agent's product name, or the
// distribution's name with all four version numbers, over temporary roots.
#include <QTemporaryDir>
#include <QtTest>

#include "oslabel.h"

namespace
{

void writeFile(const QString &path, const QByteArray &text)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(text);
}

QByteArray fixture(const QString &name)
{
    QFile file(QStringLiteral(PROBIX_TEST_DATA "/") + name);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("missing fixture %s", qPrintable(name));
    return file.readAll();
}

} // namespace

class TestOsLabel : public QObject
{
    Q_OBJECT

private slots:
    void corvex_data();
    void corvex();
    void distribution_data();
    void distribution();
    void thisMachine();
};

void TestOsLabel::corvex_data()
{
    QTest::addColumn<QByteArray>("agentConfig"); // empty: no file at all
    QTest::addColumn<QString>("label");
    QTest::addColumn<QString>("logged");
    QTest::newRow("alpha in lower case")
        << QByteArray("[commoninfo]\nproductname=fennlake_alpha\n") << "Fennlake_Beta"
        << "product name is  \"fennlake_alpha\"";
    QTest::newRow("alpha as written")
        << QByteArray("[commoninfo]\nproductname=Fennlake_Alpha\n") << "Fennlake_Beta"
        << "product name is  \"Fennlake_Alpha\"";
    QTest::newRow("beta itself is not mapped")
        << QByteArray("[commoninfo]\nproductname=Fennlake_Beta\n") << "Corvex"
        << "product name is  \"Fennlake_Beta\"";
    QTest::newRow("key in another group") << QByteArray("[general]\nproductname=fennlake_alpha\n") << "Corvex"
                                          << "product name is  \"\"";
    QTest::newRow("no agent file") << QByteArray() << "Corvex"
                                   << "product name is  \"\"";
}

void TestOsLabel::corvex()
{
    QFETCH(QByteArray, agentConfig);
    QFETCH(QString, label);
    QFETCH(QString, logged);
    QTemporaryDir dir;
    const QString root = dir.filePath("root");
    const QString appDir = dir.filePath("opt/Tessera/bin");
    QVERIFY(QDir().mkpath(appDir));
    // An empty marker counts, and the release file beside it is never consulted.
    writeFile(root + "/etc/corvex-version", QByteArray());
    writeFile(root + "/etc/os-release", fixture("os-release/debian-12-bookworm.os-release"));
    if (!agentConfig.isEmpty())
        writeFile(dir.filePath("opt/Tolvane/config.ini"), agentConfig);
    QTest::ignoreMessage(QtDebugMsg, qPrintable(logged));
    QCOMPARE(operatingSystemLabel(root, appDir), label);
}

void TestOsLabel::distribution_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("label");
    QTest::newRow("debian 12") << "etc/os-release" << fixture("os-release/debian-12-bookworm.os-release")
                               << "Debian GNU/Linux 12 (bookworm) 12.0.0 build 0";
    QTest::newRow("ubuntu, version twice")
        << "usr/lib/os-release" << fixture("os-release/ubuntu-22.04.os-release")
        << "Ubuntu 22.04 LTS 22.4.0 build 0";
    QTest::newRow("lsb-release") << "etc/lsb-release" << fixture("os-release/ubuntu-24.04.lsb-release")
                                 << "Ubuntu 24.04.3 LTS 24.4.0 build 0";
    QTest::newRow("Debian 11.2") << "etc/os-release"
                                 << QByteArray("PRETTY_NAME=\"Debian\"\nVERSION_ID=\"11.2\"\n")
                                 << "Debian 11.2.0 build 0";
    QTest::newRow("no release file") << QString() << QByteArray() << " 0.0.0 build 0";
}

void TestOsLabel::distribution()
{
    QFETCH(QString, file);
    QFETCH(QByteArray, text);
    QFETCH(QString, label);
    QTemporaryDir root;
    if (!file.isEmpty())
        writeFile(root.filePath(file), text);
    // The agent's file is not read without the marker, even where it would map.
    writeFile(root.filePath("Tolvane/config.ini"), "[commoninfo]\nproductname=fennlake_alpha\n");
    QTest::ignoreMessage(QtDebugMsg, "corvex-version DO NOT exists");
    QCOMPARE(operatingSystemLabel(root.path(), root.filePath("a/b")), label);
}

void TestOsLabel::thisMachine()
{
    if (QFile::exists("/etc/corvex-version"))
        QSKIP("a Corvex terminal: the label is a product name");
    // The real root must reach a release file, so the name is not empty.
    const QString label = operatingSystemLabel();
    QVERIFY2(!label.startsWith(' ') && label.contains(" build "), qPrintable(label));
}

QTEST_GUILESS_MAIN(TestOsLabel)
#include "tst_oslabel.moc"
