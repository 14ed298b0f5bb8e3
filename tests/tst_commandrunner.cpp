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

struct Seen {
    bool started = false, finished = false;
    int exitCode = -1;
    QByteArray output, errors;
};

Seen oldStart(const CommandRunner::Command &command, int waitMs)
{
    SessionProcess process;
    if (!command.workDir.isEmpty())
        process.setWorkingDirectory(command.workDir);
    process.start(command.program, command.arguments, QIODevice::ReadWrite);
    Seen seen;
    seen.started = process.waitForStarted(5000);
    seen.finished = process.waitForFinished(waitMs);
    seen.output = process.readAllStandardOutput();
    seen.errors = process.readAllStandardError();
    seen.exitCode = process.exitCode();
    if (!seen.finished && process.processId() > 0)
        ::kill(-pid_t(process.processId()), SIGKILL);
    return seen;
}

Seen newStart(const CommandRunner::Command &command, int waitMs)
{
    const CommandRunner::Result result = CommandRunner::run(command, waitMs);
    return {result.started, result.finished, result.exitCode, result.output, result.errors};
}

// What a child can see of how it was started, one fact a line. The shell reports on
// itself ($$), so the only process looked at is the one the runner started.
const char *const kChildView = R"sh(
echo "argv0 $0"
awk -v pid=$$ '{ print "leads session", ($6 == pid), "leads group", ($5 == pid) }' /proc/$$/stat
# Read by the shell itself: a child reading /proc/$$ could catch it with signals
# blocked while it waits.
while read -r key value; do case $key in SigIgn:|SigBlk:) echo "$key $value";; esac; done < /proc/self/status
echo "descriptors $(ls /proc/$$/fd | sort -n | tr '\n' ' ')"
echo "stdin $(readlink /proc/$$/fd/0 | cut -c1-5)"
timeout 0.3 cat; echo "read from stdin ends with $?"
echo "cwd $(pwd)"
env | grep -v '^_=' | sort
printf 'bytes\000after NUL\n'; printf 'to stderr\n' >&2
exit 3
)sh";

} // namespace

class TestCommandRunner : public QObject
{
    Q_OBJECT
    QTemporaryDir tmp;

private slots:
    void childSeesNoDifference_data()
    {
        QTest::addColumn<QString>("workDir");
        QTest::newRow("own folder") << QString();
        QTest::newRow("given folder") << tmp.path();
    }
    void childSeesNoDifference()
    {
        QFETCH(QString, workDir);
        CommandRunner::Command command = CommandRunner::shellLine(kChildView);
        command.workDir = workDir;
        const Seen before = oldStart(command, 20000), after = newStart(command, 20000);
        QVERIFY(before.started && before.finished);
        QVERIFY(after.started && after.finished);
        QCOMPARE(after.exitCode, 3);
        QCOMPARE(after.errors, before.errors);
        QCOMPARE(QString(after.output).split('\n'), QString(before.output).split('\n'));
        QVERIFY(after.output.contains(QByteArray("bytes\0after NUL\n", 16)));
        // Facts worth stating even where both agree: what the runner promises.
        QVERIFY(after.output.contains("leads session 1 leads group 1"));
        QVERIFY(after.output.contains("SigIgn: 0000000000000000"));
        QVERIFY(after.output.contains("stdin pipe:"));
        QVERIFY(after.output.contains("read from stdin ends with 124")); // open, and nothing in it
    }
    // glibc's own signals 32 and 33 and anything the program ignores come back at their
    // defaults, as a forked child's handlers do at exec.
    void signalsAtTheirDefaults()
    {
        struct sigaction ignore = {}, old = {};
        ignore.sa_handler = SIG_IGN;
        sigaction(SIGUSR1, &ignore, &old);
        const Seen seen = newStart(CommandRunner::shellLine("grep SigIgn /proc/$$/status"), 5000);
        sigaction(SIGUSR1, &old, nullptr);
        QCOMPARE(seen.output, QByteArray("SigIgn:\t0000000000000000\n"));
    }
    void outputOfAnySize()
    {
        const auto command = CommandRunner::shellLine("seq 1 100000; seq 5 9 >&2");
        const Seen before = oldStart(command, 20000), after = newStart(command, 20000);
        QCOMPARE(after.output.size(), 588895); // many times what one read of a pipe gives
        QCOMPARE(after.output, before.output);
        QCOMPARE(after.errors, before.errors);
        // Past the kept size the rest is read and dropped, so the writer is never stuck.
        const auto endless = CommandRunner::run(CommandRunner::shellLine("head -c 5000000 /dev/zero"), 20000);
        QVERIFY(endless.finished);
        QCOMPARE(endless.output, QByteArray(CommandRunner::keptBytes, '\0'));
    }
    // Given up at the time-out: what came so far is returned, and the line goes with its jobs.
    void timeOut()
    {
        const QString late = tmp.filePath("late");
        const auto command =
            CommandRunner::shellLine("printf early; (sleep 1; touch " + late + ") & sleep 30");
        QElapsedTimer clock;
        clock.start();
        const Seen before = oldStart(command, 500);
        const Seen after = newStart(command, 500);
        QVERIFY(clock.elapsed() < 3000);
        QCOMPARE(after.finished, before.finished);
        QVERIFY(!after.finished);
        QCOMPARE(after.output, before.output);
        QCOMPARE(after.output, QByteArray("early"));
        QTest::qWait(1500);
        QVERIFY(!QFile::exists(late));
    }
    void missingProgramAndSignals()
    {
        const CommandRunner::Command missing{"probix-no-such-program", {}, QString(), false};
        const Seen before = oldStart(missing, 2000), after = newStart(missing, 2000);
        QCOMPARE(after.started, before.started);
        QVERIFY(!after.started && !after.finished && after.output.isEmpty());
        const auto killed = CommandRunner::run(CommandRunner::shellLine("kill -TERM $$"), 5000);
        QVERIFY(killed.finished && killed.crashed);
        QCOMPARE(killed.exitCode, int(SIGTERM));
        // A child that ends while a job it started keeps the pipe open is not waited for.
        QElapsedTimer clock;
        clock.start();
        const auto left = CommandRunner::run(CommandRunner::shellLine("echo done; sleep 3 &"), 10000);
        QVERIFY(left.finished);
        QCOMPARE(left.output, QByteArray("done\n"));
        QVERIFY(clock.elapsed() < 2000);
    }
};

QTEST_GUILESS_MAIN(TestCommandRunner)
#include "tst_commandrunner.moc"
