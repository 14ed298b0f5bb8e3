// Finding, counting and ending processes by name, free's figures, the restart and the wait.
// Every process looked for or ended is a child of this test under a name nothing else has.
#include <QStandardPaths>
#include <QtTest>

#include "fakecommands.h"
#include "mysystem.h"

class TestProcessControl : public QObject
{
    Q_OBJECT
    FakeCommands fakes;
    QTemporaryDir programs;
    // A QProcess ends its child only while it still knows it running, never a reaped number.
    QList<QSharedPointer<QProcess>> children;
    const QString prefix = QStringLiteral("pbx%1").arg(QCoreApplication::applicationPid());

    qint64 start(const QString &program, const QStringList &arguments)
    {
        children << QSharedPointer<QProcess>::create();
        children.back()->start(program, arguments);
        return children.back()->waitForStarted() ? children.back()->processId() : 0;
    }

private slots:
    void initTestCase()
    {
        // Nothing is ended or restarted unless the command is our fake.
        QVERIFY2(fakes.isValid() && programs.isValid() &&
                     QStandardPaths::findExecutable("sudo") == PROBIX_FAKEBIN "/sudo" &&
                     QStandardPaths::findExecutable("shutdown") == PROBIX_FAKEBIN "/shutdown",
                 "the fakes must come first on PATH");
        fakes.catchMessages();
    }
    void init() { fakes.clear(); }

    void foundCountedEnded()
    {
        // Shells under a name of their own, the second holding 4 MiB more in a variable, so
        // that their resident sizes differ; then idle on their input.
        const QString name = prefix + 'a', program = programs.filePath(name);
        QVERIFY(QFile::copy(QStringLiteral("/bin/sh"), program));
        const QString hold = QStringLiteral("x=$(head -c $1 /dev/zero | tr '\\0' x); echo ready; read line");
        QSet<QString> ours;
        QMap<qint64, uint> sizes; // ps lists by process number
        for (int i = 0; i < 2; ++i) {
            const qint64 pid = start(program, {"-c", hold, name, QString::number(i << 22)});
            QTRY_VERIFY(pid > 0 && children.back()->canReadLine());
            QFile status(QStringLiteral("/proc/%1/status").arg(pid));
            QVERIFY(status.open(QIODevice::ReadOnly));
            sizes.insert(pid,
                         QString(status.readAll()).section("VmRSS:", 1).simplified().split(' ')[0].toUInt());
            ours << QString::number(pid);
        }
        QCOMPARE(mySystem::countProcessLines(name), 2);
        QCOMPARE(mySystem::getProcessMemory(name), sizes.values());
        // A shell with the name only in its arguments: ps finds it, pidof does not, so
        // every round after the first hands kill no process number, ten rounds in all.
        QVERIFY(start(QStringLiteral("/bin/sh"), {"-c", "read line", name}) > 0);
        // Off the event loop's thread, so that the ended children are collected meanwhile.
        QScopedPointer<QThread> killer(QThread::create(mySystem::killProcessByName, name));
        killer->start();
        const bool returned = QTest::qWaitFor([&killer] { return killer->isFinished(); }, 60000);
        killer->wait();
        QVERIFY(returned);
        const QStringList kills = fakes.fakeLog(), killed = kills.value(0).split(' ');
        QCOMPARE(killed.mid(0, 3).join(' '), QStringLiteral("sudo kill -9"));
        QCOMPARE(QSet<QString>(killed.cbegin() + 3, killed.cend()), ours);
        QCOMPARE(kills.mid(1), QStringList(QVector<QString>(9, "sudo kill -9").toList()));
        QCOMPARE(fakes.messages().filter("[ killProcessByName ]").value(9),
                 "[ killProcessByName ] Ready to kill process, name =  " + testsupport::quoted(name) +
                     " , cmd =  " + testsupport::quoted("sudo kill -9 $(pidof " + name + ")"));
        for (int i = 0; i < 2; ++i)
            QVERIFY(children[i]->state() == QProcess::NotRunning &&
                    children[i]->exitStatus() == QProcess::CrashExit);
        children.back()->closeWriteChannel(); // read ends, and so does the shell
        QVERIFY(children.back()->waitForFinished());
        // Nothing left under the name: no kill.
        fakes.clear();
        mySystem::killProcessByName(name);
        QCOMPARE(fakes.commands(),
                 testsupport::quoted(QStringList("ps -ef | grep -w '" + name + "' | grep -v grep")));
    }
    // Names reach pidof bare and grep between quotes; none of these may run the touch.
    void namesWithShellSyntaxRunNothing()
    {
        const QString pwned = QDir(qEnvironmentVariable("PROBIX_FAKE_DIR")).filePath("pwned");
        for (const QString &name :
             {"x';touch " + pwned + ";'", "x\"$(touch " + pwned + ")\"", "x;touch " + pwned}) {
            fakes.clear();
            QVERIFY(!mySystem::isProcessRunningOnLinux(name));
            QCOMPARE(mySystem::countProcessLines(name), 1); // none counts the same as one
            QCOMPARE(mySystem::getProcessMemory(name), QList<uint>{0});
            mySystem::killProcessByName(name);
            QVERIFY2(!QFile::exists(pwned), qPrintable(name));
            QCOMPARE(fakes.commands(), QStringList());
            QCOMPARE(fakes.messages().filter("refused").size(), 4);
        }
    }
    void memoryAndReboot()
    {
        fakes.put("free.out", "      total     used     free   shared  buff/cache   available\n"
                              "Mem: 8131884  2203412  3412304   345120     2516168     5312888\n");
        QCOMPARE(
            QString("%1 %2").arg(mySystem::getSystemMemoryTotal()).arg(mySystem::getSystemMemoryAvailable()),
            "8131884 5312888");
        mySystem::reboot();
        QCOMPARE(fakes.fakeLog().filter("shutdown"), QStringList("shutdown -r now"));
        QCOMPARE(fakes.messages().filter("[ reboot ]"), QStringList("[ reboot ] Start reboot"));
    }
    void delaySecondsKeepsEventsFlowing()
    {
        if (QTime::currentTime() > QTime(23, 59, 50))
            QSKIP("a wait across midnight ends at once");
        bool fired = false;
        QTimer::singleShot(200, [&fired] { fired = true; });
        delaySeconds(1);
        QVERIFY(fired);
    }
};

QTEST_GUILESS_MAIN(TestProcessControl)
#include "tst_processcontrol.moc"
