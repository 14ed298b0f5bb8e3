// The server check as the window runs it: the client's settings.ini read at
// every check, the worker kept or replaced, the reply stored, the signal once
// per check. HOME is a temporary folder; the server is real.
#include <QPointer>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include "desklinkworker.h"
#include "probix.h"
#include "serverinfo.h"
#include "testserver.h"

namespace {
QStringList logLines;
void capture(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    static const char *levels[] = {"debug", "warning", "critical", "fatal", "info"};
    logLines << QString(levels[type]) + ": " + message;
}
} // namespace

class TestServerInfo : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void matchingEntry_data();
    void matchingEntry();
    void workerKeptUntilTheAddressChanges();
    void vanishedAddressWarnsAndKeepsAsking();
    void signalOncePerCheckWithoutWorker();
    void replyDecidesAvailability();
    void modelShowsTheServer();

private:
    struct Entry {
        QString first, second, port;
        bool hasFirst = true;
    };
    void writeSettings(const QString &current, const QList<Entry> &entries, bool withCurrent = true);
    QTemporaryDir home;
    QString configDir;
};

void TestServerInfo::initTestCase()
{
    qputenv("HOME", home.path().toUtf8());
    qunsetenv("XDG_CONFIG_HOME");
    configDir = QCoreApplication::applicationDirPath() + "/config";
    QVERIFY(makeCertificate(home.path(), "server"));
    QDir().mkpath(configDir);
    QFile::remove(configDir + "/grpcserver.pem");
    QVERIFY(QFile::copy(home.filePath("server.pem"), configDir + "/grpcserver.pem"));
    qInstallMessageHandler(capture);
}

void TestServerInfo::cleanupTestCase()
{
    qInstallMessageHandler(nullptr);
    QFile::remove(configDir + "/grpcserver.pem");
    QDir().rmdir(configDir);
}

void TestServerInfo::init()
{
    logLines.clear();
    QFile::remove(home.filePath("Documents/Tessera/settings.ini"));
}

void TestServerInfo::writeSettings(const QString &current, const QList<Entry> &entries, bool withCurrent)
{
    QDir(home.path()).mkpath("Documents/Tessera");
    QFile::remove(home.filePath("Documents/Tessera/settings.ini"));
    QSettings settings(home.filePath("Documents/Tessera/settings.ini"), QSettings::IniFormat);
    settings.beginGroup("SERVERINFO");
    if (withCurrent)
        settings.setValue("CURSERVERIP", current);
    settings.beginWriteArray("SERVERS", entries.size());
    for (int i = 0; i < entries.size(); ++i) {
        settings.setArrayIndex(i);
        if (entries[i].hasFirst)
            settings.setValue("SERVERIP", entries[i].first);
        if (!entries[i].second.isNull())
            settings.setValue("SECONDSERVERIP", entries[i].second);
        settings.setValue("SERVERPORT", entries[i].port);
    }
    settings.endArray();
    settings.endGroup();
}

void TestServerInfo::matchingEntry_data()
{
    QTest::addColumn<QString>("current");
    QTest::addColumn<QStringList>("entries"); // first|second|port, "-" for a missing SERVERIP
    QTest::addColumn<QString>("port");
    QTest::newRow("second address counts like the first")
        << "10.0.0.1" << QStringList{"10.0.0.9|10.0.0.1|443"} << "443";
    QTest::newRow("first match wins") << "10.0.0.1" << QStringList{"10.0.0.1||443", "10.0.0.1||8443"} << "443";
    QTest::newRow("entry without SERVERIP is passed over")
        << "10.0.0.1" << QStringList{"-|10.0.0.1|1111", "10.0.0.1||2222"} << "2222";
    QTest::newRow("comparison is exact") << "10.0.0.1" << QStringList{"10.0.0.10||443"} << "";
    QTest::newRow("no entries") << "10.0.0.1" << QStringList{} << "";
}

void TestServerInfo::matchingEntry()
{
    QFETCH(QString, current);
    QFETCH(QStringList, entries);
    QFETCH(QString, port);
    QList<Entry> list;
    for (const QString &text : entries) {
        const QStringList parts = text.split('|');
        Entry entry;
        entry.hasFirst = parts[0] != "-";
        entry.first = parts[0];
        entry.second = parts[1];
        entry.port = parts[2];
        list << entry;
    }
    writeSettings(current, list);
    ServerInfo server;
    server.checkServerAvailable();
    QCOMPARE(server.ip(), current);
    QCOMPARE(server.port(), port);
    QCOMPARE(server.worker() != nullptr, !port.isEmpty());
    QVERIFY(logLines.filter("current server ip empty").isEmpty());
}

