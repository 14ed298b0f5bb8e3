#include "sessionprocess.h"

#include <csignal>
#include <unistd.h>

SessionProcess::SessionProcess(QObject *parent) : QProcess(parent)
{
    // Emitted from inside the waitFor functions as well, once per read of the pipe.
    connect(this, &QProcess::readyReadStandardOutput, this,
            [this] { keep(m_output, readAllStandardOutput()); });
    connect(this, &QProcess::readyReadStandardError, this,
            [this] { keep(m_errors, readAllStandardError()); });
    // Starting is entered inside start() itself, before any output can be read.
    connect(this, &QProcess::stateChanged, this, [this](QProcess::ProcessState state) {
        if (state != QProcess::Starting)
            return;
        m_output.clear();
        m_errors.clear();
    });
}

SessionProcess::~SessionProcess()
{
    killProcessGroup();
}

void SessionProcess::close()
{
    killProcessGroup();
    QProcess::close();
}

QList<QByteArray> SessionProcess::outputLines() const
{
    QList<QByteArray> lines;
    for (int from = 0; from < m_output.size();) {
        const int end = m_output.indexOf('\n', from);
        const int next = end < 0 ? m_output.size() : end + 1;
        lines.append(m_output.mid(from, next - from));
        from = next;
    }
    return lines;
}

void SessionProcess::keep(QByteArray &kept, const QByteArray &chunk)
{
    kept.append(chunk.left(keptBytes - kept.size()));
}

void SessionProcess::setupChildProcess()
{
    // Runs in the forked child before exec; only async-signal-safe calls belong here.
    ::setsid();
}

void SessionProcess::killProcessGroup()
{
    // The child leads its own session and process group, so the group id is its pid.
    // While it has not been reaped that id cannot belong to anybody else.
    const qint64 pid = processId();
    if (state() != QProcess::NotRunning && pid > 0)
        ::kill(-static_cast<pid_t>(pid), SIGKILL);
}
