#include "sessionprocess.h"

#include <csignal>
#include <unistd.h>

SessionProcess::SessionProcess(QObject *parent) : QProcess(parent) {}

SessionProcess::~SessionProcess()
{
    killProcessGroup();
}

void SessionProcess::close()
{
    killProcessGroup();
    QProcess::close();
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
