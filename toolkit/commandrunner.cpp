#include "commandrunner.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QVector>

#include <cerrno>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace
{

static_assert(sizeof(sigset_t) % sizeof(unsigned long) == 0, "glibc's sigset_t is an array of words");

// Every signal back to its default in the child, as exec does to a forked child's
// handlers. glibc keeps two real-time signals for itself (cancellation and set*id across
// threads): sigfillset leaves them out, and posix_spawn then leaves them ignored in the
// child. Their bits are set by hand so that the child sees them at their defaults too.
sigset_t everySignal()
{
    sigset_t set;
    sigfillset(&set);
    auto *words = reinterpret_cast<unsigned long *>(&set);
    constexpr int bits = sizeof(unsigned long) * CHAR_BIT;
    for (int signal = 1; signal < SIGRTMIN; ++signal)
        words[(signal - 1) / bits] |= 1UL << ((signal - 1) % bits);
    return set;
}

class Fd
{
public:
    Fd() = default;
    explicit Fd(int fd) : m_fd(fd) {}
    ~Fd() { reset(); }
    Fd(const Fd &) = delete;
    Fd &operator=(const Fd &) = delete;
    int get() const { return m_fd; }
    int release()
    {
        const int fd = m_fd;
        m_fd = -1;
        return fd;
    }
    void reset(int fd = -1)
    {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = fd;
    }

private:
    int m_fd = -1;
};

struct Pipe {
    Fd read, write;
    bool open()
    {
        int fds[2];
        if (::pipe2(fds, O_CLOEXEC) != 0)
            return false;
        read.reset(fds[0]);
        write.reset(fds[1]);
        return true;
    }
};

struct Spawn {
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    Spawn()
    {
        posix_spawn_file_actions_init(&actions);
        posix_spawnattr_init(&attributes);
    }
    ~Spawn()
    {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }
};

// One output channel of the child: what is kept of it, and its pipe while it is open.
struct Channel {
    Fd fd;
    QByteArray kept;

    // The pipe is read without blocking: the wait is poll's.
    explicit Channel(int readEnd) : fd(readEnd)
    {
        if (readEnd >= 0)
            ::fcntl(readEnd, F_SETFL, O_NONBLOCK);
    }

    enum State { Empty, More, Closed };
    // Reads what the pipe holds now; the pipe does not block. A writer without end gets
    // a bounded share per call (More), so the caller still sees its deadline.
    State readAvailable()
    {
        char chunk[65536];
        for (int round = 0; round < 16; ++round) {
            const ssize_t got = ::read(fd.get(), chunk, sizeof chunk);
            if (got > 0) {
                kept.append(chunk, int(qMin<ssize_t>(got, CommandRunner::keptBytes - kept.size())));
                continue;
            }
            if (got < 0 && errno == EINTR)
                continue;
            if (got < 0 && errno == EAGAIN)
                return Empty;
            fd.reset();
            return Closed;
        }
        return More;
    }
};

int pidfdOpen(pid_t pid)
{
#ifdef SYS_pidfd_open
    return int(::syscall(SYS_pidfd_open, pid, 0));
#else
    Q_UNUSED(pid)
    errno = ENOSYS;
    return -1;
#endif
}

// Waits until the child has exited or the deadline has passed, reading both channels
// meanwhile so that a full pipe never holds the child up. True when the child exited.
bool waitReading(pid_t pid, const QDeadlineTimer &deadline, Channel *channels[2], int *status)
{
    // Kernels before 5.3 have no pidfd: look for the exit every few milliseconds instead.
    Fd exited(pidfdOpen(pid));
    for (;;) {
        pollfd fds[3];
        nfds_t count = 0;
        for (int i = 0; i < 2; ++i)
            if (channels[i] && channels[i]->fd.get() >= 0)
                fds[count++] = {channels[i]->fd.get(), POLLIN, 0};
        if (exited.get() >= 0)
            fds[count++] = {exited.get(), POLLIN, 0};
        qint64 timeout = deadline.remainingTime();
        if (exited.get() < 0 && (timeout < 0 || timeout > 5))
            timeout = 5;
        const int ready = ::poll(fds, count, int(timeout));
        if (ready < 0 && errno != EINTR)
            return false;
        for (int i = 0; i < 2; ++i) {
            const int fd = channels[i] ? channels[i]->fd.get() : -1;
            for (nfds_t j = 0; ready > 0 && fd >= 0 && j < count; ++j)
                if (fds[j].fd == fd && fds[j].revents)
                    channels[i]->readAvailable();
        }
        const bool exitShown = exited.get() >= 0 && ready > 0 && fds[count - 1].revents;
        if ((exitShown || exited.get() < 0) && ::waitpid(pid, status, WNOHANG) == pid)
            return true;
        if (deadline.hasExpired())
            return false;
    }
}

// The child's wait status, or -1 when it cannot be had.
int reap(pid_t pid)
{
    int status = -1;
    while (::waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR)
            return -1;
    }
    return status;
}

