// mySystem: how the toolkit runs command lines, and what it knows about the terminal
// it runs on (processor family, operating system, installed client product, whether
// privileged commands need "sudo"); it also finds and ends processes by name and
// restarts the machine. Nothing here keeps state between calls.
#pragma once
#include <QList>
#include <QString>

namespace mySystem
{

// Command execution. Every child starts in a session of its own.
bool isRoot();
void mySystem(const QString &cmd);
void execBashCmd(const QString &cmd);
QString startProc(const QString &cmd, const QString &unused, int timeoutMs = -1,
                  const QString &workDir = QString());
void startDetached(const QString &cmd, int seconds);
QString start(const QString &cmd, int timeoutMs = -1, const QString &workDir = QString());
// Whether a value read from outside (a name from a command's output, a caller's
// argument) may be put into a command line: nothing in it that sh or awk reads as
// syntax, and no blank unless it stands between quotes. A refused value is logged
// once under the caller's function name; the caller then answers as if the command
// had printed nothing, so no such value ever reaches a shell.
bool fitsCommand(const QString &value, const char *function, bool betweenQuotes = false);

// Platform identification. The file arguments exist so that tests can point at their
// own copies; callers leave them at their defaults.
bool isArmCpu();
bool isUos();
bool isCorvex(const QString &corvexMarker = QStringLiteral("/etc/corvex-version"));
QString getOsName(const QString &corvexMarker = QStringLiteral("/etc/corvex-version"));
QString getCpuArch();
// An empty configFile means the agent's "config.ini" beside the running program.
QString getClientProductName(const QString &configFile = QString());
QString getSudoPrefix(const QString &osTypeFile = QStringLiteral("/etc/os-type"));
QString getDeviceModel();

// Process control and power. A name goes into the command lines exactly as given;
// one that does not fit a command line (see fitsCommand) finds nothing and ends nothing.
bool isProcessRunningOnLinux(const QString &name);
void killProcessByName(const QString &name);
int countProcessLines(const QString &name);
QList<uint> getProcessMemory(const QString &name);
uint getSystemMemoryTotal();
uint getSystemMemoryAvailable();
void reboot();

} // namespace mySystem

// Waits the given number of seconds while the event loop keeps running.
void delaySeconds(unsigned seconds);
