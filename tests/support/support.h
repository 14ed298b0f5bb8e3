// What many tests need: files written and fixtures read, log lines caught, and the
// client's own files (settings.ini, language_installed.ini) under a test's HOME.
#pragma once
#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <string>

namespace testsupport
{

// Makes the folders on the way; a test that cannot write its input stops at once.
void writeFile(const QString &path, const QByteArray &text);
// A file of tests/data, by its path below that folder; a missing one stops the test.
QByteArray fixture(const QString &name);
QString fixturePath(const QString &name);
// As QDebug prints a text: in quotes, backslashes and quotes escaped.
QString quoted(const QString &text);
QStringList quoted(QStringList texts);

// The client keeps its files in Documents/Tessera under HOME.
QString clientFile(const QString &home, const QString &name);
void writeLanguageFile(const QString &home, const QString &language);
// One entry of the client's server list; a null ip leaves SERVERIP out.
struct ServerEntry {
    QString ip;
    QString port;
    QString secondIp = QString();
};
// Replaces settings.ini; a null current leaves CURSERVERIP out.
void writeServerSettings(const QString &home, const QString &current, const QList<ServerEntry> &servers);

// Makes a self-signed certificate for 127.0.0.1 as folder/name.pem and .key;
// false when openssl failed.
bool makeCertificate(const QString &folder, const QString &name);
// Makes the server's certificate in folder and puts its public half at pem, where the
// program under test looks for it (config/grpcserver.pem beside it).
bool placeCertificate(const QString &folder, const QString &pem);
void removeCertificate(const QString &pem);
std::string readAll(const QString &path);

// Catches every message from construction on, from any thread, and puts the
// handler that was there back on destruction. One lives at a time.
class LogCapture
{
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    QStringList lines() const;
    // The same lines behind "debug: ", "info: ", "warning: ", "critical: ".
    QStringList linesWithLevel() const;
    void clear();

private:
    QtMessageHandler m_previous;
};

} // namespace testsupport
