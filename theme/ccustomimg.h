// Finds the branding images (background, logo, copyright) that an installation may
// put beside the program or under the device's custom resource folder, as URLs for QML.
#pragma once
#include <QObject>
#include <QString>
#include <QUrl>

class CCustomImg : public QObject
{
    Q_OBJECT

public:
    explicit CCustomImg(QObject *parent = nullptr);

    QUrl customImgUrl(const QString &name) const;
    QUrl getBackGroundImg() const;
    QUrl getCopyRightImg() const;
    QUrl getLogoImg() const;
    QUrl imgUrlFromPath(const QString &path) const;

protected:
    // Pattern of the device-wide image path, %1 being the file name; tests point it elsewhere.
    virtual QString customResourcePattern() const;
};
