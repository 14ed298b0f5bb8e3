// What a finished call comes to, from plain values; then the query against a
// real TLS gRPC server on 127.0.0.1: reachable, down, slow, wrong or missing
// certificate, restarted, and a worker deleted with calls in flight.
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QtTest>

#include "desklinkworker.h"
#include "testserver.h"

using Answer = DeskLinkWorker::Answer;
using Finished = DeskLinkWorker::Finished;
Q_DECLARE_METATYPE(Finished)

// The reply's name and code are set on every call, so that a failed call
// shows whether they leak into its answer.
static Finished call(int status, int code, const QString &en, const QString &zh, bool english = true,
                     bool connected = true)
{
    return {false, QString(), status, status ? "lost" : "", connected, "127.0.0.1:5",
            code,  en,        zh,     "probix-test",        english,   42};
}

class TestDeskLink : public QObject
{
    Q_OBJECT
    QTemporaryDir dir;
    QString certificate;

    // The answers to this many queries, after waiting long enough for one more.
    QList<Answer> ask(DeskLinkWorker &worker, int queries = 1)
    {
        QList<Answer> answers;
        QObject receiver;
        connect(
            &worker, &DeskLinkWorker::queryServerTypeInfoResult, &receiver,
            [&answers](const tagServerTypeInfoResp &response, bool success) {
                answers << Answer{response, success};
            },
            Qt::QueuedConnection);
        for (int i = 0; i < queries; ++i)
            worker.queryServerTypeInfo();
        QElapsedTimer clock;
        clock.start();
        while (answers.size() < queries && clock.elapsed() < 5000)
            QTest::qWait(10);
        QTest::qWait(50);
        return answers;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(testsupport::makeCertificate(dir.path(), "server"));
        QVERIFY(testsupport::makeCertificate(dir.path(), "stranger"));
        certificate = dir.filePath("server.pem");
    }

    void answerFor_data()
    {
        QTest::addColumn<Finished>("call");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("text"); // empty for success
        const auto row = [](const char *name, const Finished &call, int status, const QString &text) {
            QTest::newRow(name) << call << status << text;
        };
        const QString zh = QString::fromUtf8("终端未注册");
        row("answered", call(0, 0, "", ""), 0, "");
        row("code 0 with texts still succeeds", call(0, 0, "en", zh), 0, "");
        row("refused, English", call(0, 17, "en", zh, true), 0, "en");
        row("refused, Chinese", call(0, 17, "en", zh, false), 0, zh);
        row("no English text, Chinese instead", call(0, 17, "", zh, true), 0, zh);
        row("no Chinese text, English instead", call(0, 17, "en", "", false), 0, "en");
        row("no text at all", call(0, 17, "", ""), 0, "server error code 17");
        const int late = grpc::DEADLINE_EXCEEDED;
        row("call failed", call(grpc::UNAVAILABLE, 17, "en", zh, true, false), grpc::UNAVAILABLE,
            "UNAVAILABLE: lost");
        row("out of time while connected", call(late, 17, "en", zh), late, "DEADLINE_EXCEEDED: lost");
        row("out of time without a connection", call(late, 17, "en", zh, true, false), late,
            "UNAVAILABLE: no connection to 127.0.0.1:5 within 1500 ms");
        row("a code gRPC does not name", call(99, 17, "en", zh), 99, "UNKNOWN: lost");
        Finished early = call(0, 17, "en", zh);
        early.early = true;
        early.earlyError = "certificate x cannot be read";
        row("failed before the network", early, grpc::UNAVAILABLE, early.earlyError);
    }
    void answerFor()
    {
        QFETCH(Finished, call);
        QFETCH(int, status);
        QFETCH(QString, text);
        const Answer answer = DeskLinkWorker::answerFor(call);
        QCOMPARE(answer.success, text.isEmpty());
        QCOMPARE(answer.response.grpcStatus, status);
        QCOMPARE(answer.response.errorMsg, text);
        // The server's code and name come only with its reply.
        const bool replied = status == grpc::OK;
        QCOMPARE(answer.response.errorCode, replied ? call.errorCode : 0);
        QCOMPARE(answer.response.serverName, replied ? call.name : QString());
        QCOMPARE(answer.response.elapsedMs, call.elapsedMs);
    }

