// The server check as the window runs it: the client's settings.ini read at
// every check, the worker kept or replaced, the reply stored, the signal once
// per check. HOME is a temporary folder; the server is real.
#include <QElapsedTimer>
#include <QPointer>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>
#include <mutex>

#include "desklinkworker.h"
#include "probix.h"
#include "testserver.h"

// Replies are logged on the worker's thread while the test reads on its own.
static std::mutex logMutex;
static QStringList logged;
static void capture(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    const std::lock_guard<std::mutex> lock(logMutex);
    logged << QString(type == QtWarningMsg ? "warning: "
                      : type == QtInfoMsg  ? "info: "
                                           : "other: ") +
                  message;
}
static QStringList logLines()
{
    const std::lock_guard<std::mutex> lock(logMutex);
    return logged;
}

class TestServerInfo : public QObject
{
    Q_OBJECT
    QTemporaryDir home;
    QString pem = QCoreApplication::applicationDirPath() + "/config/grpcserver.pem";

    // Entries as "first|second|port"; "-" for a missing SERVERIP, null current for a missing CURSERVERIP.
    void writeSettings(const QString &current, const QStringList &entries)
    {
        QDir(home.path()).mkpath("Documents/Tessera");
        QFile::remove(home.filePath("Documents/Tessera/settings.ini"));
        QSettings settings(home.filePath("Documents/Tessera/settings.ini"), QSettings::IniFormat);
        settings.beginGroup("SERVERINFO");
        if (!current.isNull())
            settings.setValue("CURSERVERIP", current);
        settings.beginWriteArray("SERVERS", entries.size());
        for (int i = 0; i < entries.size(); ++i) {
            const QStringList parts = entries[i].split('|');
            settings.setArrayIndex(i);
            if (parts[0] != "-")
                settings.setValue("SERVERIP", parts[0]);
            settings.setValue("SECONDSERVERIP", parts[1]);
            settings.setValue("SERVERPORT", parts[2]);
        }
        settings.endArray();
    }

private slots:
    void initTestCase()
    {
        qputenv("HOME", home.path().toUtf8());
        QVERIFY(testsupport::placeCertificate(home.path(), pem));
        qInstallMessageHandler(capture);
    }
    void cleanupTestCase()
    {
        qInstallMessageHandler(nullptr);
        testsupport::removeCertificate(pem);
    }
    void init()
    {
        const std::lock_guard<std::mutex> lock(logMutex);
        logged.clear();
    }

    void matchingEntry_data()
    {
        QTest::addColumn<QStringList>("entries");
        QTest::addColumn<QString>("port");
        QTest::newRow("second address counts like the first")
            << QStringList{"10.0.0.9|10.0.0.1|443"} << "443";
        QTest::newRow("first match wins") << QStringList{"10.0.0.1||443", "10.0.0.1||8443"} << "443";
        QTest::newRow("no SERVERIP, passed over")
            << QStringList{"-|10.0.0.1|1111", "10.0.0.1||2222"} << "2222";
        QTest::newRow("comparison is exact") << QStringList{"10.0.0.10||443"} << "";
    }
    void matchingEntry()
    {
        QFETCH(QStringList, entries);
        QFETCH(QString, port);
        writeSettings("10.0.0.1", entries);
        ServerInfo server;
        QSignalSpy spy(&server, &ServerInfo::serverInfoChanged);
        server.checkServerAvailable();
        QCOMPARE(spy.count(), 1); // with or without a worker
        QCOMPARE(server.ip(), QString("10.0.0.1"));
        QCOMPARE(server.port(), port);
        QCOMPARE(server.worker() != nullptr, !port.isEmpty());
    }

