// The command runners of mySystem: what they return, what they log, and that no
// child they start can reach the terminal of the program.
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include "mysystem.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

QStringList capturedLog;

void captureMessage(QtMsgType, const QMessageLogContext &, const QString &message)
{
    capturedLog.append(message);
}

QStringList takeLog()
{
    QStringList lines = capturedLog;
    capturedLog.clear();
    return lines;
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Waits for a file that a detached child writes; the child is not ours to wait for.
QByteArray waitForFile(const QString &path, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < timeoutMs) {
        const QByteArray content = readFile(path);
        if (content.endsWith('\n'))
            return content;
        QTest::qWait(50);
    }
    return readFile(path);
}

// Session id and controlling terminal of the process that reads the file.
const char sessionProbe[] = "awk '{print $6, $7}' /proc/self/stat";

} // namespace

class TestMySystem : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void startOutput_data();
    void startOutput();
    void startLogLines_data();
    void startLogLines();
    void startLargeOutput();
    void startTimeOutKeepsOutputAndEndsCommand();
    void startProcStartsNothing();
    void startDetachedRunsNoPipeline();
    void mySystemLogsWaitStatus_data();
    void mySystemLogsWaitStatus();
    void execBashCmdRunsBash();
    void childrenRunInOwnSession();
    void sudoFailsInsteadOfPrompting();

private:
    QTemporaryDir tmp;
    QString binDir;
    QString callLog;
};

void TestMySystem::initTestCase()
{
    QVERIFY(tmp.isValid());
    binDir = tmp.filePath("bin");
    callLog = tmp.filePath("calls.log");
    QVERIFY(QDir().mkpath(binDir));
    // A recorder that writes its arguments, one line per run.
    QFile recorder(binDir + "/recorder");
    QVERIFY(recorder.open(QIODevice::WriteOnly));
    recorder.write("#!/bin/sh\necho \"recorder $*\" >> '" + callLog.toLocal8Bit() + "'\n");
    recorder.close();
    QVERIFY(recorder.setPermissions(recorder.permissions() | QFileDevice::ExeOwner));
    qputenv("PATH", binDir.toLocal8Bit() + ':' + qgetenv("PATH"));
    qInstallMessageHandler(captureMessage);
}

void TestMySystem::init()
{
    capturedLog.clear();
    QFile::remove(callLog);
}

void TestMySystem::startOutput_data()
{
    QTest::addColumn<QString>("cmd");
    QTest::addColumn<QString>("output");
    QTest::newRow("ends trimmed, inner newlines kept")
        << "printf ' \\n\\t one\\n two  \\n\\n'" << QStringLiteral("one\n two");
    QTest::newRow("NUL cuts the output") << "printf 'before\\000after'" << QStringLiteral("before");
    QTest::newRow("standard error only") << "echo oops >&2" << QString();
    QTest::newRow("empty command line") << "" << QString();
    QTest::newRow("exit status not looked at") << "echo partial; exit 3" << QStringLiteral("partial");
    QTest::newRow("binary bytes") << "printf '\\001\\377\\376x'"
                                  << QString::fromLocal8Bit(QByteArray("\x01\xff\xfex"));
    QTest::newRow("missing command") << "no-such-command-here" << QString();
}

void TestMySystem::startOutput()
{
    QFETCH(QString, cmd);
    QFETCH(QString, output);
    QCOMPARE(mySystem::start(cmd), output);
}

void TestMySystem::startLogLines_data()
{
    const QString dir = QDir(tmp.path()).canonicalPath();
    QTest::addColumn<QString>("cmd");
    QTest::addColumn<QString>("workDir");
    QTest::addColumn<QString>("output");
    QTest::addColumn<QStringList>("lines");
    QTest::newRow("plain") << "echo hi" << QString() << "hi"
                           << QStringList{"[ start ] cmd = \"echo hi\" , workDir = \"\"",
                                          "[ start ] output = \"hi\" , error = \"\""};
    QTest::newRow("existing workDir is used and logged")
        << "pwd" << dir << dir
        << QStringList{"[ start ] cmd = \"pwd\" , workDir = \"" + dir + "\"",
                       "[ start ] proc.workingDirectory = \"" + dir + "\"",
                       "[ start ] output = \"" + dir + "\" , error = \"\""};
    QTest::newRow("missing workDir is dropped silently")
        << "pwd" << dir + "/absent" << QDir::currentPath()
        << QStringList{"[ start ] cmd = \"pwd\" , workDir = \"" + dir + "/absent\"",
                       "[ start ] output = \"" + QDir::currentPath() + "\" , error = \"\""};
    QTest::newRow("error goes to the log only")
        << "echo out; echo 'bad thing' >&2" << QString() << "out"
        << QStringList{"[ start ] cmd = \"echo out; echo 'bad thing' >&2\" , workDir = \"\"",
                       "[ start ] output = \"out\" , error = \"bad thing\""};
    QTest::newRow("quotes and newlines escaped")
        << "printf 'a\\n\"b\"'" << QString() << "a\n\"b\""
        << QStringList{"[ start ] cmd = \"printf 'a\\\\n\\\"b\\\"'\" , workDir = \"\"",
                       "[ start ] output = \"a\\n\\\"b\\\"\" , error = \"\""};
}