void TestServerInfo::workerKeptUntilTheAddressChanges()
{
    writeSettings("127.0.0.1", {{"127.0.0.1", QString(), "5001"}});
    ServerInfo server;
    server.checkServerAvailable();
    QPointer<const DeskLinkWorker> first = server.worker();
    QVERIFY(first);
    QCOMPARE(first->port(), quint16(5001));
    server.checkServerAvailable();
    server.checkServerAvailable();
    QCOMPARE(server.worker(), first.data());

    // Only the port changes: a new worker for the new port, the old one gone.
    writeSettings("127.0.0.1", {{"127.0.0.1", QString(), "5002"}});
    server.checkServerAvailable();
    QVERIFY(!first);
    QVERIFY(server.worker());
    QCOMPARE(server.worker()->port(), quint16(5002));
    QCOMPARE(server.worker()->address(), QString("127.0.0.1"));

    // No matching entry: the port empties, but the worker stays.
    QPointer<const DeskLinkWorker> second = server.worker();
    writeSettings("10.9.9.9", {{"127.0.0.1", QString(), "5002"}});
    server.checkServerAvailable();
    QCOMPARE(server.ip(), QString("10.9.9.9"));
    QCOMPARE(server.port(), QString());
    QCOMPARE(server.worker(), second.data());
}

void TestServerInfo::vanishedAddressWarnsAndKeepsAsking()
{
    TestServer real(home.path(), "server");
    QVERIFY(real.start(0));
    const QString port = QString::number(real.port());
    writeSettings("127.0.0.1", {{"127.0.0.1", QString(), port}});
    ServerInfo server;
    server.checkServerAvailable();
    QTRY_COMPARE(real.core.calls.load(), 1);
    const DeskLinkWorker *worker = server.worker();

    writeSettings("127.0.0.1", {{"127.0.0.1", QString(), port}}, false);
    for (int tick = 0; tick < 3; ++tick)
        server.checkServerAvailable();
    QCOMPARE(logLines.filter("warning: current server ip empty").size(), 3);
    QCOMPARE(server.ip(), QString());
    QCOMPARE(server.port(), QString());
    QCOMPARE(server.worker(), worker);
    QTRY_COMPARE(real.core.calls.load(), 4);
}

void TestServerInfo::signalOncePerCheckWithoutWorker()
{
    ServerInfo server;
    QSignalSpy spy(&server, &ServerInfo::serverInfoChanged);
    server.checkServerAvailable();
    server.checkServerAvailable();
    QCOMPARE(spy.count(), 2);
    QVERIFY(!server.worker());
    QVERIFY(!server.available());
    QCOMPARE(logLines.filter("warning: current server ip empty").size(), 2);
}

void TestServerInfo::replyDecidesAvailability()
{
    TestServer real(home.path(), "server");
    QVERIFY(real.start(0));
    writeSettings("127.0.0.1", {{"127.0.0.1", QString(), QString::number(real.port())}});
    ServerInfo server;
    server.checkServerAvailable();
    QTRY_VERIFY(server.available());
    QVERIFY(logLines.filter("check server available failed").isEmpty());

    real.core.errorCode = 5;
    server.checkServerAvailable();
    QTRY_VERIFY(!server.available());
    // One single QString operand, so the line comes out quoted.
    QTRY_COMPARE(logLines.filter("info: \"check server available failed : ").size(), 1);

    real.core.errorCode = 0;
    server.checkServerAvailable();
    QTRY_VERIFY(server.available());
    real.stop();
    server.checkServerAvailable();
    QTRY_VERIFY_WITH_TIMEOUT(!server.available(), 3000);
}

void TestServerInfo::modelShowsTheServer()
{
    TestServer real(home.path(), "server");
    QVERIFY(real.start(0));
    writeSettings("127.0.0.1", {{"127.0.0.1", QString(), QString::number(real.port())}});
    Probix model;
    ServerInfo *server = model.serverinfo();
    QCOMPARE(server->ip(), QString("127.0.0.1"));
    QCOMPARE(server->port(), QString::number(real.port()));
    // The reply of the constructor's check shows from the next refresh on.
    QTRY_VERIFY(server->available());
    QSignalSpy spy(server, &ServerInfo::serverInfoChanged);
    model.update();
    QCOMPARE(spy.count(), 1);
}

QTEST_GUILESS_MAIN(TestServerInfo)
#include "tst_serverinfo.moc"
