#include "ccustomimg.h"

#include <QCoreApplication>
#include <QFileInfo>

CCustomImg::CCustomImg(QObject *parent) : QObject(parent) {}

QString CCustomImg::customResourcePattern() const
{
    return QStringLiteral("/userdata/customResource/%1");
}

QUrl CCustomImg::customImgUrl(const QString &name) const
{
    if (name == QLatin1String(""))
        return QUrl(QStringLiteral(""));

    const QString beside = QCoreApplication::applicationDirPath() + "/" + "Image" + "/" + name;
    const QString device = customResourcePattern().arg(name);

    // Existence alone decides, so a folder of that name counts as well.
    if (QFileInfo(beside).exists())
        return QUrl::fromLocalFile(beside);
    if (!device.isEmpty() && QFileInfo(device).exists())
        return QUrl::fromLocalFile(device);
    return QUrl(QStringLiteral(""));
}

QUrl CCustomImg::getBackGroundImg() const
{
    return customImgUrl(QStringLiteral("userBackground.png"));
}

QUrl CCustomImg::getCopyRightImg() const
{
    return customImgUrl(QStringLiteral("userCopyRight.png"));
}

QUrl CCustomImg::getLogoImg() const
{
    return customImgUrl(QStringLiteral("userLogo.png"));
}

QUrl CCustomImg::imgUrlFromPath(const QString &path) const
{
    if (path == QLatin1String(""))
        return QUrl(QStringLiteral(""));
    return QUrl(path, QUrl::TolerantMode);
}
