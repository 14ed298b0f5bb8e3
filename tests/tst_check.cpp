// probix-check: the wait for the server's answer, the JSON record, and the
// program's options and exit status.
#include <QElapsedTimer>
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

    // The installed-style program, with HOME (set in initTestCase) in the test's folder.
    int runCheck(const QStringList &arguments, QByteArray *out, QByteArray *err = nullptr)
    {
        QProcess check;
        // In a cross build the program runs through the same emulator as this test.
        const QStringList command = QString(PROBIX_EMULATOR).split(';', Qt::SkipEmptyParts)
                                    << PROBIX_CHECK_BIN << arguments;
        check.start(command.first(), command.mid(1));
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
        QTest::addColumn<bool>("answered");
        QTest::newRow("answering") << true;
        QTest::newRow("silent past the deadline") << false;
    }
    void waitsForTheAnswer()
    {
        QFETCH(bool, answered);
        TestServer real(home.path(), "server");
        QVERIFY(real.start(0));
        // A slow answer, still well within the deadline (an emulated TLS handshake
        // takes its share): only a real wait sees it.
        real.core.delayMs = answered ? 300 : 10000;
        testsupport::writeServerSettings(home.path(), "127.0.0.1",
                                         {{"127.0.0.1", QString::number(real.port())}});
        Probix model;
        QElapsedTimer clock;
        clock.start();
        FleetCheck::waitForAnswer(*model.serverinfo());
        const qint64 waited = clock.elapsed();
        const FleetCheck::Report report = FleetCheck::read(model);
        QCOMPARE(report.answered, answered);
        QCOMPARE(report.serverPort, QString::number(real.port()));
        // A server that never answers costs the worker's deadline and its margin, never more.
        QVERIFY2(waited < DeskLinkWorker::deadlineMs + 2000, qPrintable(QString::number(waited)));
        if (answered)
            QCOMPARE(real.core.calls.load(), 1);
    }

    void jsonKeepsItsKeys()
    {
        FleetCheck::Report report{"2.4", "1.9", "10.0.0.1", "443", true, {}, "Debian 12"};
        report.disks = {{"/dev/sda1", "20.5", "30.0"}, {"/dev/sdb1", "1.0", "2.0"}};
        // Memory falls short, so not suitable.
        QCOMPARE(FleetCheck::json(report, "1.0"),
                 QByteArray(R"({"cpu":{"ghz":"2.4","pass":true,"requirement":2.3},"disks":[{"device":)"
                            R"("/dev/sda1","free":"20.5","total":"30.0"},{"device":"/dev/sdb1","free":"1.0",)"
                            R"("total":"2.0"}],"memory":{"gb":"1.9","pass":false,"requirement":2},"os":)"
                            R"({"label":"Debian 12"},"server":{"address":"10.0.0.1","answered":true,)"
                            R"("port":"443"},"suitable":false,"version":"1.0"})"
                            "\n"));
    }

    void programOptionsAndExitStatus()
    {
        testsupport::writeServerSettings(home.path(), QString(), {});
        QByteArray out, err;
        QCOMPARE(runCheck({"--frobnicate"}, &out, &err), 2);
        QVERIFY(out.isEmpty());
        QVERIFY(err.contains("unknown option '--frobnicate'"));
        QCOMPARE(runCheck({"--help"}, &out), 0);
        QVERIFY(out.startsWith("Usage: probix-check [--json]"));
        QCOMPARE(runCheck({"--version"}, &out), 0);
        QCOMPARE(out, QByteArray("probix-check " PROBIX_VERSION "\n"));
        // No server configured: never suitable, whatever the hardware (the JSON form: tst_fleet).
        QCOMPARE(runCheck({}, &out), 1);
        QCOMPARE(out.count('\n'), 6); // five rows and the verdict
    }
};

QTEST_GUILESS_MAIN(TestCheck)
#include "tst_check.moc"