    void oneAnswerPerQuery_data()
    {
        QTest::addColumn<QString>("situation");
        QTest::addColumn<QString>("text"); // what the answer's text holds; empty for success
        const auto row = [](const char *name, const QString &situation, const QString &text) {
            QTest::newRow(name) << situation << text;
        };
        row("reachable", "", "");
        row("server down", "down", "UNAVAILABLE: no connection to 127.0.0.1:");
        row("slower than the deadline", "slow", "DEADLINE_EXCEEDED: ");
        row("certificate of another server", "stranger", "UNAVAILABLE: no connection");
        row("no certificate file", "missing", "cannot be read");
        row("empty certificate file", "empty", "is empty");
    }

    void oneAnswerPerQuery()
    {
        QFETCH(QString, situation);
        QFETCH(QString, text);
        TestServer server(dir.path(), "server");
        server.core.delayMs = situation == "slow" ? 4000 : 0;
        QVERIFY(server.start(0));
        if (situation == "down")
            server.stop();
        const bool ownFile = situation == "stranger" || situation == "missing" || situation == "empty";
        const QString pem = dir.filePath((ownFile ? situation : "server") + ".pem");
        if (situation == "empty")
            QFile(pem).open(QIODevice::WriteOnly);
        DeskLinkWorker worker;
        worker.initConnection(pem, "127.0.0.1", server.port(), true);
        QElapsedTimer clock;
        clock.start();
        const QList<Answer> answers = ask(worker, 2);
        // Every answer comes within one refresh period, once per query.
        QVERIFY2(clock.elapsed() < 2100, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(answers.size(), 2);
        for (const Answer &answer : answers) {
            const QString &got = answer.response.errorMsg;
            QCOMPARE(answer.success, text.isEmpty());
            QVERIFY2(text.isEmpty() ? got.isEmpty() : got.contains(text), qPrintable(got));
        }
    }

    void restartedServerIsFoundAgain()
    {
        TestServer server(dir.path(), "server");
        QVERIFY(server.start(0));
        DeskLinkWorker worker;
        worker.initConnection(certificate, "127.0.0.1", server.port(), false);
        QVERIFY(ask(worker).value(0).success);

        server.stop();
        QTest::qWait(300);
        QVERIFY(!ask(worker).value(0, Answer{{}, true}).success);

        QVERIFY(server.start(server.port()));
        // The window asks every two seconds: the second question after the
        // server's return must be answered.
        bool answered = ask(worker).value(0).success;
        if (!answered)
            QTest::qWait(2000);
        QVERIFY(answered || ask(worker).value(0).success);
    }

    void deletedWorkerSendsNothingLate()
    {
        TestServer server(dir.path(), "server");
        server.core.delayMs = 1000;
        QVERIFY(server.start(0));
        std::atomic<int> late{0};
        for (int round = 0; round < 5; ++round) {
            auto *worker = new DeskLinkWorker;
            worker->initConnection(certificate, "127.0.0.1", server.port(), false);
            connect(worker, &DeskLinkWorker::queryServerTypeInfoResult,
                    [&late](const tagServerTypeInfoResp &, bool) { ++late; });
            for (int i = 0; i < 3; ++i)
                worker->queryServerTypeInfo();
            QTest::qWait(round * 40);
            QElapsedTimer clock;
            clock.start();
            delete worker;
            // Cancelling must not wait for the slow server.
            QVERIFY2(clock.elapsed() < 500, qPrintable(QString::number(clock.elapsed())));
        }
        QTest::qWait(1500);
        QCOMPARE(late.load(), 0);
    }
};

QTEST_GUILESS_MAIN(TestDeskLink)
#include "tst_desklink.moc"
