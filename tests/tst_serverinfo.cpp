// The server check: the decision over the client's settings as plain values,
// then the check as the window runs it, with settings.ini under a temporary
// HOME and a real server: the worker kept or replaced, the reply stored in the
// client's language, the signal once per check.
#include <QElapsedTimer>
#include <QPointer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

#include "desklinkworker.h"
#include "probix.h"
#include "testserver.h"

class TestServerInfo : public QObject
{
    Q_OBJECT
    QTemporaryDir home;
    QString pem = QCoreApplication::applicationDirPath() + "/config/grpcserver.pem";
    std::unique_ptr<testsupport::LogCapture> log;

    void serveAt(const QString &current, int port)
    {
        testsupport::writeServerSettings(home.path(), current, {{"127.0.0.1", QString::number(port)}});
    }

private slots:
    void initTestCase()
    {
        qputenv("HOME", home.path().toUtf8());
        QVERIFY(testsupport::placeCertificate(home.path(), pem));
        log.reset(new testsupport::LogCapture);
    }
    void cleanupTestCase()
    {
        log.reset();
        testsupport::removeCertificate(pem);
    }
    void init() { log->clear(); }

    void choice_data()
    {
        QTest::addColumn<QStringList>("entries"); // "first|second|port"
        QTest::addColumn<QString>("current");
        QTest::addColumn<QString>("old"); // "ip|port" shown before
        QTest::addColumn<QString>("port");
        QTest::addColumn<bool>("replace");
        const auto row = [](const char *name, const QStringList &entries, const QString &current,
                            const QString &old, const QString &port, bool replace) {
            QTest::newRow(name) << entries << current << old << port << replace;
        };
        const QStringList one{"10.0.0.1||443"};
        row("second address counts like the first", {"10.0.0.9|10.0.0.1|443"}, "10.0.0.1", "|", "443", true);
        row("first match wins", {"10.0.0.2||80", "10.0.0.1||443", "10.0.0.1||8443"}, "10.0.0.1", "|", "443",
            true);
        row("comparison is exact", {"10.0.0.10||443"}, "10.0.0.1", "|", "", false);
        row("nothing changed, worker kept", one, "10.0.0.1", "10.0.0.1|443", "443", false);
        row("port changed", one, "10.0.0.1", "10.0.0.1|80", "443", true);
        row("address changed, same port", {"10.0.0.2||443"}, "10.0.0.2", "10.0.0.1|443", "443", true);
        row("no match: port empties, worker kept", one, "10.0.0.7", "10.0.0.1|443", "", false);
        row("empty address matches an empty second, worker kept", one, "", "10.0.0.1|443", "443", false);
    }
    void choice()
    {
        QFETCH(QStringList, entries);
        QFETCH(QString, current);
        QFETCH(QString, old);
        QList<ServerInfo::Entry> list;
        for (const QString &entry : entries)
            list.append({entry.section('|', 0, 0), entry.section('|', 1, 1), entry.section('|', 2)});
        const ServerInfo::Choice choice =
            ServerInfo::choose(current, list, old.section('|', 0, 0), old.section('|', 1));
        QCOMPARE(choice.ip, current);
        QTEST(choice.port, "port");
        QTEST(choice.replaceWorker, "replace");
    }

    // What reaches the decision from the file: entries in index order, not the
    // file's, only those with a first address, and a stated size far beyond
    // them answered at once.
    void readsTheFile()
    {
        testsupport::writeFile(testsupport::clientFile(home.path(), "settings.ini"),
                               "[SERVERINFO]\nCURSERVERIP=a\nSERVERS\\size=2147483647\n"
                               "SERVERS\\70000\\SERVERIP=b\nSERVERS\\70000\\SECONDSERVERIP=a\n"
                               "SERVERS\\70000\\SERVERPORT=7\n"
                               "SERVERS\\1\\SECONDSERVERIP=a\nSERVERS\\1\\SERVERPORT=1\n"
                               "SERVERS\\9\\SERVERIP=a\nSERVERS\\9\\SERVERPORT=9\n");
        ServerInfo server;
        QElapsedTimer clock;
        clock.start();
        server.reloadSettings();
        QVERIFY2(clock.elapsed() < 1000, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(server.ip() + ":" + server.port(), QString("a:9"));
    }

    void arrayIndicesBelowTheStatedSize()
    {
        const QStringList groups{"2", "10", "1", "11", "0", "-1", "x", "02"};
        QCOMPARE(ServerInfo::arrayIndices(groups, 10), QList<int>({0, 1, 9}));
        QCOMPARE(ServerInfo::arrayIndices(groups, 0), QList<int>());
        QCOMPARE(ServerInfo::arrayIndices(groups, -5), QList<int>());
    }

    void workerFollowsTheSettings()
    {
        TestServer real(home.path(), "server");
        QVERIFY(real.start(0));
        serveAt("127.0.0.1", 5001);
        ServerInfo server;
        QSignalSpy spy(&server, &ServerInfo::serverInfoChanged);
        server.checkServerAvailable();
        QPointer<const DeskLinkWorker> first = server.worker();
        QVERIFY(first);
        server.checkServerAvailable();
        QCOMPARE(server.worker(), first.data());

        serveAt("127.0.0.1", real.port());
        server.checkServerAvailable();
        QVERIFY(!first);
        QCOMPARE(server.worker()->port(), quint16(real.port()));
        QTRY_COMPARE(real.core.calls.load(), 1);

        // Without an address the window shows none, but the worker stays and is still asked.
        const DeskLinkWorker *worker = server.worker();
        serveAt(QString(), real.port());
        for (int tick = 0; tick < 3; ++tick)
            server.checkServerAvailable();
        QCOMPARE(log->linesWithLevel().filter("warning: current server ip empty").size(), 3);
        QCOMPARE(server.ip() + server.port(), QString());
        QCOMPARE(server.worker(), worker);
        QTRY_COMPARE(real.core.calls.load(), 4);
        QCOMPARE(spy.count(), 6);
    }

    // The worker is made in the language of the client's file at that moment.
    void replyDecidesAvailability_data()
    {
        QTest::addColumn<QString>("language");
        QTest::addColumn<QString>("text");
        QTest::newRow("English") << "English" << QString("terminal not registered");
        QTest::newRow("Chinese") << "Chinese" << QString::fromUtf8("终端未注册");
    }
    void replyDecidesAvailability()
    {
        QFETCH(QString, language);
        QFETCH(QString, text);
        testsupport::writeLanguageFile(home.path(), language);
        TestServer real(home.path(), "server");
        QVERIFY(real.start(0));
        serveAt("127.0.0.1", real.port());
        // The model's own first check already asks; its reply shows from the next refresh.
        Probix model;
        ServerInfo *server = model.serverinfo();
        QTRY_VERIFY(server->available());
        real.core.errorCode = 5;
        model.update();
        QTRY_VERIFY(!server->available());
        // One single QString operand, so the line comes out quoted.
        QCOMPARE(log->linesWithLevel().filter("check server"),
                 QStringList("info: " + testsupport::quoted("check server available failed : " + text)));
        real.core.errorCode = 0;
        model.update();
        QTRY_VERIFY(server->available());
        real.stop();
        model.update();
        QTRY_VERIFY_WITH_TIMEOUT(!server->available(), 3000);
        QCOMPARE(log->lines().filter("check server").size(), 2);
    }
};

QTEST_GUILESS_MAIN(TestServerInfo)
#include "tst_serverinfo.moc"
