// The command runner against the start it replaced (a QProcess whose child calls setsid):
// the same command through both, and what the child saw and gave back compared.
#include <QtTest>

#include <csignal>
#include <unistd.h>

#include "commandrunner.h"

namespace
{

class SessionProcess : public QProcess
{
protected:
    void setupChildProcess() override { ::setsid(); }
};

CommandRunner::Result oldStart(const CommandRunner::Command &command, int waitMs)
{
    SessionProcess process;
    process.setWorkingDirectory(command.workDir);
    process.start(command.program, command.arguments, QIODevice::ReadWrite);
    CommandRunner::Result seen;
    seen.started = process.waitForStarted(5000);
    seen.finished = process.waitForFinished(waitMs);
    seen.crashed = process.exitStatus() == QProcess::CrashExit;
    seen.exitCode = process.exitCode();
    seen.output = process.readAllStandardOutput();
    seen.errors = process.readAllStandardError();
    if (!seen.finished && process.processId() > 0)
        ::kill(-pid_t(process.processId()), SIGKILL);
    return seen;
}

// The exit counts only for a child that ended within the wait.
QString state(const CommandRunner::Result &r)
{
    return QString::asprintf("started %d finished %d exit %d crashed %d", r.started, r.finished,
                             r.finished ? r.exitCode : 0, r.finished && r.crashed);
}

// What a child can see of how it was started, one fact a line. The shell reports on
// itself ($$), so the only process looked at is the one the runner started.
const char *const kChildView = R"sh(
echo "argv0 $0"
awk -v pid=$$ '{ print "leads session", ($6 == pid), "leads group", ($5 == pid) }' /proc/$$/stat
# Read by the shell itself: a child reading /proc/$$ could catch it with signals blocked.
while read -r key value; do case $key in SigIgn:|SigBlk:) echo "$key $value";; esac; done < /proc/self/status
echo "descriptors $(ls /proc/$$/fd | sort -n | tr '\n' ' ')"
echo "stdin $(readlink /proc/$$/fd/0 | cut -c1-5)"
timeout 0.3 cat; echo "read from stdin ends with $?"
echo "cwd $(pwd)"
env | grep -v '^_=' | sort
seq 1 100000; seq 5 9 >&2
printf 'bytes\000after NUL\n'
exit 3
)sh";

} // namespace

class TestCommandRunner : public QObject
{
    Q_OBJECT
    QTemporaryDir tmp;

private slots:
    void sameAsTheOldStart_data()
    {
        QTest::addColumn<QString>("line"); // for sh -c; none: a program that is not there
        QTest::addColumn<QString>("workDir");
        QTest::addColumn<int>("waitMs");
        // QProcess leaves SIGPIPE ignored in this process; children still see it at its default.
        QTest::newRow("what the child sees") << kChildView << tmp.path() << 20000;
        // What came before the time-out is returned, and the line goes with its jobs.
        QTest::newRow("time-out") << "printf early; (sleep 1; touch late) & sleep 30" << tmp.path() << 500;
        QTest::newRow("missing program") << QString() << QString() << 2000;
        // The job holds the pipes open: the child's own end is what is waited for.
        QTest::newRow("killed, a job left behind")
            << "echo done; sleep 10 & kill -TERM $$" << QString() << 1500;
    }
    void sameAsTheOldStart()
    {
        QFETCH(QString, line);
        QFETCH(QString, workDir);
        QFETCH(int, waitMs);
        CommandRunner::Command command = line.isEmpty()
                                             ? CommandRunner::Command{"probix-no-such-program", {}, {}, false}
                                             : CommandRunner::shellLine(line);
        command.workDir = workDir;
        const auto before = oldStart(command, waitMs);
        QElapsedTimer clock;
        clock.start();
        const auto after = CommandRunner::run(command, waitMs);
        QVERIFY(clock.elapsed() < waitMs + 1000);
        QCOMPARE(state(after), state(before));
        QCOMPARE(after.output.split('\n'), before.output.split('\n'));
        QCOMPARE(after.errors, before.errors);
        if (after.started && !after.finished) {
            QTest::qWait(1500);
            QVERIFY(!QFile::exists(tmp.filePath("late")));
        }
    }
    // Past the kept size the rest is read and dropped, so the writer is never stuck.
    void outputBeyondTheKeptSize()
    {
        const auto endless = CommandRunner::run(CommandRunner::shellLine("head -c 5000000 /dev/zero"), 20000);
        QVERIFY(endless.finished);
        QCOMPARE(endless.output, QByteArray(CommandRunner::keptBytes, '\0'));
    }
};

QTEST_GUILESS_MAIN(TestCommandRunner)
#include "tst_commandrunner.moc"
