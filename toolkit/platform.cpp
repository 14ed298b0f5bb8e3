// Platform identification of the mySystem namespace.
#include "mysystem.h"

#include "commandrunner.h"
#include "logtag.h"

#include <QCoreApplication>
#include <QFile>
#include <QSettings>
#include <QStringList>
#include <QSysInfo>

namespace
{

// The platform probes keep their own short wait instead of mySystem::start: a probe
// may hold the caller up for 30 s, never longer, and writes nothing to the log.
QString boundedQuery(const QString &command)
{
    // fromUtf8 stops at the first NUL byte.
    return QString::fromUtf8(CommandRunner::run(CommandRunner::shellLine(command), 30000).output.trimmed());
}

} // namespace

namespace mySystem
{

bool isArmCpu()
{
    return QSysInfo::currentCpuArchitecture().contains(QLatin1String("arm"));
}

bool isUos()
{
    return boundedQuery(QStringLiteral("lsb_release -id"))
        .contains(QLatin1String("uos"), Qt::CaseInsensitive);
}

bool isCorvex(const QString &corvexMarker)
{
    // Both queries run every time, even when the marker settles the answer.
    const QString osIssue = boundedQuery(QStringLiteral("lsb_release -id"));
    const QString whoami = boundedQuery(QStringLiteral("whoami"));
    toolkitlog::tag(qInfo(), "isCorvex") << "osIssue = " << osIssue << ", whoami = " << whoami;

    bool corvex = QFile::exists(corvexMarker);
    if (!corvex)
        corvex = osIssue.contains(QLatin1String("Ubuntu"), Qt::CaseInsensitive) &&
                 whoami.contains(QLatin1String("corvex"), Qt::CaseInsensitive);
    if (corvex)
        toolkitlog::tag(qDebug(), "isCorvex") << "02 Current OS is Corvex!";
    return corvex;
}

QString getOsName(const QString &corvexMarker)
{
    QString name = QLatin1String("");
    if (isCorvex(corvexMarker))
        return QStringLiteral("Corvex");
    name = boundedQuery(QStringLiteral("lsb_release -d | awk -F':' '{print $2}'"));
    return name;
}

QString getCpuArch()
{
    QString arch = QStringLiteral("UNKNOW");
    // Replaced even by an empty answer: the initial value is never handed out, on purpose.
    arch = boundedQuery(QStringLiteral("arch"));
    return arch;
}

QString getClientProductName(const QString &configFile)
{
    const QString path = configFile.isEmpty() ? QCoreApplication::applicationDirPath() +
                                                    QStringLiteral("/../Tolvane/config.ini")
                                              : configFile;
    QSettings settings(path, QSettings::IniFormat);
    settings.beginGroup(QStringLiteral("commoninfo"));
    const QString product = settings.value(QStringLiteral("productname")).toString();
    toolkitlog::tag(qDebug(), "getClientProductName") << "product name is " << product;
    settings.endGroup();

    // The file's own spelling is handed back, whatever its capitals.
    if (product.compare(QLatin1String("Tessera"), Qt::CaseInsensitive) == 0 ||
        product.compare(QLatin1String("Fennlake_Alpha"), Qt::CaseInsensitive) == 0)
        return product;
    return QStringLiteral("Fennlake_Gamma");
}

QString getSudoPrefix(const QString &osTypeFile)
{
    QString prefix = QStringLiteral("sudo ");
    QFile file(osTypeFile);
    if (!file.open(QIODevice::ReadOnly))
        return prefix;
    // Only the first tab-separated field of the first line counts; "TCI" followed by
    // a blank does not match.
    const QList<QByteArray> fields = file.readLine().trimmed().split('\t');
    if (!fields.isEmpty() && fields.first() == "TCI")
        prefix = QLatin1String("");
    file.close();
    return prefix;
}

QString getDeviceModel()
{
    // Kept for toolkit users that ask for it; no terminal of ours reports one.
    return QLatin1String("");
}

} // namespace mySystem
