#include "mysystem.h"

#include "dirutils.h"
#include "logtag.h"
#include "sessionprocess.h"

#include <QProcess>
#include <QStringList>

#include <cerrno>
#include <csignal>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace
{

// system() with the shell moved into a session of its own. Signal handling around the
// wait follows system() itself, and the result is the same raw wait status (or -1).
int systemInOwnSession(const QByteArray &command)
{
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    sigemptyset(&ignore.sa_mask);
    struct sigaction oldInt = {}, oldQuit = {};
    sigaction(SIGINT, &ignore, &oldInt);
    sigaction(SIGQUIT, &ignore, &oldQuit);

    sigset_t childMask, oldMask;
    sigemptyset(&childMask);
    sigaddset(&childMask, SIGCHLD);
    sigprocmask(SIG_BLOCK, &childMask, &oldMask);

    posix_spawnattr_t attr;
    posix_spawnattr_init(&attr);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGINT);
    sigaddset(&defaults, SIGQUIT);
    posix_spawnattr_setsigdefault(&attr, &defaults);
    posix_spawnattr_setsigmask(&attr, &oldMask);
    posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);

    char shell[] = "sh";
    char dashC[] = "-c";
    QByteArray line = command;
    char *argv[] = {shell, dashC, line.data(), nullptr};
    pid_t pid = -1;
    int status = -1;
    if (posix_spawn(&pid, "/bin/sh", nullptr, &attr, argv, environ) == 0) {
        while (waitpid(pid, &status, 0) < 0) {
            if (errno != EINTR) {
                status = -1;
                break;
            }
        }
    }
    posix_spawnattr_destroy(&attr);

    sigaction(SIGINT, &oldInt, nullptr);
    sigaction(SIGQUIT, &oldQuit, nullptr);
    sigprocmask(SIG_SETMASK, &oldMask, nullptr);
    return status;
}

} // namespace

namespace mySystem
{

bool isRoot()
{
    return getuid() == 0;
}

void mySystem(const QString &cmd)
{
    const int status = systemInOwnSession(cmd.toLocal8Bit());
    // The raw wait status on purpose: an exit code of 1 shows as 256.
    toolkitlog::tag(qDebug(), "mySystem") << "excute :" << cmd << "And the result is" << status;
}

void execBashCmd(const QString &cmd)
{
    toolkitlog::tag(qDebug(), "execBashCmd") << "("
                                             << ")"
                                             << "Execute cmd: " << cmd;
    SessionProcess proc;
    const QStringList args{QStringLiteral("-c"), cmd};
    proc.start(QStringLiteral("/bin/bash"), args, QIODevice::ReadWrite);
    proc.waitForStarted(30000);
    if (!proc.waitForFinished(600000))
        toolkitlog::tag(qCritical(), "execBashCmd") << "Exec bash cmd failed!";
}

void startDetached(const QString &cmd, int seconds)
{
    // The wait is announced but never made: callers rely on getting control back at once.
    toolkitlog::tag(qDebug(), "startDetached")
        << "Will execute cmd:" << cmd << "And wait for " << seconds << "seconds";
    // No shell: the line is split by QProcess's own quoting rules, so pipes and
    // redirections reach the program as plain arguments. Qt puts the detached child
    // in a session of its own.
    QStringList args = QProcess::splitCommand(cmd);
    if (args.isEmpty())
        return;
    const QString program = args.takeFirst();
    QProcess::startDetached(program, args);
}

QString startProc(const QString &cmd, const QString &unused, int timeoutMs, const QString &workDir)
{
    Q_UNUSED(unused)
    QString result = QLatin1String("");
    toolkitlog::tag(qDebug(), "startProc") << "cmd =" << cmd << ", workDir =" << workDir;
    // Nothing is ever started from this object, so it needs no session of its own.
    QProcess proc;
    if (!workDir.isEmpty() && dirExists(workDir)) {
        proc.setWorkingDirectory(workDir);
        toolkitlog::tag(qDebug(), "startProc") << "proc.workingDirectory =" << proc.workingDirectory();
    }
    // Starting nothing is how this function has always behaved; its callers only ever
    // got the log line, and it stays that way.
    proc.waitForFinished(timeoutMs);
    // Reading a process that never ran also makes Qt warn "device not open" twice.
    result = QString::fromLocal8Bit(proc.readAllStandardOutput().trimmed());
    const QString error = QString::fromLocal8Bit(proc.readAllStandardError().trimmed());
    toolkitlog::tag(qDebug(), "startProc") << "output =" << result << ", error =" << error;
    return result;
}

bool fitsCommand(const QString &value, const char *function, bool betweenQuotes)
{
    // Quotes and backslash end a quoted place in sh or an awk string; the rest start
    // substitutions, lists, redirections, sub-shells, patterns or comments.
    static const QString syntax = QStringLiteral("'\"\\`$;|&<>()*?[]{}~#!");
    for (const QChar c : value) {
        const bool control = c.unicode() < 0x20 || c.unicode() == 0x7f;
        if (control || syntax.contains(c) || (!betweenQuotes && c.isSpace())) {
            toolkitlog::tag(qWarning(), function)
                << "refused, not a plain value for a command line:" << value;
            return false;
        }
    }
    return true;
}

QString start(const QString &cmd, int timeoutMs, const QString &workDir)
{
    QString result = QLatin1String("");
    toolkitlog::tag(qDebug(), "start") << "cmd =" << cmd << ", workDir =" << workDir;
    SessionProcess proc;
    if (!workDir.isEmpty() && dirExists(workDir)) {
        proc.setWorkingDirectory(workDir);
        toolkitlog::tag(qDebug(), "start") << "proc.workingDirectory =" << proc.workingDirectory();
    }
    proc.start(QStringLiteral("sh"), QStringList{QStringLiteral("-c"), cmd}, QIODevice::ReadWrite);
    proc.waitForFinished(timeoutMs);
    // fromLocal8Bit stops at the first NUL byte; text behind it is dropped.
    result = QString::fromLocal8Bit(proc.output().trimmed());
    const QString error = QString::fromLocal8Bit(proc.errors().trimmed());
    toolkitlog::tag(qDebug(), "start") << "output =" << result << ", error =" << error;
    // Past a time-out this ends the command together with whatever it started.
    proc.close();
    return result;
}

} // namespace mySystem
