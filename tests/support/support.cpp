#include "support.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSettings>

#include <mutex>

namespace testsupport
{

void writeFile(const QString &path, const QByteArray &text)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
        qFatal("cannot write %s", qPrintable(path));
}

QString fixturePath(const QString &name)
{
    return QStringLiteral(PROBIX_TEST_DATA "/") + name;
}

QByteArray fixture(const QString &name)
{
    QFile file(fixturePath(name));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("missing test data %s", qPrintable(file.fileName()));
    return file.readAll();
}

QString quoted(const QString &text)
{
    QString out;
    QDebug(&out) << text;
    return out.trimmed();
}

QStringList quoted(QStringList texts)
{
    for (QString &text : texts)
        text = quoted(text);
    return texts;
}

QString clientFile(const QString &home, const QString &name)
{
    return home + QStringLiteral("/Documents/Tessera/") + name;
}

void writeLanguageFile(const QString &home, const QString &language)
{
    writeFile(clientFile(home, "language_installed.ini"), "[System]\nLanguage=" + language.toUtf8() + "\n");
}

void writeServerSettings(const QString &home, const QString &current, const QList<ServerEntry> &servers)
{
    const QString path = clientFile(home, "settings.ini");
    QDir().mkpath(QFileInfo(path).path());
    QFile::remove(path);
    QSettings settings(path, QSettings::IniFormat);
    settings.beginGroup("SERVERINFO");
    if (!current.isNull())
        settings.setValue("CURSERVERIP", current);
    settings.beginWriteArray("SERVERS", servers.size());
    for (int i = 0; i < servers.size(); ++i) {
        settings.setArrayIndex(i);
        if (!servers[i].ip.isNull())
            settings.setValue("SERVERIP", servers[i].ip);
        if (!servers[i].secondIp.isNull())
            settings.setValue("SECONDSERVERIP", servers[i].secondIp);
        settings.setValue("SERVERPORT", servers[i].port);
    }
    settings.endArray();
    settings.endGroup();
    settings.sync();
    if (settings.status() != QSettings::NoError)
        qFatal("cannot write %s", qPrintable(path));
}

bool makeCertificate(const QString &folder, const QString &name)
{
    QDir().mkpath(folder);
    QProcess openssl;
    openssl.start("openssl", {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj",
                              "/CN=probix-test", "-addext", "subjectAltName=IP:127.0.0.1", "-keyout",
                              folder + "/" + name + ".key", "-out", folder + "/" + name + ".pem"});
    return openssl.waitForFinished(60000) && openssl.exitCode() == 0;
}

bool placeCertificate(const QString &folder, const QString &pem)
{
    if (!makeCertificate(folder, "server"))
        return false;
    QDir().mkpath(QFileInfo(pem).path());
    QFile::remove(pem);
    return QFile::copy(folder + "/server.pem", pem);
}

void removeCertificate(const QString &pem)
{
    QFile::remove(pem);
    QDir().rmdir(QFileInfo(pem).path());
}

std::string readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string();
}

namespace
{

// Messages arrive from worker threads too (the server check logs its replies there).
std::mutex caughtMutex;
QList<QPair<QtMsgType, QString>> caught;

QtMessageHandler previousHandler = nullptr;

void catchMessage(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    // A fatal message ends the test: it must still reach QtTest's own output.
    if (type == QtFatalMsg && previousHandler)
        previousHandler(type, context, text);
    const std::lock_guard<std::mutex> lock(caughtMutex);
    caught.append({type, text});
}

} // namespace

LogCapture::LogCapture()
{
    clear();
    m_previous = qInstallMessageHandler(catchMessage);
    previousHandler = m_previous;
}

LogCapture::~LogCapture()
{
    qInstallMessageHandler(m_previous);
}

QStringList LogCapture::lines() const
{
    const std::lock_guard<std::mutex> lock(caughtMutex);
    QStringList out;
    for (const auto &entry : caught)
        out << entry.second;
    return out;
}

QStringList LogCapture::linesWithLevel() const
{
    static const char *const levels[] = {"debug: ", "warning: ", "critical: ", "fatal: ", "info: "};
    const std::lock_guard<std::mutex> lock(caughtMutex);
    QStringList out;
    for (const auto &entry : caught)
        out << QLatin1String(levels[entry.first]) + entry.second;
    return out;
}

void LogCapture::clear()
{
    const std::lock_guard<std::mutex> lock(caughtMutex);
    caught.clear();
}

} // namespace testsupport
