// Finding, counting and ending processes by name, the memory figures of free, the
// restart and the event-friendly wait. Every process looked for or ended here is a
// child of this test under a name nothing else has; sudo and shutdown are fakes.
#include <QElapsedTimer>
#include <QStandardPaths>
#include <QtTest>

#include "fakecommands.h"
#include "mysystem.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <memory>
#include <mutex>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

QStringList infoLines;

// Children of this test. A reaped child's number may belong to anybody afterwards, so
// the reaper and the clean-up share one lock: nothing is signalled once it is reaped.
class Children
{
public:
    ~Children()
    {
        for (const auto &child : m_children) {
            {
                std::lock_guard<std::mutex> lock(child->mutex);
                if (!child->reaped)
                    ::kill(-child->pid, SIGKILL); // its own process group, see start()
            }
            if (child->reaper.joinable())
                child->reaper.join();
            else if (!child->reaped)
                waitpid(child->pid, nullptr, 0);
        }
    }

    // Starts the program in a session of its own. With reap set a thread collects it as
    // soon as it ends; otherwise an ended child stays a zombie until the destructor.
    pid_t start(const QString &program, const QStringList &arguments, bool reap = true,
                QList<QByteArray> environment = {})
    {
        QList<QByteArray> bytes{QFile::encodeName(program)};
        for (const QString &argument : arguments)
            bytes << argument.toLocal8Bit();
        std::vector<char *> argv;
        for (QByteArray &b : bytes)
            argv.push_back(b.data());
        argv.push_back(nullptr);
        std::vector<char *> envp;
        for (QByteArray &variable : environment)
            envp.push_back(variable.data());
        envp.push_back(nullptr);

        posix_spawnattr_t attr;
        posix_spawnattr_init(&attr);
        posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSID);
        pid_t pid = -1;
        const int failed = posix_spawn(&pid, argv.front(), nullptr, &attr, argv.data(), envp.data());
        posix_spawnattr_destroy(&attr);
        if (failed) {
            lastError = QString::fromLocal8Bit(strerror(failed));
            return -1;
        }

        auto child = std::make_shared<Child>();
        child->pid = pid;
        if (reap) {
            child->reaper = std::thread([child] {
                siginfo_t info;
                waitid(P_PID, child->pid, &info, WEXITED | WNOWAIT);
                std::lock_guard<std::mutex> lock(child->mutex);
                waitpid(child->pid, &child->status, 0);
                child->reaped = true;
            });
        }
        m_children.push_back(child);
        return pid;
    }

    QString lastError;

    bool reaped(pid_t pid) const
    {
        const auto child = find(pid);
        std::lock_guard<std::mutex> lock(child->mutex);
        return child->reaped;
    }

    bool killedBySigkill(pid_t pid) const
    {
        const auto child = find(pid);
        std::lock_guard<std::mutex> lock(child->mutex);
        return child->reaped && WIFSIGNALED(child->status) && WTERMSIG(child->status) == SIGKILL;
    }

private:
    struct Child {
        pid_t pid = -1;
        std::mutex mutex;
        bool reaped = false;
        int status = 0;
        std::thread reaper;
    };

    std::shared_ptr<Child> find(pid_t pid) const
    {
        return *std::find_if(m_children.cbegin(), m_children.cend(),
                             [pid](const std::shared_ptr<Child> &c) { return c->pid == pid; });
    }

    std::vector<std::shared_ptr<Child>> m_children;
};

QString procStat(pid_t pid)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(pid));
    return file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll()) : QString();
}

// Sleeping in its timer, past loading: the resident size no longer moves.
bool waitUntilAsleep(pid_t pid, const QString &name)
{
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < 5000) {
        const QString stat = procStat(pid);
        if (stat.contains(QStringLiteral("(%1) S ").arg(name)))
            return true;
        QTest::qWait(20);
    }
    return false;
}

