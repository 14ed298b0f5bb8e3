// Package queries, uninstallers and the USB driver clean-up, with fake sudo and dpkg first
// on PATH and install folders in the fakes' temporary folder. The only process ever ended is
// this test's own, started under the product's name once pidof shows that nobody else has it.
#include <QStandardPaths>
#include <QtTest>

#include "fakecommands.h"
#include "productremoval.h"
#include "sessionprocess.h"

#include <csignal>

namespace
{
QList<QtMsgType> levels; // one per line of FakeCommands::messages()
const QString admin = "dpkg --admindir=/userdata/var/lib/dpkg ";

struct Product {
    QString process, package, fieldCmd, nameCmd;
    QtMsgType level;
    QString (*field)();
    QString (*path)();
    void (*uninstall)();
};
const Product products[] = {
    {"Tessera", "tessera-desktop",
     "sudo dpkg -l --admindir=/userdata/var/lib/dpkg | grep -i tessera | head -n1 | awk '{print $5}'",
     "sudo dpkg --admindir=/userdata/var/lib/dpkg -l | grep -i tessera | head -n1 | awk '{print $2}'",
     QtInfoMsg, getTesseraPackageField, getTesseraInstallPath, uninstallTessera},
    {"Lumenhall", "lumenhall-client",
     "sudo dpkg -l --admindir=/userdata/var/lib/dpkg | grep -i lumenhall | head -n1 | awk '{print $5}'",
     "sudo dpkg --admindir=/userdata/var/lib/dpkg -l | grep -i Lumenhall | head -n1 | awk '{print $2}'",
     QtDebugMsg, getLumenhallPackageField, getLumenhallInstallPath, uninstallLumenhall}};

// The machine's package list, less every line naming the product when it is not installed.
QByteArray listing(const Product &p, bool installed)
{
    QByteArray out;
    for (const QByteArray &line : FakeCommands::read("dpkg-list").split('\n'))
        out += installed || !line.toLower().contains(p.process.toLower().toUtf8()) ? line + '\n' : "";
    return out;
}

QString pidof(const QString &name)
{
    QProcess pidof;
    pidof.start("pidof", {name});
    pidof.waitForFinished(10000);
    return QString::fromLatin1(pidof.readAllStandardOutput()).trimmed();
}
} // namespace

