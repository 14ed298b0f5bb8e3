// What mySystem answers about the terminal: processor, operating system, product and
// sudo prefix, with fake lsb_release, whoami and arch first on PATH.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include "fakecommands.h"
#include "mysystem.h"

namespace
{

const QByteArray debian = "Distributor ID:\tDebian\nDescription:\tDebian GNU/Linux 12 (bookworm)\n";
const QByteArray ubuntu = "Distributor ID:\tUbuntu\nDescription:\tUbuntu 20.04.6 LTS\n";

// Set in the environment of a copy of this program that only prints the product name.
const char printProductVariable[] = "TST_PLATFORM_PRINT_PRODUCT";

bool writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

} // namespace

class TestPlatform : public QObject
{
    Q_OBJECT

    FakeCommands fakes;
    QTemporaryDir tmp;

    QString marker(bool present)
    {
        const QString path = tmp.filePath("corvex-version");
        QFile::remove(path);
        if (present)
            writeFile(path, "3.1\n");
        return path;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(fakes.isValid());
        QVERIFY(tmp.isValid());
        // QtTest put its own handler in place when it started; the lines go to the harness.
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &text) {
            FakeCommands::messages() << text;
        });
    }
    void init() { fakes.clear(); }

    void isCorvexAndOsName_data();
    void isCorvexAndOsName();
    void isUos_data();
    void isUos();
    void getCpuArch_data();
    void getCpuArch();
    void queryStopsAfterThirtySeconds();
    void getSudoPrefix_data();
    void getSudoPrefix();
    void getClientProductName_data();
    void getClientProductName();
    void clientProductNameBesideProgram();
    void processorFamily();
};

void TestPlatform::isCorvexAndOsName_data()
{
    QTest::addColumn<bool>("markerFile");
    QTest::addColumn<QByteArray>("lsbRelease");
    QTest::addColumn<QByteArray>("user");
    QTest::addColumn<bool>("corvex");
    QTest::addColumn<QString>("name");
    QTest::newRow("marker settles it") << true << debian << QByteArray("root\n") << true << "Corvex";
    QTest::newRow("marker, both commands silent") << true << QByteArray() << QByteArray() << true << "Corvex";
    QTest::newRow("Ubuntu and the product user")
        << false << ubuntu << QByteArray("corvex\n") << true << "Corvex";
    QTest::newRow("product word in capitals inside the name")
        << false << ubuntu << QByteArray("term-CORVEX01\n") << true << "Corvex";
    QTest::newRow("ubuntu in lower case")
        << false << ubuntu.toLower() << QByteArray("Corvex") << true << "Corvex";
    QTest::newRow("Ubuntu, another user")
        << false << ubuntu << QByteArray("root\n") << false << "Ubuntu 20.04.6 LTS";
    QTest::newRow("product user on Debian")
        << false << debian << QByteArray("corvex\n") << false << "Debian GNU/Linux 12 (bookworm)";
    QTest::newRow("colon in the description cuts it")
        << false << QByteArray("Description:\tAcme OS: Thin Edition 2\n") << QByteArray("root") << false
        << "Acme OS";
    QTest::newRow("nothing answers") << false << QByteArray() << QByteArray() << false << QString();
}

void TestPlatform::isCorvexAndOsName()
{
    QFETCH(bool, markerFile);
    QFETCH(QByteArray, lsbRelease);
    QFETCH(QByteArray, user);
    QFETCH(bool, corvex);
    QFETCH(QString, name);
    if (!lsbRelease.isEmpty())
        fakes.put("lsb_release.out", lsbRelease);
    if (!user.isEmpty())
        fakes.put("whoami.out", user);
    const QString markerPath = marker(markerFile);
    const QStringList corvexQueries{"lsb_release -id", "whoami "};

    QCOMPARE(mySystem::isCorvex(markerPath), corvex);
    // Both commands run every time, the marker notwithstanding.
    QCOMPARE(fakes.fakeLog(), corvexQueries);
    QStringList lines{"[ isCorvex ] osIssue =  " + FakeCommands::quoted(lsbRelease.trimmed()) +
                      " , whoami =  " + FakeCommands::quoted(user.trimmed())};
    if (corvex)
        lines << "[ isCorvex ] 02 Current OS is Corvex!";
    QCOMPARE(FakeCommands::messages(), lines);

    QFile::remove(qEnvironmentVariable("PROBIX_FAKE_LOG"));
    QCOMPARE(mySystem::getOsName(markerPath), name);
    QCOMPARE(fakes.fakeLog(), corvex ? corvexQueries : corvexQueries + QStringList{"lsb_release -d"});
}