uint residentKb(pid_t pid)
{
    QFile file(QStringLiteral("/proc/%1/status").arg(pid));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toUInt();
    }
    return 0;
}

QSet<QString> pidofAnswer(const QString &name)
{
    QProcess pidof;
    pidof.start(QStringLiteral("pidof"), {name});
    pidof.waitForFinished(10000);
    const QStringList pids =
        QString::fromLatin1(pidof.readAllStandardOutput()).split(' ', Qt::SkipEmptyParts);
    QSet<QString> answer;
    for (const QString &pid : pids)
        answer << pid.trimmed();
    return answer;
}

QSet<QString> texts(const QList<pid_t> &pids)
{
    QSet<QString> out;
    for (pid_t pid : pids)
        out << QString::number(pid);
    return out;
}

bool isFake(const QString &command)
{
    const QString found = QStandardPaths::findExecutable(command);
    return !found.isEmpty() && QFileInfo(found).canonicalFilePath() ==
                                   QFileInfo(QDir(PROBIX_FAKEBIN).filePath(command)).canonicalFilePath();
}

QString runningCommand(const QString &name)
{
    return QStringLiteral("ps -ef | grep -w '%1' | grep -v grep").arg(name);
}

QString killCommand(const QString &name)
{
    return QStringLiteral("sudo kill -9 $(pidof %1)").arg(name);
}

QString readyLine(const QString &name)
{
    return "[ killProcessByName ] Ready to kill process, name =  " + FakeCommands::quoted(name) +
           " , cmd =  " + FakeCommands::quoted(killCommand(name));
}

QStringList repeated(const QString &text, int times)
{
    QStringList out;
    for (int i = 0; i < times; ++i)
        out << text;
    return out;
}

} // namespace

class TestProcessControl : public QObject
{
    Q_OBJECT

    FakeCommands fakes;
    QTemporaryDir programs;
    int names = 0;

