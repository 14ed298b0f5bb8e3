// The command runners of mySystem: what they return, what they log, and that no child they
// start can reach the terminal of the program.
#include "mysystem.h"
#include <QtTest>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

static QStringList capturedLog; // emptied before every test function

class TestMySystem : public QObject
{
    Q_OBJECT
    QTemporaryDir tmp;

private slots:
    void initTestCase()
    {
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
        QTest::newRow("trimmed") << "printf ' \\n\\ta\\n b \\n\\n'" << none << QString("a\n b")
                                 << R"(output = "a\n b" , error = "")";
        QTest::newRow("NUL") << "printf 'a\\000b'" << none << QString("a") << R"(output = "a" , error = "")";
        QTest::newRow("stderr, log only") << "echo e >&2" << none << none << R"(output = "" , error = "e")";
        QTest::newRow("existing workDir")
            << "pwd" << dir << dir
            << QString("proc.workingDirectory = \"%1\"\n[ start ] output = \"%1\" , error = \"\"").arg(dir);
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
    // startProc has never started anything: only its log lines remain.
    void startProcRunsNothing()
    {
        QCOMPARE(mySystem::startProc("touch " + tmp.filePath("ran"), "ignored", 20000), QString());
        QVERIFY(QDir(tmp.path()).isEmpty());
    }
    void fitsCommand_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<bool>("betweenQuotes");
        QTest::addColumn<bool>("fits");
        for (const char *plain :
             {"sda", "nvme0n1", "tessera-desktop", "/opt/Tessera_2.1", "enp0s31f6", "Tessera", ""})
            QTest::newRow(plain) << QString(plain) << false << true;
        QTest::newRow("blank between quotes") << "Wired connection 1" << true << true;
        QTest::newRow("blank standing bare") << "Wired connection 1" << false << false;
        QTest::newRow("letters beyond ASCII") << QString::fromUtf8("有线连接 1") << true << true;
        for (const QChar c : QString("'\"\\`$;|&<>()*?[]{}~#!\n\r\t") + QChar(0) + QChar(0x7f))
            QTest::newRow(qPrintable(QString("x%1y").arg(c.unicode())))
                << "x" + QString(c) + "y" << true << false;
    }
    void fitsCommand()
    {
        QFETCH(QString, value);
        QFETCH(bool, betweenQuotes);
        QFETCH(bool, fits);
        QCOMPARE(mySystem::fitsCommand(value, "caller", betweenQuotes), fits);
        QString quoted;
        QDebug(&quoted) << value;
        const QString refusal =
            "[ caller ] refused, not a plain value for a command line: " + quoted.trimmed();
        QCOMPARE(capturedLog, fits ? QStringList() : QStringList(refusal));
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
        // As root sudo asks nothing, so it is run for an unprivileged user.
        const QString cmd = mySystem::isRoot() ? "runuser -u nobody -- sudo -k true" : "sudo -k true";
        const pid_t child = fork();
        QVERIFY(child >= 0);
        if (child == 0) {
            setsid();
            const int master = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
            // The first terminal a session leader opens becomes its controlling terminal.
            if (master < 0 || grantpt(master) || unlockpt(master) || ::open(ptsname(master), O_RDWR) < 0)
                _exit(10);
            char seen[512] = {}; // whatever the terminal has shown so far
            const auto shown = [&] { return QByteArray(seen, qMax<ssize_t>(0, read(master, seen, 511))); };
            QProcess plain;
            plain.start("sh", {"-c", cmd});
            plain.waitForFinished(1500); // left waiting at the prompt
            plain.kill();
            if (!shown().contains("assword"))
                _exit(11);
            const QDeadlineTimer deadline(5000);
            mySystem::start(cmd, 20000);
            _exit(!deadline.hasExpired() && shown().isEmpty() ? 0 : 1);
        }
        int status = -1;
        QCOMPARE(waitpid(child, &status, 0), child);
        if (WIFEXITED(status) && WEXITSTATUS(status) >= 10)
            QSKIP(WEXITSTATUS(status) == 10 ? "no pseudo terminal" : "no sudo asking for a password here");
        QCOMPARE(status, 0); // exit status 1: it prompted on the terminal, or took its time
    }
};

QTEST_GUILESS_MAIN(TestMySystem)
#include "tst_mysystem.moc"