void TestMySystem::startLogLines()
{
    QFETCH(QString, cmd);
    QFETCH(QString, workDir);
    QFETCH(QString, output);
    QFETCH(QStringList, lines);
    QCOMPARE(mySystem::start(cmd, -1, workDir), output);
    QCOMPARE(takeLog(), lines);
}

void TestMySystem::startLargeOutput()
{
    // Several megabytes in one go: nothing may be lost or stall on a full pipe.
    const QString out = mySystem::start("head -c 6000000 /dev/zero | tr '\\000' 'a'; echo; echo end >&2");
    QCOMPARE(out.size(), 6000000);
    QVERIFY(out.startsWith('a') && out.endsWith('a'));
    QVERIFY(takeLog().last().endsWith(", error = \"end\""));
}

void TestMySystem::startTimeOutKeepsOutputAndEndsCommand()
{
    const QString marker = tmp.filePath("late");
    QElapsedTimer timer;
    timer.start();
    const QString out =
        mySystem::start("printf early; (sleep 1; touch '" + marker + "') & sleep 30; printf late", 500);
    QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(out, QStringLiteral("early"));
    // The background job of the line went with it.
    QTest::qWait(1500);
    QVERIFY(!QFile::exists(marker));
}

void TestMySystem::startProcStartsNothing()
{
    const QString dir = QDir(tmp.path()).canonicalPath();
    QElapsedTimer timer;
    timer.start();
    const QString out = mySystem::startProc("recorder ran; echo x", "ignored", 20000, dir);
    QVERIFY(timer.elapsed() < 2000);
    QCOMPARE(out, QString());
    QVERIFY(!QFile::exists(callLog));
    const QStringList lines = takeLog();
    QCOMPARE(lines.first(), "[ startProc ] cmd = \"recorder ran; echo x\" , workDir = \"" + dir + "\"");
    QVERIFY(lines.contains("[ startProc ] proc.workingDirectory = \"" + dir + "\""));
    QCOMPARE(lines.last(), QStringLiteral("[ startProc ] output = \"\" , error = \"\""));
}

void TestMySystem::startDetachedRunsNoPipeline()
{
    QElapsedTimer timer;
    timer.start();
    mySystem::startDetached("recorder first | recorder second > out", 30);
    QVERIFY(timer.elapsed() < 2000);
    QCOMPARE(takeLog(), QStringList{"[ startDetached ] Will execute cmd: \"recorder first | recorder "
                                    "second > out\" And wait for  30 seconds"});
    QCOMPARE(waitForFile(callLog, 5000), QByteArray("recorder first | recorder second > out\n"));
    QTest::qWait(200);
    QCOMPARE(readFile(callLog).count('\n'), 1);
}

void TestMySystem::mySystemLogsWaitStatus_data()
{
    QTest::addColumn<QString>("cmd");
    QTest::addColumn<int>("status");
    QTest::newRow("success") << "true" << 0;
    QTest::newRow("exit 1 is the raw status 256") << "exit 1" << 256;
    QTest::newRow("exit 3") << "sh -c 'exit 3'" << 768;
    QTest::newRow("missing command") << "no-such-command-here" << 127 * 256;
}

void TestMySystem::mySystemLogsWaitStatus()
{
    QFETCH(QString, cmd);
    QFETCH(int, status);
    mySystem::mySystem(cmd);
    const QStringList lines = takeLog();
    QCOMPARE(lines.last(), QStringLiteral("[ mySystem ] excute : \"%1\" And the result is %2")
                               .arg(QString(cmd).replace('"', "\\\""))
                               .arg(status));
}

void TestMySystem::execBashCmdRunsBash()
{
    const QString target = tmp.filePath("bash-ran");
    // [[ ]] exists in bash and not in sh: the line must reach /bin/bash.
    const QString cmd = "[[ -n bash ]] && echo yes > '" + target + "'";
    mySystem::execBashCmd(cmd);
    QCOMPARE(readFile(target), QByteArray("yes\n"));
    QCOMPARE(takeLog(), QStringList{"[ execBashCmd ] ( ) Execute cmd:  \"" + cmd + "\""});
}

