// Finding, counting and ending processes by name, free's figures, the restart and the wait.
// Every process looked for or ended is a child of this test under a name nothing else has.
#include <QStandardPaths>
#include <QtTest>

#include "fakecommands.h"
#include "mysystem.h"

// Nothing is ended or restarted unless the command resolves to our fake.
static bool isFake(const QString &command)
{
    const QString found = QStandardPaths::findExecutable(command);
    return !found.isEmpty() && QFileInfo(found).canonicalFilePath() ==
                                   QFileInfo(QDir(PROBIX_FAKEBIN).filePath(command)).canonicalFilePath();
}

static QSet<QString> pidof(const QString &name)
{
    QProcess pidof;
    pidof.start(QStringLiteral("pidof"), {name});
    pidof.waitForFinished(10000);
    const QStringList pids = QString::fromLatin1(pidof.readAllStandardOutput()).simplified().split(' ');
    return pids == QStringList("") ? QSet<QString>() : QSet<QString>(pids.cbegin(), pids.cend());
}

static QString proc(qint64 pid, const char *file)
{
    QFile f(QStringLiteral("/proc/%1/%2").arg(pid).arg(file));
    return f.open(QIODevice::ReadOnly) ? QString::fromLatin1(f.readAll()) : QString();
}

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
        QVERIFY(fakes.isValid() && programs.isValid());
        QVERIFY2(isFake("sudo") && isFake("shutdown"), "the fakes must come first on PATH");
        fakes.catchMessages();
    }
    void init() { fakes.clear(); }

    void foundCountedEnded()
    {
        // Shells under a name of their own, each holding 4 MiB more in a variable than the one
        // before, so that no two resident sizes can be equal; then idle on their input.
        const QString name = prefix + 'a', program = programs.filePath(name);
        QVERIFY(QFile::copy(QStringLiteral("/bin/sh"), program));
        QVERIFY(QFile::setPermissions(program, QFile::ReadOwner | QFile::ExeOwner));
        const QString hold = QStringLiteral("x=$(head -c $1 /dev/zero | tr '\\0' x); echo ready; read line");
        QSet<QString> ours;
        QMap<qint64, uint> sizes; // ps lists by process number
        for (int i = 0; i < 3; ++i) {
            const qint64 pid = start(program, {"-c", hold, name, QString::number(i << 22)});
            QVERIFY(pid > 0);
            QTRY_VERIFY(children.back()->canReadLine());
            sizes.insert(pid, proc(pid, "status").section("VmRSS:", 1).simplified().split(' ')[0].toUInt());
            ours << QString::number(pid);
        }
        QCOMPARE(mySystem::countProcessLines(name), 3);
        QCOMPARE(mySystem::getProcessMemory(name), sizes.values());
        // Last look before anything is ended: the name must give exactly these children.
        QCOMPARE(pidof(name), ours);
        // Off the event loop's thread, so that the ended children are collected meanwhile.
        QScopedPointer<QThread> killer(QThread::create(mySystem::killProcessByName, name));
        killer->start();
        const bool returned = QTest::qWaitFor([&killer] { return killer->isFinished(); }, 60000);
        killer->wait();
        QVERIFY(returned);
        const QStringList kills = fakes.fakeLog(), killed = kills.value(0).split(' ');
        QVERIFY(!kills.isEmpty() && kills.size() < 10);
        QCOMPARE(killed.mid(0, 3).join(' '), QStringLiteral("sudo kill -9"));
        QCOMPARE(QSet<QString>(killed.cbegin() + 3, killed.cend()), ours);
        for (const auto &child : qAsConst(children))
            QVERIFY(child->state() == QProcess::NotRunning && child->exitStatus() == QProcess::CrashExit);
        // Nothing left under the name: no kill, and none counts the same as one.
        fakes.clear();
        mySystem::killProcessByName(name);
        QCOMPARE(fakes.commands(),
                 testsupport::quoted(QStringList("ps -ef | grep -w '" + name + "' | grep -v grep")));
        QVERIFY(fakes.fakeLog().isEmpty());
        QCOMPARE(mySystem::countProcessLines(name), 1);
        QCOMPARE(mySystem::getProcessMemory(name), QList<uint>{0});
    }

    void survivorGetsTenRounds()
    {
        // The name only in the arguments of a shell waiting on its input: ps finds it,
        // pidof does not, so kill is handed no process number at all.
        const QString name = prefix + "arg";
        QVERIFY(start(QStringLiteral("/bin/sh"), {"-c", "read line", name}) > 0);
        QVERIFY(pidof(name).isEmpty());
        mySystem::killProcessByName(name);
        QCOMPARE(fakes.fakeLog(), QStringList(QVector<QString>(10, "sudo kill -9").toList()));
        const QString ready =
            "[ killProcessByName ] Ready to kill process, name =  " + testsupport::quoted(name) +
            " , cmd =  " + testsupport::quoted("sudo kill -9 $(pidof " + name + ")");
        QCOMPARE(fakes.messages().filter("[ killProcessByName ]"),
                 QStringList(QVector<QString>(10, ready).toList()));
        QCOMPARE(children.back()->state(), QProcess::Running);
        children.back()->closeWriteChannel(); // read ends, and so does the shell
        QVERIFY(children.back()->waitForFinished());
    }

    // Names reach pidof bare and grep between quotes; none of these may run the touch.
    void namesWithShellSyntaxRunNothing()
    {
        const QString pwned = QDir(qEnvironmentVariable("PROBIX_FAKE_DIR")).filePath("pwned");
        for (const QString &name :
             {"x';touch " + pwned + ";'", "x\"$(touch " + pwned + ")\"", "x;touch " + pwned}) {
            fakes.clear();
            QVERIFY(!mySystem::isProcessRunningOnLinux(name));
            QCOMPARE(mySystem::countProcessLines(name), 1);
            QCOMPARE(mySystem::getProcessMemory(name), QList<uint>{0});
            mySystem::killProcessByName(name);
            QVERIFY2(!QFile::exists(pwned), qPrintable(name));
            QCOMPARE(fakes.commands(), QStringList());
            QCOMPARE(fakes.messages().filter("refused").size(), 4);
        }
    }

    void systemMemory()
    {
        fakes.put("free.out", "      total     used     free   shared  buff/cache   available\n"
                              "Mem: 8131884  2203412  3412304   345120     2516168     5312888\n");
        QCOMPARE(mySystem::getSystemMemoryTotal(), 8131884u);
        QCOMPARE(mySystem::getSystemMemoryAvailable(), 5312888u);
    }

    void rebootThroughFakeShutdown()
    {
        mySystem::reboot();
        QCOMPARE(fakes.fakeLog(), QStringList("shutdown -r now"));
        QCOMPARE(fakes.messages(), QStringList("[ reboot ] Start reboot"));
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
