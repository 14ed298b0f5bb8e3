#include "productremoval.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include "dirutils.h"
#include "logtag.h"
#include "mysystem.h"

namespace
{

// The field and name lines differ in where "-l" stands, and Lumenhall's name line in the
// case after "grep -i"; both are kept exactly as they shipped.
const QString kTesseraFieldCommand = QStringLiteral(
    "sudo dpkg -l --admindir=/userdata/var/lib/dpkg | grep -i tessera | head -n1 | awk '{print $5}'");
const QString kTesseraNameCommand = QStringLiteral(
    "sudo dpkg --admindir=/userdata/var/lib/dpkg -l | grep -i tessera | head -n1 | awk '{print $2}'");
const QString kLumenhallFieldCommand = QStringLiteral(
    "sudo dpkg -l --admindir=/userdata/var/lib/dpkg | grep -i lumenhall | head -n1 | awk '{print $5}'");
const QString kLumenhallNameCommand = QStringLiteral(
    "sudo dpkg --admindir=/userdata/var/lib/dpkg -l | grep -i Lumenhall | head -n1 | awk '{print $2}'");
const QString kStartScriptCommand =
    QStringLiteral(R"(sudo dpkg --admindir=/userdata/var/lib/dpkg -L "%1" | grep -wi "start.sh")");

// Windows paths, used as they stand on every platform: elsewhere the backslashes are plain
// characters and each path is a single name in the current folder.
const QString kDriverFolder = QStringLiteral(R"(C:\Windows\System32\drivers\)");
const QString kDriverStoreFolder = QStringLiteral(R"(C:\Windows\System32\DriverStore\FileRepository\)");

QString installPath(const QString &nameCommand, const char *function)
{
    QString path;
    const QString package = mySystem::start(nameCommand);
    // An unknown product leaves the name empty and the query runs with -L "".
    const QString script = mySystem::fitsCommand(package, function)
                               ? mySystem::start(kStartScriptCommand.arg(package))
                               : QString();
    // Several matching lines are taken as one path, kept on purpose.
    if (!script.isEmpty())
        path = QFileInfo(script).absolutePath();
    toolkitlog::tag(qDebug(), function) << "path =" << path;
    return path;
}

void runUninstaller(const QString &installPath, const char *function, QtMsgType level)
{
    const QString script = installPath + QStringLiteral("/uninstall.sh");
    const QString cmd = QStringLiteral("sudo ") + script + QStringLiteral(" --silent");
    // An empty install path is the current folder to dirExists, so only the script's
    // existence decides then; kept so.
    if (dirExists(installPath) && QFile::exists(script) && mySystem::fitsCommand(installPath, function)) {
        toolkitlog::tag(level == QtInfoMsg ? qInfo() : qDebug(), function) << "run uninstallSh : " << cmd;
        mySystem::start(cmd);
    }
}

} // namespace

QString getTesseraPackageField()
{
    return mySystem::start(kTesseraFieldCommand);
}

QString getTesseraInstallPath()
{
    return installPath(kTesseraNameCommand, "getTesseraInstallPath");
}

void uninstallTessera()
{
    // The client goes first, whether or not an uninstaller turns up.
    mySystem::killProcessByName(QStringLiteral("Tessera"));
    runUninstaller(getTesseraInstallPath(), "uninstallTessera", QtInfoMsg);
}

QString getLumenhallPackageField()
{
    return mySystem::start(kLumenhallFieldCommand);
}

QString getLumenhallInstallPath()
{
    return installPath(kLumenhallNameCommand, "getLumenhallInstallPath");
}

void uninstallLumenhall()
{
    mySystem::killProcessByName(QStringLiteral("Lumenhall"));
    // Debug here where Tessera says the same at info; the two have always differed.
    runUninstaller(getLumenhallInstallPath(), "uninstallLumenhall", QtDebugMsg);
}

void removeUsbDriveFiles()
{
    const QStringList files{kDriverFolder + QStringLiteral("usbguardfilter.sys"),
                            kDriverFolder + QStringLiteral("usbrelayhub.sys"),
                            kDriverFolder + QStringLiteral("usbrelaystub.sys")};
    for (const QString &file : files) {
        if (!QFile::exists(file)) {
            toolkitlog::tag(qDebug(), "removeUsbDriveFiles") << "File: " << file << " not exist.";
            continue;
        }
        if (QFile::remove(file))
            toolkitlog::tag(qDebug(), "removeUsbDriveFiles") << "Remove " << file << " success.";
        else
            toolkitlog::tag(qCritical(), "removeUsbDriveFiles") << "Remove " << file << " failed.";
    }

    const QStringList prefixes{QStringLiteral("usbrelaystub"), QStringLiteral("usbrelayhub")};
    const QFileInfoList entries =
        QDir(kDriverStoreFolder).entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Unsorted);
    for (const QFileInfo &entry : entries) {
        for (const QString &prefix : prefixes) {
            if (!entry.fileName().startsWith(prefix, Qt::CaseSensitive))
                continue;
            const QString path = entry.absoluteFilePath();
            if (QDir(path).removeRecursively())
                toolkitlog::tag(qDebug(), "removeUsbDriveFiles") << "Remove path: " << path << " success.";
            else
                toolkitlog::tag(qCritical(), "removeUsbDriveFiles") << "Remove path: " << path << " failed.";
        }
    }
}
