// The command runners of mySystem: what they return, what they log, and that no
// child they start can reach the terminal of the program.
#include <QtTest>

#include "mysystem.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

static QStringList capturedLog; // emptied before every test function

// Whatever the terminal has shown so far (the descriptor does not block).
static QByteArray drain(int fd)
{
    QByteArray seen;
    char buffer[512];
    for (ssize_t n; (n = read(fd, buffer, sizeof buffer)) > 0;)
        seen.append(buffer, n);
    return seen;
}

class TestMySystem : public QObject
{
    Q_OBJECT
    QTemporaryDir tmp;

private slots:
    void initTestCase()
    {
        QVERIFY(tmp.isValid());
        qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext &, const QString &text) { capturedLog << text; });
    }
    void init() { capturedLog.clear(); }

    void start_data()
    {
        const QString dir = QDir(tmp.path()).canonicalPath(), cwd = QDir::currentPath(), none;
        QTest::addColumn<QString>("cmd");
        QTest::addColumn<QString>("workDir");
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("log"); // what follows the "cmd =" line
        QTest::newRow("ends trimmed, inner newlines kept")
            << "printf ' \\n\\t one\\n two  \\n\\n'" << none << QString("one\n two")
            << R"(output = "one\n two" , error = "")";
        QTest::newRow("NUL cuts") << "printf 'before\\000after'" << none << QString("before")
                                  << R"(output = "before" , error = "")";
        QTest::newRow("standard error to the log only")
            << "echo 'bad thing' >&2" << none << none << R"(output = "" , error = "bad thing")";
        QTest::newRow("existing workDir")
            << "pwd" << dir << dir
            << "proc.workingDirectory = \"" + dir + "\"\n[ start ] output = \"" + dir + "\" , error = \"\"";
        QTest::newRow("missing workDir, no line of it")
            << "pwd" << dir + "/absent" << cwd << "output = \"" + cwd + "\" , error = \"\"";
    }
    void start()
    {
        QFETCH(QString, cmd);
        QFETCH(QString, workDir);
        QFETCH(QString, output);
        QFETCH(QString, log);
        QCOMPARE(mySystem::start(cmd, -1, workDir), output);
        // QDebug doubles the backslashes of the quoted command line.
        QCOMPARE(capturedLog.join('\n'), "[ start ] cmd = \"" + cmd.replace("\\", "\\\\") +
                                             "\" , workDir = \"" + workDir + "\"\n[ start ] " + log);
    }

    void startTimeOutReturnsAndEndsCommand()
    {
        const QDeadlineTimer deadline(5000);
        QCOMPARE(mySystem::start("printf early; (sleep 1; touch late) & sleep 30", 500, tmp.path()), "early");
        QVERIFY(!deadline.hasExpired());
        QTest::qWait(1500); // the background job of the line went with it
        QVERIFY(!QFile::exists(tmp.filePath("late")));
    }

    void startProcStartsNothing()
    {
        QCOMPARE(mySystem::startProc("touch " + tmp.filePath("ran"), "ignored", 20000), QString());
        QVERIFY(!QFile::exists(tmp.filePath("ran")));
    }

    void mySystemLogsRawWaitStatus()
    {
        mySystem::mySystem("exit 1");
        QCOMPARE(capturedLog, QStringList{"[ mySystem ] excute : \"exit 1\" And the result is 256"});
        // Its shell, too, leads a session of its own.
        mySystem::mySystem(QString("exit $(awk '{print $6 == %1}' /proc/self/stat)").arg(getsid(0)));
        QVERIFY2(capturedLog.last().endsWith("result is 0"), qPrintable(capturedLog.last()));
    }

    // A real sudo asking for a password, from a child that owns a pseudo terminal: a
    // plain child shows the prompt there, a child of mySystem::start fails at once.
    void sudoFailsInsteadOfPrompting()
    {
        if (QStandardPaths::findExecutable("sudo").isEmpty())
            QSKIP("sudo is not installed");
        // As root sudo asks nothing, so it is run for an unprivileged user.
        const QString cmd =
            QString(mySystem::isRoot() ? "setpriv --reuid=65534 --regid=65534 --clear-groups " : "") +
            "sudo -k true";
        const pid_t child = fork();
        QVERIFY(child >= 0);
        if (child == 0) {
            setsid();
            const int master = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
            // The first terminal a session leader opens becomes its controlling terminal.
            if (master < 0 || grantpt(master) || unlockpt(master) || ::open(ptsname(master), O_RDWR) < 0)
                _exit(10);
            QProcess plain;
            plain.start("sh", {"-c", cmd});
            plain.waitForFinished(1500); // left waiting at the prompt
            plain.kill();
            if (!drain(master).contains("assword"))
                _exit(11);
            const QDeadlineTimer deadline(5000);
            mySystem::start(cmd, 20000);
            _exit(!deadline.hasExpired() && drain(master).isEmpty() ? 0 : 1);
        }
        int status = -1;
        QCOMPARE(waitpid(child, &status, 0), child);
        if (WIFEXITED(status) && WEXITSTATUS(status) >= 10)
            QSKIP(WEXITSTATUS(status) == 10 ? "no pseudo terminal" : "sudo asks for no password here");
        QCOMPARE(status, 0); // exit status 1: it prompted on the terminal, or took its time
    }
};

QTEST_GUILESS_MAIN(TestMySystem)
#include "tst_mysystem.moc"
