// Package queries, uninstallers and the USB driver clean-up through fake sudo and dpkg. The only process
// ever ended is this test's own, started under the product's name once pidof shows nobody else has it.
#include <QStandardPaths>
#include <QtTest>

#include "fakecommands.h"
#include "productremoval.h"

struct Product {
    QString process, package, fieldCmd, nameCmd, field;
    QString level; // the level the removal line is logged at
    QString (*getField)(), (*getPath)();
    void (*uninstall)();
};
const Product products[] = {
    {"Tessera", "tessera-desktop",
     "sudo dpkg -l --admindir=/userdata/var/lib/dpkg | grep -i tessera | head -n1 | awk '{print $5}'",
     "sudo dpkg --admindir=/userdata/var/lib/dpkg -l | grep -i tessera | head -n1 | awk '{print $2}'",
     "Desktop", "info: ", getTesseraPackageField, getTesseraInstallPath, uninstallTessera},
    {"Lumenhall", "lumenhall-client",
     "sudo dpkg -l --admindir=/userdata/var/lib/dpkg | grep -i lumenhall | head -n1 | awk '{print $5}'",
     "sudo dpkg --admindir=/userdata/var/lib/dpkg -l | grep -i Lumenhall | head -n1 | awk '{print $2}'",
     "Classroom", "debug: ", getLumenhallPackageField, getLumenhallInstallPath, uninstallLumenhall}};

static QString pidof(const QString &name)
{
    QProcess pidof;
    pidof.start("pidof", {name});
    return pidof.waitForFinished(10000) ? QString::fromLatin1(pidof.readAllStandardOutput()).trimmed() : "?";
}

class TestProductRemoval : public QObject
{
    Q_OBJECT
    FakeCommands fakes;
    const QString dir = qEnvironmentVariable("PROBIX_FAKE_DIR") + '/'; // emptied before every test

private slots:
    void initTestCase()
    {
        QVERIFY2(fakes.isValid() && QStandardPaths::findExecutable("sudo") == PROBIX_FAKEBIN "/sudo" &&
                     QStandardPaths::findExecutable("dpkg") == PROBIX_FAKEBIN "/dpkg",
                 "the fake sudo and dpkg must come first on PATH");
        fakes.catchMessages();
    }
    void init() { fakes.clear(); }

    void removal_data()
    {
        QTest::addColumn<int>("product");
        QTest::addColumn<QString>("files"); // what dpkg -L lists; empty: not installed
        QTest::addColumn<QString>("path");  // the uninstaller beside start.sh runs only when it is the folder
        const QString t = dir + "opt/Tessera", l = dir + "opt/Lumenhall", s = "/start.sh\n";
        QTest::newRow("Tessera not installed") << 0 << QString() << QString();
        QTest::newRow("two start.sh, one path") << 0 << t + s + t + "/x" + s << t + s + t + "/x";
        QTest::newRow("Tessera installed") << 0 << t + s << t;
        QTest::newRow("Lumenhall installed") << 1 << l + s << l;
    }
    void removal()
    {
        QFETCH(int, product);
        QFETCH(QString, files);
        QFETCH(QString, path);
        const Product &p = products[product];
        if (!pidof(p.process).isEmpty())
            QSKIP("another process carries the product's name; it is never ended here");
        if (path.isEmpty() && QFile::exists("/uninstall.sh"))
            QSKIP("/uninstall.sh exists on this machine and would be run");
        fakes.put("dpkg-list.out", files.isEmpty() ? "ii vim 9.0\n" : testsupport::fixture("dpkg-list"));
        fakes.put("dpkg-files-" + p.package + ".out", files.toUtf8());
        const QString install = dir + "opt/" + p.process, cmd = "sudo " + install + "/uninstall.sh --silent";
        fakes.put("opt/" + p.process + "/uninstall.sh", ""); // not executable: sudo records it, runs nothing
        QVERIFY(QFile::copy("/bin/sleep", dir + p.process)); // reaped at once by its shell, as by a launcher
        QProcess launcher;
        launcher.start("/bin/sh", {"-c", "\"$0\" 120 & echo $!; wait $!; exit $?", dir + p.process});
        QVERIFY(launcher.waitForReadyRead(5000) && launcher.canReadLine());
        const QString pid = QString::fromLatin1(launcher.readLine()).trimmed();
        QTRY_COMPARE(pidof(p.process), pid); // last look: the name gives our child and nobody else
        p.uninstall();
        QVERIFY(launcher.waitForFinished(5000) && launcher.exitCode() == 128 + 9); // SIGKILL
        QCOMPARE(fakes.fakeLog().value(0), "sudo kill -9 " + pid); // before dpkg is asked anything
        QCOMPARE(fakes.fakeLog().filter("uninstall.sh"), path == install ? QStringList(cmd) : QStringList());
        // At info for one product, debug for the other.
        QCOMPARE(fakes.messagesWithLevel().filter("run uninstallSh"),
                 path == install ? QStringList(p.level + "[ uninstall" + p.process +
                                               " ] run uninstallSh :  " + testsupport::quoted(cmd))
                                 : QStringList());
        const int before = fakes.commands().size();
        const QString field = p.getField(); // asked before the path
        QCOMPARE(field + '|' + p.getPath(), (files.isEmpty() ? QString() : p.field) + '|' + path);
        QCOMPARE(fakes.commands().mid(before),
                 testsupport::quoted({p.fieldCmd, p.nameCmd,
                                      "sudo dpkg --admindir=/userdata/var/lib/dpkg -L \"" +
                                          (files.isEmpty() ? QString() : p.package) +
                                          "\" | grep -wi \"start.sh\""}));
    }
    // The package database is written by whoever built the package: its names and
    // folders must not run the touch that sits in the shell's working folder here.
    void shellSyntaxFromThePackageDatabaseRunsNothing()
    {
        if (!pidof("Tessera").isEmpty())
            QSKIP("another process carries the product's name; it is never ended here");
        const QString folder = "opt/x;touch${IFS}pwned;", previous = QDir::currentPath();
        QVERIFY(QDir::setCurrent(dir));
        fakes.put("dpkg-list.out", "ii  tessera\";touch${IFS}pwned;\" 1.0 amd64 Desktop\n");
        QCOMPARE(getTesseraInstallPath(), QString());
        fakes.put("dpkg-list.out", testsupport::fixture("dpkg-list"));
        fakes.put("dpkg-files-tessera-desktop.out", (dir + folder + "/start.sh\n").toUtf8());
        fakes.put(folder + "/uninstall.sh", "");
        uninstallTessera();
        QDir::setCurrent(previous);
        QVERIFY(!QFile::exists(dir + "pwned"));
        QVERIFY(fakes.fakeLog().filter("uninstall.sh").isEmpty());
        QCOMPARE(fakes.messages().filter("refused").size(), 2);
    }
    void removeUsbDriveFilesOnLinux()
    {
        removeUsbDriveFiles(); // off Windows each driver path is one odd name in the current folder
        QCOMPARE(fakes.messages().size(), 3);
        QCOMPARE(fakes.messages().value(1),
                 "[ removeUsbDriveFiles ] File:  " +
                     testsupport::quoted(R"(C:\Windows\System32\drivers\usbrelayhub.sys)") + "  not exist.");
    }
};

QTEST_GUILESS_MAIN(TestProductRemoval)
#include "tst_productremoval.moc"