class TestProductRemoval : public QObject
{
    Q_OBJECT
    FakeCommands fakes;
    const QString dir = qEnvironmentVariable("PROBIX_FAKE_DIR") + '/'; // emptied before every test

private slots:
    void initTestCase()
    {
        QVERIFY(fakes.isValid());
        qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
            FakeCommands::messages() << text;
            levels << type;
        });
    }
    void init()
    {
        fakes.clear();
        levels.clear();
    }

    void installPath_data()
    {
        QTest::addColumn<int>("product");
        QTest::addColumn<QByteArray>("files"); // what dpkg -L lists; empty: not installed
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("path");
        const QByteArray bin("/.\n/opt/Tessera\n/opt/Tessera/bin/restart.sh\n/opt/Tessera/bin/start.sh\n");
        QTest::newRow("Tessera not installed") << 0 << QByteArray() << ""
                                               << "";
        QTest::newRow("Tessera, start.sh beside restart.sh") << 0 << bin << "Desktop"
                                                             << "/opt/Tessera/bin";
        QTest::newRow("Tessera, two start.sh taken as one path")
            << 0 << QByteArray("/opt/Tessera/start.sh\n/opt/Tessera/tools/start.sh\n") << "Desktop"
            << "/opt/Tessera/start.sh\n/opt/Tessera/tools";
        QTest::newRow("Lumenhall not installed") << 1 << QByteArray() << ""
                                                 << "";
        QTest::newRow("Lumenhall installed")
            << 1 << QByteArray("/opt/Lumenhall\n/opt/Lumenhall/start.sh\n") << "Classroom"
            << "/opt/Lumenhall";
    }
    void installPath()
    {
        QFETCH(int, product);
        QFETCH(QByteArray, files);
        QFETCH(QString, field);
        QFETCH(QString, path);
        const Product &p = products[product];
        fakes.put("dpkg-list.out", listing(p, !files.isEmpty()));
        fakes.put("dpkg-files-" + p.package + ".out", files);
        QCOMPARE(p.field(), field);
        QCOMPARE(p.path(), path);
        const QString package = files.isEmpty() ? QString() : p.package;
        QCOMPARE(fakes.commands(),
                 FakeCommands::quoted({p.fieldCmd, p.nameCmd,
                                       "sudo " + admin + "-L \"" + package + "\" | grep -wi \"start.sh\""}));
        QCOMPARE(FakeCommands::messages().filter("InstallPath ]"),
                 QStringList("[ get" + p.process + "InstallPath ] path = " + FakeCommands::quoted(path)));
    }

    void uninstall_data()
    {
        QTest::addColumn<int>("product");
        QTest::addColumn<QString>("layout");
        QTest::newRow("Tessera, folder and uninstall.sh") << 0 << "script";
        QTest::newRow("Lumenhall, folder and uninstall.sh") << 1 << "script";
        QTest::newRow("Tessera, folder without uninstall.sh") << 0 << "folder";
        QTest::newRow("Tessera not installed") << 0 << "none";
    }
    void uninstall()
    {
        QFETCH(int, product);
        QFETCH(QString, layout);
        const Product &p = products[product];
        for (const QString fake : {"sudo", "dpkg"})
            if (QStandardPaths::findExecutable(fake) != PROBIX_FAKEBIN "/" + fake)
                QSKIP("the fake sudo and dpkg are not first on PATH");
        if (!pidof(p.process).isEmpty())
            QSKIP("another process carries the product's name; it is never ended here");
        if (layout == "none" && QFile::exists("/uninstall.sh"))
            QSKIP("/uninstall.sh exists on this machine and would be run");
        const QString install = dir + "opt/" + p.process, script = install + "/uninstall.sh";
        if (layout != "gone" && layout != "none")
            fakes.put("opt/" + p.process + "/start.sh", "");
        if (layout == "script") {
            fakes.put("opt/" + p.process + "/uninstall.sh", "#!/bin/sh\necho \"$*\" >\"${0%/*}/ran\"\n");
            QVERIFY(QFile::setPermissions(script, QFile::ReadOwner | QFile::ExeOwner));
        }
        fakes.put("dpkg-list.out", listing(p, layout != "none"));
        fakes.put("dpkg-files-" + p.package + ".out", (install + "/start.sh\n").toUtf8());

        // A copy of sleep under the product's name, run by a shell that reaps it at once when it
        // is killed, as the client's launcher would; the group dies with the SessionProcess.
        const QString program = dir + "bin/" + p.process;
        QVERIFY(QDir().mkpath(dir + "bin") && QFile::copy("/bin/sleep", program));
        SessionProcess launcher;
        launcher.start("/bin/sh", {"-c", "\"$0\" 120 & echo $!; wait $!; exit $?", program});
        QTRY_VERIFY(launcher.canReadLine());
        const QString pid = QString::fromLatin1(launcher.readLine()).trimmed();
        QTRY_COMPARE(pidof(p.process), pid); // last look: the name gives our child and nobody else

        p.uninstall();

        QVERIFY(launcher.waitForFinished(5000));
        QCOMPARE(launcher.exitCode(), 128 + SIGKILL);
        // The kill comes first, before the package database is asked anything.
        const QStringList log = fakes.fakeLog();
        const int kills = log.indexOf(QRegularExpression("sudo dpkg.*"));
        QCOMPARE(log.value(0), "sudo kill -9 " + pid);
        QCOMPARE(log.mid(0, kills).filter(QRegularExpression("^sudo kill -9( \\d+)?$")).size(), kills);
        const QString package = layout == "none" ? QString() : p.package,
                      cmd = "sudo " + script + " --silent";
        const bool ran = layout == "script";
        QCOMPARE(log.mid(kills), QStringList({"sudo " + admin + "-l", admin + "-l",
                                              "sudo " + admin + "-L " + package, admin + "-L " + package}) +
                                     (ran ? QStringList(cmd) : QStringList()));
        const QStringList said = FakeCommands::messages().filter("run uninstallSh");
        QCOMPARE(said, ran ? QStringList("[ uninstall" + p.process +
                                         " ] run uninstallSh :  " + FakeCommands::quoted(cmd))
                           : QStringList());
        if (ran) {
            QCOMPARE(levels.at(FakeCommands::messages().indexOf(said.first())), p.level);
            QFile marker(install + "/ran");
            QVERIFY(marker.open(QIODevice::ReadOnly));
            QCOMPARE(marker.readAll(), QByteArray("--silent\n"));
        }
    }

    void removeUsbDriveFilesOnLinux()
    {
        // Off Windows the driver paths name nothing, so all three are reported missing and a
        // file of a similar name in the current folder survives.
        fakes.put("usbrelayhub.sys", "");
        const QString home = QDir::currentPath();
        QVERIFY(QDir::setCurrent(dir));
        removeUsbDriveFiles();
        QVERIFY(QDir::setCurrent(home));
        QStringList expected;
        for (const char *name : {"usbguardfilter.sys", "usbrelayhub.sys", "usbrelaystub.sys"})
            expected << "[ removeUsbDriveFiles ] File:  " +
                            FakeCommands::quoted(QString(R"(C:\Windows\System32\drivers\)") + name) +
                            "  not exist.";
        QCOMPARE(FakeCommands::messages(), expected);
        QVERIFY(QFileInfo::exists(dir + "usbrelayhub.sys"));
    }
};

QTEST_GUILESS_MAIN(TestProductRemoval)
#include "tst_productremoval.moc"