void TestPlatform::isUos_data()
{
    QTest::addColumn<QByteArray>("lsbRelease");
    QTest::addColumn<bool>("uos");
    QTest::newRow("UOS distributor")
        << QByteArray("Distributor ID:\tUos\nDescription:\tUnionTech OS Desktop 20 Pro\n") << true;
    QTest::newRow("capitals, second line")
        << QByteArray("Distributor ID:\tX\nDescription:\tUOS 20\n") << true;
    QTest::newRow("any position counts") << QByteArray("Description:\tVirtuoso 1\n") << true;
    QTest::newRow("Debian") << debian << false;
    QTest::newRow("lsb_release missing") << QByteArray() << false;
}

void TestPlatform::isUos()
{
    QFETCH(QByteArray, lsbRelease);
    QFETCH(bool, uos);
    if (!lsbRelease.isEmpty())
        fakes.put("lsb_release.out", lsbRelease);
    QCOMPARE(mySystem::isUos(), uos);
    QCOMPARE(fakes.fakeLog(), QStringList{"lsb_release -id"});
    QVERIFY(FakeCommands::messages().isEmpty());
}

void TestPlatform::getCpuArch_data()
{
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QString>("arch");
    QTest::newRow("aarch64") << QByteArray("aarch64\n") << "aarch64";
    QTest::newRow("blanks trimmed") << QByteArray("  x86_64 \n\n") << "x86_64";
    // The initial "UNKNOW" is never handed out: silence gives empty text.
    QTest::newRow("arch silent") << QByteArray() << QString();
}

void TestPlatform::getCpuArch()
{
    QFETCH(QByteArray, output);
    QFETCH(QString, arch);
    if (!output.isEmpty())
        fakes.put("arch.out", output);
    QCOMPARE(mySystem::getCpuArch(), arch);
    QCOMPARE(fakes.fakeLog(), QStringList{"arch "});
}