    // A copy of sleep under a name that only this test's children carry.
    QString victimProgram()
    {
        const QString name =
            QStringLiteral("pbx%1%2").arg(QCoreApplication::applicationPid()).arg(QChar('a' + names++));
        const QString path = programs.filePath(name);
        if (!QFile::copy(QStringLiteral("/bin/sleep"), path))
            return QString();
        QFile::setPermissions(path, QFile::ReadOwner | QFile::ExeOwner);
        return path;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(fakes.isValid());
        QVERIFY(programs.isValid());
        qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
            FakeCommands::messages() << text;
            if (type == QtInfoMsg)
                infoLines << text;
        });
    }
    void init()
    {
        fakes.clear();
        infoLines.clear();
    }

    void foundCountedEnded()
    {
        if (!isFake("sudo"))
            QSKIP("the fake sudo is not first on PATH");
        Children children;
        const QString program = victimProgram();
        const QString name = QFileInfo(program).fileName();
        QVERIFY(!program.isEmpty());
        QList<pid_t> pids;
        for (int i = 0; i < 3; ++i) {
            // Environments 200 kB apart make the three resident sizes differ, beyond the few
            // pages that the layout of a new process varies by.
            QList<QByteArray> environment;
            for (int pad = 0; pad < 2 * i; ++pad)
                environment << "PAD" + QByteArray::number(pad) + "=" + QByteArray(100000, 'x');
            pids << children.start(program, {"300"}, true, environment);
            QVERIFY2(pids.last() > 0, qPrintable(children.lastError));
            QVERIFY(waitUntilAsleep(pids.last(), name));
        }

        QVERIFY(mySystem::isProcessRunningOnLinux(name));
        QCOMPARE(FakeCommands::messages().filter("[ isProcessRunningOnLinux ]"),
                 QStringList("[ isProcessRunningOnLinux ] " +
                             FakeCommands::quoted("Process " + name + " is running")));
        QCOMPARE(mySystem::countProcessLines(name), 3);

        QList<pid_t> psOrder = pids;
        std::sort(psOrder.begin(), psOrder.end());
        QList<uint> sizes;
        for (pid_t pid : psOrder)
            sizes << residentKb(pid);
        QCOMPARE(mySystem::getProcessMemory(name), sizes);
        QCOMPARE(QSet<uint>(sizes.cbegin(), sizes.cend()).size(), 3);

        // Last look before anything is killed: the name must give exactly these children.
        QCOMPARE(pidofAnswer(name), texts(pids));
        fakes.clear();
        mySystem::killProcessByName(name);

        const QStringList kills = fakes.fakeLog();
        QVERIFY(!kills.isEmpty());
        QVERIFY(kills.size() < 10);
        const QStringList firstKill = kills.first().split(' ');
        QCOMPARE(firstKill.mid(0, 3), QStringList({"sudo", "kill", "-9"}));
        QCOMPARE(QSet<QString>(firstKill.cbegin() + 3, firstKill.cend()), texts(pids));
        QCOMPARE(FakeCommands::messages().filter("[ killProcessByName ]"),
                 repeated(readyLine(name), kills.size()));
        for (pid_t pid : pids)
            QTRY_VERIFY(children.killedBySigkill(pid));

        QVERIFY(!mySystem::isProcessRunningOnLinux(name));
        QCOMPARE(mySystem::countProcessLines(name), 1);
        QCOMPARE(mySystem::getProcessMemory(name), QList<uint>{0});
    }

    void noProcessNoKill()
    {
        if (!isFake("sudo"))
            QSKIP("the fake sudo is not first on PATH");
        const QString name = QStringLiteral("pbx%1none").arg(QCoreApplication::applicationPid());
        QVERIFY(pidofAnswer(name).isEmpty());
        mySystem::killProcessByName(name);
        QCOMPARE(fakes.commands(), FakeCommands::quoted(QStringList{runningCommand(name)}));
        QVERIFY(fakes.fakeLog().isEmpty());
        QVERIFY(FakeCommands::messages().filter("[ killProcessByName ]").isEmpty());
        QVERIFY(FakeCommands::messages().filter("[ isProcessRunningOnLinux ]").isEmpty());
        // None and one look the same.
        QCOMPARE(mySystem::countProcessLines(name), 1);
        QCOMPARE(mySystem::getProcessMemory(name), QList<uint>{0});
    }

    void survivorGetsTenRounds_data()
    {
        QTest::addColumn<bool>("zombie");
        QTest::newRow("a zombie, which kill cannot end") << true;
        QTest::newRow("the name only in another program's arguments") << false;
    }
    void survivorGetsTenRounds()
    {
        QFETCH(bool, zombie);
        if (!isFake("sudo"))
            QSKIP("the fake sudo is not first on PATH");
        Children children;
        QString name;
        pid_t pid = -1;
        if (zombie) {
            const QString program = victimProgram();
            QVERIFY(!program.isEmpty());
            name = QFileInfo(program).fileName();
            pid = children.start(program, {"0"}, false);
            QVERIFY2(pid > 0, qPrintable(children.lastError));
            siginfo_t info;
            QCOMPARE(waitid(P_PID, pid, &info, WEXITED | WNOWAIT), 0);
        } else {
            name = QStringLiteral("pbx%1arg").arg(QCoreApplication::applicationPid());
            pid = children.start(QStringLiteral("/bin/sh"), {"-c", "sleep 300; exit 0", name});
            QVERIFY2(pid > 0, qPrintable(children.lastError));
            QTRY_VERIFY(procStat(pid).contains(" S "));
        }
        // pidof finds nothing under the name, so kill is handed no process number at all.
        QVERIFY(pidofAnswer(name).isEmpty());

        mySystem::killProcessByName(name);

        QCOMPARE(fakes.fakeLog(), repeated(QStringLiteral("sudo kill -9"), 10));
        QCOMPARE(FakeCommands::messages().filter("[ killProcessByName ]"), repeated(readyLine(name), 10));
        QStringList rounds;
        for (int i = 0; i < 10; ++i)
            rounds << runningCommand(name) << killCommand(name);
        QCOMPARE(fakes.commands(), FakeCommands::quoted(rounds));
        if (!zombie)
            QVERIFY(!children.reaped(pid));
    }

    void nameGoesInUnchanged()
    {
        // Not quoted on the way: the quote in the name closes the one of the command.
        const QString name = QStringLiteral("x' ; echo injected ; '");
        QVERIFY(mySystem::isProcessRunningOnLinux(name));
        QCOMPARE(fakes.commands(), FakeCommands::quoted(QStringList(
                                       "ps -ef | grep -w 'x' ; echo injected ; '' | grep -v grep")));
    }

    void systemMemory_data()
    {
        QTest::addColumn<QByteArray>("free");
        QTest::addColumn<uint>("total");
        QTest::addColumn<uint>("available");
        QTest::newRow("procps 4")
            << QByteArray("               total        used        free      shared  buff/cache   available\n"
                          "Mem:         8131884     2203412     3412304      345120     2516168     5312888\n"
                          "Swap:        2097148           0     2097148\n")
            << 8131884u << 5312888u;
        QTest::newRow("no seventh column")
            << QByteArray("             total       used       free     shared    buffers\n"
                          "Mem:        254388     239592      14796          0      25908\n"
                          "-/+ buffers:            213684      40704\n"
                          "Swap:            0          0          0\n")
            << 254388u << 0u;
        QTest::newRow("no output") << QByteArray() << 0u << 0u;
    }
    void systemMemory()
    {
        QFETCH(QByteArray, free);
        QFETCH(uint, total);
        QFETCH(uint, available);
        fakes.put("free.out", free);
        QCOMPARE(mySystem::getSystemMemoryTotal(), total);
        QCOMPARE(mySystem::getSystemMemoryAvailable(), available);
        QCOMPARE(fakes.commands(),
                 FakeCommands::quoted(QStringList{"free|awk '{print $2}'|head -2|tail -1",
                                                  "free|awk '{print $7}'|head -2|tail -1"}));
    }

    void systemMemoryOnThisMachine()
    {
        if (QStandardPaths::findExecutable("free", {"/usr/bin", "/bin"}).isEmpty())
            QSKIP("free is not installed");
        QFile meminfo(QStringLiteral("/proc/meminfo"));
        QVERIFY(meminfo.open(QIODevice::ReadOnly));
        const QByteArray first = meminfo.readLine();
        QVERIFY(first.startsWith("MemTotal:"));
        const uint total = first.mid(9).trimmed().split(' ').first().toUInt();
        QCOMPARE(mySystem::getSystemMemoryTotal(), total);
        const uint available = mySystem::getSystemMemoryAvailable();
        QVERIFY(available > 0 && available <= total);
    }

    void rebootThroughFakeShutdown()
    {
        if (!isFake("shutdown"))
            QSKIP("the fake shutdown is not first on PATH; the real one is never run");
        mySystem::reboot();
        QCOMPARE(fakes.fakeLog(), QStringList("shutdown -r now"));
        QCOMPARE(infoLines, QStringList("[ reboot ] Start reboot"));
        QVERIFY(fakes.commands().isEmpty()); // no shell in between
    }

    void delaySecondsKeepsEventsFlowing()
    {
        if (QTime::currentTime() > QTime(23, 59, 50))
            QSKIP("a wait across midnight ends at once");
        bool fired = false;
        QTimer::singleShot(200, [&fired] { fired = true; });
        QElapsedTimer clock;
        clock.start();
        delaySeconds(1);
        QVERIFY(fired);
        QVERIFY(clock.elapsed() >= 900);
        QVERIFY(clock.elapsed() < 3000);
        clock.restart();
        delaySeconds(0);
        QVERIFY(clock.elapsed() < 100);
    }
};

QTEST_GUILESS_MAIN(TestProcessControl)
#include "tst_processcontrol.moc"
