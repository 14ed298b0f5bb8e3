// probix-check: the wait for the server's answer (answering, down, not
// configured), the JSON record, and the program's options and exit status.
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

#include "desklinkworker.h"
#include "fleetcheck.h"
#include "probix.h"
#include "testserver.h"

class TestCheck : public QObject
{
    Q_OBJECT
    QTemporaryDir home;
    QString pem = QCoreApplication::applicationDirPath() + "/config/grpcserver.pem";

    // A negative port: no server configured.
    void writeSettings(int port)
    {
        using testsupport::ServerEntry;
        testsupport::writeServerSettings(home.path(), port < 0 ? QString() : "127.0.0.1",
                                         port < 0 ? QList<ServerEntry>()
                                                  : QList<ServerEntry>{{"127.0.0.1", QString::number(port)}});
    }
    // Runs the installed-style program with HOME in the test's folder.
    int runCheck(const QStringList &arguments, QByteArray *out, QByteArray *err = nullptr)
    {
        QProcess check;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("HOME", home.path());
        check.setProcessEnvironment(environment);
        // In a cross build the program runs through the same emulator as this test.
        const QString emulator = QStringLiteral(PROBIX_EMULATOR);
        if (emulator.isEmpty())
            check.start(PROBIX_CHECK_BIN, arguments);
        else
            check.start(emulator, QStringList{PROBIX_CHECK_BIN} + arguments);
        if (!check.waitForFinished(60000))
            return -1;
        *out = check.readAllStandardOutput();
        if (err)
            *err = check.readAllStandardError();
        return check.exitStatus() == QProcess::NormalExit ? check.exitCode() : -1;
    }

private slots:
    void initTestCase()
    {
        qputenv("HOME", home.path().toUtf8());
        QVERIFY(testsupport::placeCertificate(home.path(), pem));
    }
    void cleanupTestCase() { testsupport::removeCertificate(pem); }

    void waitsForTheAnswer_data()
    {
        QTest::addColumn<QString>("server");
        QTest::addColumn<bool>("answered");
        QTest::newRow("answering") << "up" << true;
        QTest::newRow("down") << "down" << false;
        QTest::newRow("silent past the deadline") << "silent" << false;
        QTest::newRow("not configured") << "none" << false;
    }
    void waitsForTheAnswer()
    {
        QFETCH(QString, server);
        QFETCH(bool, answered);
        TestServer real(home.path(), "server");
        QVERIFY(real.start(0));
        // A slow answer, still well within the deadline (an emulated TLS handshake
        // takes its share): only a real wait sees it.
        real.core.delayMs = server == "silent" ? 10000 : 300;
        const int port = real.port();
        if (server == "down" || server == "none")
            real.stop();
        writeSettings(server == "none" ? -1 : port);
        Probix model;
        QElapsedTimer clock;
        clock.start();
        FleetCheck::waitForAnswer(*model.serverinfo());
        const qint64 waited = clock.elapsed();
        const FleetCheck::Report report = FleetCheck::read(model);
        QCOMPARE(report.answered, answered);
        QCOMPARE(report.serverPort, server == "none" ? QString() : QString::number(port));
        // A server that never answers costs the worker's deadline and its margin, never more.
        QVERIFY2(waited < DeskLinkWorker::deadlineMs + 2000, qPrintable(QString::number(waited)));
        if (server == "up")
            QCOMPARE(real.core.calls.load(), 1);
    }

    void jsonKeepsItsKeys()
    {
        FleetCheck::Report report;
        report.cpu = "2.4";
        report.memory = "1.9";
        report.serverAddress = "10.0.0.1";
        report.serverPort = "443";
        report.answered = true;
        report.disks = {{"/dev/sda1", "20.5", "30.0"}, {"/dev/sdb1", "1.0", "2.0"}};
        report.os = "Debian GNU/Linux 12 (bookworm)";
        QJsonParseError error;
        const QJsonObject object = QJsonDocument::fromJson(FleetCheck::json(report, "1.0"), &error).object();
        QCOMPARE(error.error, QJsonParseError::NoError);
        QCOMPARE(object.keys(),
                 QStringList({"cpu", "disks", "memory", "os", "server", "suitable", "version"}));
        QCOMPARE(object["cpu"].toObject(),
                 QJsonObject({{"ghz", "2.4"}, {"requirement", 2.3}, {"pass", true}}));
        QCOMPARE(object["memory"].toObject(),
                 QJsonObject({{"gb", "1.9"}, {"requirement", 2}, {"pass", false}}));
        QCOMPARE(object["server"].toObject(),
                 QJsonObject({{"address", "10.0.0.1"}, {"port", "443"}, {"answered", true}}));
        QCOMPARE(object["disks"].toArray().at(1).toObject(),
                 QJsonObject({{"device", "/dev/sdb1"}, {"free", "1.0"}, {"total", "2.0"}}));
        QCOMPARE(object["os"].toObject()["label"].toString(), report.os);
        QCOMPARE(object["suitable"].toBool(), false); // memory falls short
        QCOMPARE(object["version"].toString(), QString("1.0"));
    }

    void programOptionsAndExitStatus()
    {
        writeSettings(-1);
        QByteArray out, err;
        QCOMPARE(runCheck({"--frobnicate"}, &out, &err), 2);
        QVERIFY(out.isEmpty());
        QVERIFY(err.contains("unknown option '--frobnicate'"));
        QCOMPARE(runCheck({"--help"}, &out), 0);
        QVERIFY(out.startsWith("Usage: probix-check [--json]"));
        QCOMPARE(runCheck({"--version"}, &out), 0);
        QCOMPARE(out, QByteArray("probix-check " PROBIX_VERSION "\n"));
        // No server configured: never suitable, whatever the hardware.
        QCOMPARE(runCheck({"--json"}, &out), 1);
        const QJsonObject object = QJsonDocument::fromJson(out).object();
        QCOMPARE(object.value("server").toObject().value("answered"), QJsonValue(false));
        QCOMPARE(object.value("suitable"), QJsonValue(false));
        QCOMPARE(runCheck({}, &out), 1);
        QCOMPARE(out.count('\n'), 6); // five rows and the verdict
    }
};

QTEST_GUILESS_MAIN(TestCheck)
#include "tst_check.moc"