void TestMySystem::childrenRunInOwnSession()
{
    const QByteArray ownSession = QByteArray::number(getsid(0));
    const QString probe = QString::fromLatin1(sessionProbe);
    QList<QByteArray> seen;

    seen << mySystem::start(probe).toLatin1();

    const QString viaSystem = tmp.filePath("system");
    mySystem::mySystem(probe + " > " + viaSystem);
    seen << readFile(viaSystem).trimmed();

    const QString viaBash = tmp.filePath("bash");
    mySystem::execBashCmd(probe + " > " + viaBash);
    seen << readFile(viaBash).trimmed();

    const QString viaDetached = tmp.filePath("detached");
    mySystem::startDetached("sh -c \"" + probe + " > " + viaDetached + ".part && mv " + viaDetached +
                                ".part " + viaDetached + "\"",
                            0);
    seen << waitForFile(viaDetached, 5000).trimmed();

    // The platform probes run their own processes; arch is one of them.
    QFile arch(binDir + "/arch");
    QVERIFY(arch.open(QIODevice::WriteOnly));
    arch.write(QByteArray("#!/bin/sh\n") + sessionProbe + "\n");
    arch.close();
    QVERIFY(arch.setPermissions(arch.permissions() | QFileDevice::ExeOwner));
    seen << mySystem::getCpuArch().toLatin1();
    QFile::remove(binDir + "/arch");

    for (const QByteArray &line : qAsConst(seen)) {
        const QList<QByteArray> fields = line.split(' ');
        QCOMPARE(fields.size(), 2);
        QVERIFY2(fields[0] != ownSession, line.constData());
        QCOMPARE(fields[1], QByteArray("0")); // no controlling terminal
    }
}

// A real sudo asking for a password, from a process that does own a terminal: a plain
// child must show the prompt on it, a child of mySystem::start must fail at once.
void TestMySystem::sudoFailsInsteadOfPrompting()
{
    if (QStandardPaths::findExecutable("sudo").isEmpty())
        QSKIP("sudo is not installed");
    // As root sudo asks nothing, so it is run for an unprivileged user.
    const QString cmd =
        mySystem::isRoot() ? QStringLiteral("setpriv --reuid=65534 --regid=65534 --clear-groups sudo -k true")
                           : QStringLiteral("sudo -k true");

    int report[2];
    QVERIFY(pipe(report) == 0);
    const pid_t child = fork();
    QVERIFY(child >= 0);
    if (child == 0) {
        ::close(report[0]);
        auto answer = [&](const QByteArray &text) {
            if (write(report[1], text.constData(), text.size()) < 0)
                _exit(2);
            _exit(0);
        };
        setsid();
        const int master = posix_openpt(O_RDWR | O_NOCTTY);
        if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0)
            answer("no-pty");
        // The first terminal a session leader opens becomes its controlling terminal.
        if (::open(ptsname(master), O_RDWR) < 0 || ::open("/dev/tty", O_RDWR) < 0)
            answer("no-pty");
        fcntl(master, F_SETFL, O_NONBLOCK);
        auto drain = [master] {
            QByteArray seen;
            char buffer[512];
            ssize_t n;
            while ((n = read(master, buffer, sizeof buffer)) > 0)
                seen.append(buffer, n);
            return seen;
        };

        QProcess plain;
        plain.start("sh", {"-c", cmd});
        plain.waitForFinished(1500);
        plain.kill();
        plain.waitForFinished();
        if (!drain().contains("assword"))
            answer("no-prompt");

        QElapsedTimer timer;
        timer.start();
        const QString out = mySystem::start(cmd, 20000);
        const qint64 elapsed = timer.elapsed();
        answer(QByteArray::number(elapsed) + ' ' + drain().toHex() + ' ' + out.toUtf8().toHex());
    }
    ::close(report[1]);
    QByteArray result;
    char buffer[512];
    ssize_t n;
    while ((n = read(report[0], buffer, sizeof buffer)) > 0)
        result.append(buffer, n);
    ::close(report[0]);
    int status = 0;
    waitpid(child, &status, 0);

    if (result == "no-pty")
        QSKIP("no pseudo terminal available");
    if (result == "no-prompt")
        QSKIP("sudo asks for no password here");
    const QList<QByteArray> fields = result.split(' ');
    QCOMPARE(fields.size(), 3);
    QVERIFY2(fields[0].toLongLong() < 5000, fields[0].constData());
    QCOMPARE(QByteArray::fromHex(fields[1]), QByteArray()); // nothing on the terminal
    QCOMPARE(QByteArray::fromHex(fields[2]), QByteArray());
}

QTEST_GUILESS_MAIN(TestMySystem)
#include "tst_mysystem.moc"
