#include "mysystem.h"

#include <QCoreApplication>
#include <QStringList>
#include <QTime>

#include "commandrunner.h"
#include "logtag.h"

namespace
{

const QString kRunningCommand = QStringLiteral("ps -ef | grep -w '%1' | grep -v grep");
const QString kKillCommand = QStringLiteral("sudo kill -9 $(pidof %1)");
const QString kResidentCommand = QStringLiteral(R"(ps aux | grep -i "%1" | grep -v grep | awk '{print $6}')");
const QString kMemoryTotalCommand = QStringLiteral("free|awk '{print $2}'|head -2|tail -1");
const QString kMemoryAvailableCommand = QStringLiteral("free|awk '{print $7}'|head -2|tail -1");
const int kKillRounds = 10;

// An empty answer still splits into one empty line.
QStringList residentLines(const QString &name, const char *function)
{
    const QString answer =
        mySystem::fitsCommand(name, function, true) ? mySystem::start(kResidentCommand.arg(name)) : QString();
    return answer.split(QLatin1Char('\n'), Qt::KeepEmptyParts);
}

} // namespace

namespace mySystem
{

bool isProcessRunningOnLinux(const QString &name)
{
    // grep -w matches the name as a word anywhere on the line, arguments of other
    // programs included.
    if (!fitsCommand(name, "isProcessRunningOnLinux", true) || start(kRunningCommand.arg(name)).isEmpty())
        return false;
    toolkitlog::tag(qDebug(), "isProcessRunningOnLinux") << QStringLiteral("Process %1 is running").arg(name);
    return true;
}

void killProcessByName(const QString &name)
{
    // The name stands bare after pidof, where a blank would name a second program.
    if (!fitsCommand(name, "killProcessByName"))
        return;
    const QString cmd = kKillCommand.arg(name);
    // Silent after the last round: a process that survives is the caller's to notice.
    for (int round = 0; round < kKillRounds; ++round) {
        if (!isProcessRunningOnLinux(name))
            break;
        toolkitlog::tag(qDebug(), "killProcessByName")
            << "Ready to kill process, name = " << name << ", cmd = " << cmd;
        start(cmd);
    }
}

int countProcessLines(const QString &name)
{
    // No match gives 1, the same as one match. Kept on purpose.
    return residentLines(name, "countProcessLines").size();
}

QList<uint> getProcessMemory(const QString &name)
{
    QList<uint> sizes;
    const QStringList lines = residentLines(name, "getProcessMemory");
    for (const QString &line : lines)
        sizes.append(line.toUInt(nullptr, 10));
    return sizes;
}

uint getSystemMemoryTotal()
{
    return start(kMemoryTotalCommand).toUInt(nullptr, 10);
}

uint getSystemMemoryAvailable()
{
    return start(kMemoryAvailableCommand).toUInt(nullptr, 10);
}

void reboot()
{
    toolkitlog::tag(qInfo(), "reboot") << "Start reboot";
    // No shell and no sudo: the program runs as a user allowed to shut the machine down.
    // The command shares the program's output channels, as QProcess::execute would.
    CommandRunner::Command shutdown = CommandRunner::splitLine(QStringLiteral("shutdown -r now"));
    shutdown.forwardOutput = true;
    CommandRunner::run(shutdown, -1);
}

} // namespace mySystem

void delaySeconds(unsigned seconds)
{
    // A target past midnight wraps to the small hours and the wait ends at once; kept so.
    const QTime until = QTime::currentTime().addSecs(static_cast<int>(seconds));
    while (QTime::currentTime() < until)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 100);
}
