#include "oslabel.h"

#include <QCoreApplication>
#include <QDebug>
#include <QFile>
#include <QSettings>

#include "osinfo.h"

namespace
{

QString corvexProductLabel(const QString &applicationDir)
{
    QSettings agent(applicationDir + QStringLiteral("/../../Tolvane/config.ini"), QSettings::IniFormat);
    agent.beginGroup(QStringLiteral("commoninfo"));
    const QString productName = agent.value(QStringLiteral("productname")).toString();
    qDebug() << "product name is " << productName;
    agent.endGroup();
    // The agent's name for the product is never shown; the window names it this way.
    if (QString::compare(productName, QStringLiteral("Fennlake_Alpha"), Qt::CaseInsensitive) == 0)
        return QStringLiteral("Fennlake_Beta");
    return QStringLiteral("Corvex");
}

} // namespace

QString operatingSystemLabel(const QString &root, const QString &applicationDir)
{
    // Only the marker's existence counts; the version written in it is ignored.
    if (QFile::exists(root + QStringLiteral("/etc/corvex-version")))
        return corvexProductLabel(applicationDir);

    qDebug() << "corvex-version DO NOT exists";
    const OsInfo info = getOsInfo(root.toStdString());
    // All four numbers are always written, even where the name carries a version already.
    return QString::fromStdString(info.fullName) + QLatin1Char(' ') + QString::number(info.major) +
           QLatin1Char('.') + QString::number(info.minor) + QLatin1Char('.') + QString::number(info.patch) +
           QStringLiteral(" build ") + QString::number(info.buildNumber);
}

QString operatingSystemLabel()
{
    return operatingSystemLabel(QString(), QCoreApplication::applicationDirPath());
}