    // A stated size far beyond the entries: answered at once, with the answer a
    // walk over every index would give.
    void hugeArraySize_data()
    {
        QTest::addColumn<QByteArray>("entries");
        QTest::addColumn<QString>("port");
        QTest::newRow("no entry at all") << QByteArray() << "";
        QTest::newRow("one entry far in")
            << QByteArray("SERVERS\\70000\\SERVERIP=a\nSERVERS\\70000\\SERVERPORT=7\n") << "7";
        QTest::newRow("lowest index wins, not the file's order")
            << QByteArray("SERVERS\\9\\SERVERIP=a\nSERVERS\\9\\SERVERPORT=9\n"
                          "SERVERS\\3\\SERVERIP=a\nSERVERS\\3\\SERVERPORT=3\n")
            << "3";
        QTest::newRow("a key that is no index the walk makes")
            << QByteArray("SERVERS\\03\\SERVERIP=a\nSERVERS\\03\\SERVERPORT=3\n") << "";
    }
    void hugeArraySize()
    {
        QFETCH(QByteArray, entries);
        QFETCH(QString, port);
        QDir(home.path()).mkpath("Documents/Tessera");
        QFile file(home.filePath("Documents/Tessera/settings.ini"));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write("[SERVERINFO]\nCURSERVERIP=a\nSERVERS\\size=2147483647\n" + entries);
        file.close();
        ServerInfo server;
        QElapsedTimer clock;
        clock.start();
        server.reloadSettings();
        QVERIFY2(clock.elapsed() < 1000, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(server.ip(), QString("a"));
        QCOMPARE(server.port(), port);
    }

    void arrayIndicesBelowTheStatedSize()
    {
        const QStringList groups{"2", "10", "1", "11", "0", "-1", "x", "02"};
        QCOMPARE(ServerInfo::arrayIndices(groups, 10), QList<int>({0, 1, 9}));
        QCOMPARE(ServerInfo::arrayIndices(groups, 0), QList<int>());
        QCOMPARE(ServerInfo::arrayIndices(groups, -5), QList<int>());
    }

    void workerKeptUntilTheAddressChanges()
    {
        writeSettings("127.0.0.1", {"127.0.0.1||5001"});
        ServerInfo server;
        server.checkServerAvailable();
        QPointer<const DeskLinkWorker> first = server.worker();
        QVERIFY(first);
        server.checkServerAvailable();
        QCOMPARE(server.worker(), first.data());

        writeSettings("127.0.0.1", {"127.0.0.1||5002"});
        server.checkServerAvailable();
        QVERIFY(!first);
        QCOMPARE(server.worker()->port(), quint16(5002));

        // No matching entry: the port empties, but the worker stays.
        QPointer<const DeskLinkWorker> second = server.worker();
        writeSettings("10.9.9.9", {"127.0.0.1||5002"});
        server.checkServerAvailable();
        QCOMPARE(server.port(), QString());
        QCOMPARE(server.worker(), second.data());
    }

    void vanishedAddressWarnsAndKeepsAsking()
    {
        TestServer real(home.path(), "server");
        QVERIFY(real.start(0));
        writeSettings("127.0.0.1", {"127.0.0.1||" + QString::number(real.port())});
        ServerInfo server;
        QSignalSpy spy(&server, &ServerInfo::serverInfoChanged);
        server.checkServerAvailable();
        QTRY_COMPARE(real.core.calls.load(), 1);
        const DeskLinkWorker *worker = server.worker();

        writeSettings(QString(), {"127.0.0.1||" + QString::number(real.port())});
        for (int tick = 0; tick < 3; ++tick)
            server.checkServerAvailable();
        QCOMPARE(logLines().filter("warning: current server ip empty").size(), 3);
        QCOMPARE(server.ip() + server.port(), QString());
        QCOMPARE(server.worker(), worker);
        QTRY_COMPARE(real.core.calls.load(), 4);
        QCOMPARE(spy.count(), 4);
    }

    void replyDecidesAvailability()
    {
        TestServer real(home.path(), "server");
        QVERIFY(real.start(0));
        writeSettings("127.0.0.1", {"127.0.0.1||" + QString::number(real.port())});
        // The model's own first check already asks; its reply shows from the next refresh.
        Probix model;
        ServerInfo *server = model.serverinfo();
        QCOMPARE(server->port(), QString::number(real.port()));
        QTRY_VERIFY(server->available());
        QVERIFY(logLines().filter("check server available failed").isEmpty());

        real.core.errorCode = 5;
        model.update();
        QTRY_VERIFY(!server->available());
        // One single QString operand, so the line comes out quoted.
        QTRY_COMPARE(logLines().filter("info: \"check server available failed : ").size(), 1);

        real.core.errorCode = 0;
        model.update();
        QTRY_VERIFY(server->available());
        real.stop();
        model.update();
        QTRY_VERIFY_WITH_TIMEOUT(!server->available(), 3000);
    }
};

QTEST_GUILESS_MAIN(TestServerInfo)
#include "tst_serverinfo.moc"