void TestPlatform::queryStopsAfterThirtySeconds()
{
    // An arch that hangs after its answer, put before the other fakes.
    QTemporaryDir bin;
    QVERIFY(writeFile(bin.filePath("arch"), "#!/bin/sh\nprintf armv7l\nexec sleep 300\n"));
    QFile::setPermissions(bin.filePath("arch"), QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", QFile::encodeName(bin.path()) + ':' + path);
    QElapsedTimer timer;
    timer.start();
    const QString arch = mySystem::getCpuArch();
    const qint64 elapsed = timer.elapsed();
    qputenv("PATH", path);
    QCOMPARE(arch, QStringLiteral("armv7l"));
    QVERIFY2(elapsed >= 29000 && elapsed < 40000, qPrintable(QString::number(elapsed)));
}

void TestPlatform::getSudoPrefix_data()
{
    QTest::addColumn<bool>("exists");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("prefix");
    QTest::newRow("TCI then a tab") << true << QByteArray("TCI\tthin client\n") << QString();
    QTest::newRow("TCI alone") << true << QByteArray("TCI\n") << QString();
    QTest::newRow("TCI without newline") << true << QByteArray("TCI") << QString();
    QTest::newRow("blanks around are trimmed") << true << QByteArray("  TCI\t1\n") << QString();
    QTest::newRow("lower case") << true << QByteArray("tci\tthin client\n") << "sudo ";
    QTest::newRow("TCI then a blank") << true << QByteArray("TCI thin client\n") << "sudo ";
    QTest::newRow("TCI on the second line") << true << QByteArray("PC\nTCI\n") << "sudo ";
    QTest::newRow("longer word") << true << QByteArray("TCIX\n") << "sudo ";
    QTest::newRow("empty file") << true << QByteArray() << "sudo ";
    QTest::newRow("missing file") << false << QByteArray() << "sudo ";
}

void TestPlatform::getSudoPrefix()
{
    QFETCH(bool, exists);
    QFETCH(QByteArray, content);
    QFETCH(QString, prefix);
    const QString path = tmp.filePath("os-type");
    QFile::remove(path);
    if (exists)
        QVERIFY(writeFile(path, content));
    QCOMPARE(mySystem::getSudoPrefix(path), prefix);
    QVERIFY(FakeCommands::messages().isEmpty());
}

void TestPlatform::getClientProductName_data()
{
    QTest::addColumn<bool>("exists");
    QTest::addColumn<QByteArray>("ini");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("read");
    QTest::newRow("the client") << true << QByteArray("[commoninfo]\nproductname=Tessera\n") << "Tessera"
                                << "Tessera";
    QTest::newRow("capitals kept") << true << QByteArray("[commoninfo]\nproductname=TESSERA\n") << "TESSERA"
                                   << "TESSERA";
    QTest::newRow("the other product, lower case")
        << true << QByteArray("[commoninfo]\nproductname=fennlake_alpha\n") << "fennlake_alpha"
        << "fennlake_alpha";
    QTest::newRow("any other value") << true << QByteArray("[commoninfo]\nproductname=Fennlake_Beta\n")
                                     << "Fennlake_Gamma"
                                     << "Fennlake_Beta";
    QTest::newRow("key in another group")
        << true << QByteArray("[general]\nproductname=Tessera\n") << "Fennlake_Gamma"
        << "";
    QTest::newRow("empty value") << true << QByteArray("[commoninfo]\nproductname=\n") << "Fennlake_Gamma"
                                 << "";
    QTest::newRow("missing file") << false << QByteArray() << "Fennlake_Gamma"
                                  << "";
}

void TestPlatform::getClientProductName()
{
    QFETCH(bool, exists);
    QFETCH(QByteArray, ini);
    QFETCH(QString, name);
    QFETCH(QString, read);
    // A file of its own per row: QSettings keeps parsed files by path, size and
    // time stamp, and two rows of equal length written within one second look alike.
    const QString path = tmp.filePath(QString("config-%1.ini").arg(QTest::currentDataTag()).replace(' ', '-'));
    QFile::remove(path);
    if (exists)
        QVERIFY(writeFile(path, ini));
    QCOMPARE(mySystem::getClientProductName(path), name);
    QCOMPARE(FakeCommands::messages(),
             QStringList{"[ getClientProductName ] product name is  \"" + read + "\""});
    if (exists)
        QCOMPARE(QFile(path).size(), qint64(ini.size())); // read only
}

// The default file lies beside the program: a copy of this test is started from a
// folder that has the agent's folder next to it.
void TestPlatform::clientProductNameBesideProgram()
{
    QTemporaryDir root;
    QVERIFY(QDir(root.path()).mkpath("opt/bin") && QDir(root.path()).mkpath("opt/Tolvane"));
    const QString copy = root.filePath("opt/bin/tst_platform");
    QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), copy));
    QVERIFY(writeFile(root.filePath("opt/Tolvane/config.ini"), "[commoninfo]\nproductname=FENNLAKE_ALPHA\n"));

    QProcess child;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(printProductVariable, "1");
    child.setProcessEnvironment(env);
    child.start(copy, QStringList());
    QVERIFY(child.waitForFinished(20000));
    QCOMPARE(child.readAllStandardOutput(), QByteArray("FENNLAKE_ALPHA\n"));

    QFile::remove(root.filePath("opt/Tolvane/config.ini"));
    child.start(copy, QStringList());
    QVERIFY(child.waitForFinished(20000));
    QCOMPARE(child.readAllStandardOutput(), QByteArray("Fennlake_Gamma\n"));
}

void TestPlatform::processorFamily()
{
    QProcess uname;
    uname.start("uname", {"-m"});
    QVERIFY(uname.waitForFinished(10000));
    const QByteArray machine = uname.readAllStandardOutput().trimmed();
    QCOMPARE(mySystem::isArmCpu(), machine.startsWith("arm") || machine == "aarch64");
    QCOMPARE(mySystem::getDeviceModel(), QString(""));
}

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (qEnvironmentVariableIsSet(printProductVariable)) {
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
        printf("%s\n", qPrintable(mySystem::getClientProductName()));
        return 0;
    }
    TestPlatform test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_platform.moc"