// Starts the command with the given ends as its standard channels (output and errors
// only where they are not forwarded); -1 when it could not be run.
pid_t spawnChild(const CommandRunner::Command &command, int input, int output, int errors)
{
    Spawn spawn;
    posix_spawn_file_actions_adddup2(&spawn.actions, input, STDIN_FILENO);
    if (!command.forwardOutput) {
        posix_spawn_file_actions_adddup2(&spawn.actions, output, STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&spawn.actions, errors, STDERR_FILENO);
    }
    const QByteArray workDir = QFile::encodeName(command.workDir);
    if (!workDir.isEmpty())
        posix_spawn_file_actions_addchdir_np(&spawn.actions, workDir.constData());
    const sigset_t defaults = everySignal();
    posix_spawnattr_setsigdefault(&spawn.attributes, &defaults);
    posix_spawnattr_setflags(&spawn.attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF);

    // A bare name is looked up on PATH here, and the child gets the full path as its
    // argv[0], as QProcess gave it: a shell names itself by it in its error messages.
    const bool bare = !command.program.contains('/');
    const QString found = bare ? QStandardPaths::findExecutable(command.program) : command.program;
    // A program that is not there is not started. posix_spawn would say so too, but not
    // under qemu-user, whose vfork is a fork: there the child could only exit with 127.
    if (found.isEmpty() || (QFileInfo(found).isAbsolute() && !QFileInfo(found).isExecutable()))
        return -1;
    QList<QByteArray> words{QFile::encodeName(found)};
    for (const QString &argument : command.arguments)
        words.append(argument.toLocal8Bit());
    QVector<char *> argv;
    for (QByteArray &word : words)
        argv.append(word.data());
    argv.append(nullptr);
    pid_t pid = -1;
    return ::posix_spawn(&pid, argv[0], &spawn.actions, &spawn.attributes, argv.data(), environ) == 0 ? pid
                                                                                                      : -1;
}

struct SystemWait {
    struct sigaction oldInt = {}, oldQuit = {};
    sigset_t oldMask;
    SystemWait()
    {
        struct sigaction ignore = {};
        ignore.sa_handler = SIG_IGN;
        sigemptyset(&ignore.sa_mask);
        sigaction(SIGINT, &ignore, &oldInt);
        sigaction(SIGQUIT, &ignore, &oldQuit);
        sigset_t childMask;
        sigemptyset(&childMask);
        sigaddset(&childMask, SIGCHLD);
        sigprocmask(SIG_BLOCK, &childMask, &oldMask);
    }
    ~SystemWait()
    {
        sigaction(SIGINT, &oldInt, nullptr);
        sigaction(SIGQUIT, &oldQuit, nullptr);
        sigprocmask(SIG_SETMASK, &oldMask, nullptr);
    }
};

} // namespace

namespace CommandRunner
{

Command shellLine(const QString &line)
{
    return Command{QStringLiteral("sh"), {QStringLiteral("-c"), line}, QString(), false};
}

Command splitLine(const QString &line)
{
    QStringList arguments = QProcess::splitCommand(line);
    const QString program = arguments.isEmpty() ? QString() : arguments.takeFirst();
    return Command{program, arguments, QString(), false};
}

QList<QByteArray> Result::outputLines() const
{
    QList<QByteArray> lines;
    for (int from = 0; from < output.size();) {
        const int end = output.indexOf('\n', from);
        const int next = end < 0 ? output.size() : end + 1;
        lines.append(output.mid(from, next - from));
        from = next;
    }
    return lines;
}

Result run(const Command &command, int waitMs)
{
    Result result;
    Pipe input, output, errors;
    if (command.program.isEmpty() || !input.open() ||
        (!command.forwardOutput && (!output.open() || !errors.open())))
        return result;
    const pid_t pid = spawnChild(command, input.read.get(), output.write.get(), errors.write.get());
    if (pid < 0)
        return result;
    result.started = true;
    // Only the child holds these ends now, so the pipes end when it and its own children do.
    input.read.reset();
    output.write.reset();
    errors.write.reset();

    Channel out(output.read.release()), err(errors.read.release());
    Channel *channels[2] = {command.forwardOutput ? nullptr : &out, command.forwardOutput ? nullptr : &err};
    int status = 0;
    const QDeadlineTimer deadline =
        waitMs < 0 ? QDeadlineTimer(QDeadlineTimer::Forever) : QDeadlineTimer(waitMs);
    result.finished = waitReading(pid, deadline, channels, &status);
    if (result.finished) {
        // What the child wrote before it ended; a job it left behind may write on, unread.
        for (Channel *channel : channels)
            while (channel && channel->fd.get() >= 0 && channel->readAvailable() == Channel::More) {
            }
    } else {
        // The child leads its own process group, whose id is its pid until it is reaped.
        ::kill(-pid, SIGKILL);
        status = reap(pid);
    }
    result.crashed = WIFSIGNALED(status);
    result.exitCode = result.crashed ? WTERMSIG(status) : WEXITSTATUS(status);
    result.output = out.kept;
    result.errors = err.kept;
    return result;
}

int system(const QByteArray &line)
{
    // As system() does: the caller ignores SIGINT and SIGQUIT and holds SIGCHLD back
    // while it waits, the child gets both back at their defaults and the caller's mask.
    const SystemWait waiting;
    Spawn spawn;
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGINT);
    sigaddset(&defaults, SIGQUIT);
    posix_spawnattr_setsigdefault(&spawn.attributes, &defaults);
    posix_spawnattr_setsigmask(&spawn.attributes, &waiting.oldMask);
    posix_spawnattr_setflags(&spawn.attributes,
                             POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    char shell[] = "sh";
    char dashC[] = "-c";
    QByteArray command = line;
    char *argv[] = {shell, dashC, command.data(), nullptr};
    pid_t pid = -1;
    if (::posix_spawn(&pid, "/bin/sh", &spawn.actions, &spawn.attributes, argv, environ) != 0)
        return -1;
    return reap(pid);
}

} // namespace CommandRunner
