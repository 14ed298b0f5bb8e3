// The server query against a real TLS gRPC server on 127.0.0.1: reachable,
// down, slow, wrong or missing certificate, restarted, refusing with a code,
// and a worker deleted with its call still in flight.
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QtTest>

#include "desklinkworker.h"
#include "testserver.h"

struct Answer {
    bool success;
    tagServerTypeInfoResp response;
};

class TestDeskLink : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void reachableServerAnswers();
    void failuresCarryReadableText_data();
    void failuresCarryReadableText();
    void serverErrorInTheDisplayLanguage();
    void restartedServerIsFoundAgain();
    void deletedWorkerSendsNothingLate();

private:
    QList<Answer> ask(DeskLinkWorker &worker, int queries = 1, int timeoutMs = 5000);
    QTemporaryDir dir;
    QString certificate;
};

void TestDeskLink::initTestCase()
{
    QVERIFY(makeCertificate(dir.path(), "server"));
    QVERIFY(makeCertificate(dir.path(), "stranger"));
    certificate = dir.filePath("server.pem");
}

QList<Answer> TestDeskLink::ask(DeskLinkWorker &worker, int queries, int timeoutMs)
{
    QList<Answer> answers;
    QObject receiver;
    connect(
        &worker, &DeskLinkWorker::queryServerTypeInfoResult, &receiver,
        [&answers](const tagServerTypeInfoResp &response, bool success) {
            answers << Answer{success, response};
        },
        Qt::QueuedConnection);
    for (int i = 0; i < queries; ++i)
        worker.queryServerTypeInfo();
    QElapsedTimer clock;
    clock.start();
    while (answers.size() < queries && clock.elapsed() < timeoutMs)
        QTest::qWait(10);
    // Anything beyond one answer per query would show here.
    QTest::qWait(50);
    return answers;
}

void TestDeskLink::reachableServerAnswers()
{
    TestServer server(dir.path(), "server");
    QVERIFY(server.start(0));
    DeskLinkWorker worker;
    worker.initConnection(certificate, "127.0.0.1", server.port(), false);
    const QList<Answer> answers = ask(worker, 3);
    QCOMPARE(answers.size(), 3);
    for (const Answer &answer : answers) {
        QVERIFY2(answer.success, qPrintable(answer.response.errorMsg));
        QCOMPARE(answer.response.errorMsg, QString());
        QCOMPARE(answer.response.serverName, QString("probix-test"));
    }
    QCOMPARE(server.core.calls.load(), 3);
}

void TestDeskLink::failuresCarryReadableText_data()
{
    QTest::addColumn<QString>("situation");
    QTest::addColumn<QString>("expected");
    QTest::newRow("server down") << "down"
                                 << "UNAVAILABLE";
    QTest::newRow("slower than the deadline") << "slow"
                                              << "DEADLINE_EXCEEDED";
    QTest::newRow("certificate of another server") << "stranger"
                                                   << "";
    QTest::newRow("no certificate file") << "missing"
                                         << "cannot be read";
    QTest::newRow("empty certificate file") << "empty"
                                            << "is empty";
}

void TestDeskLink::failuresCarryReadableText()
{
    QFETCH(QString, situation);
    QFETCH(QString, expected);
    TestServer server(dir.path(), "server");
    QVERIFY(server.start(0));
    QString pem = certificate;
    if (situation == "down") {
        server.stop();
    } else if (situation == "slow") {
        server.core.delayMs = 4000;
    } else if (situation == "stranger") {
        pem = dir.filePath("stranger.pem");
    } else if (situation == "missing") {
        pem = dir.filePath("absent.pem");
    } else if (situation == "empty") {
        pem = dir.filePath("empty.pem");
        QFile(pem).open(QIODevice::WriteOnly);
    }
    DeskLinkWorker worker;
    worker.initConnection(pem, "127.0.0.1", server.port(), true);
    QElapsedTimer clock;
    clock.start();
    const QList<Answer> answers = ask(worker);
    QCOMPARE(answers.size(), 1);
    QVERIFY(!answers.first().success);
    const QString text = answers.first().response.errorMsg;
    QVERIFY2(!text.isEmpty() && text.contains(expected), qPrintable(text));
    // Every failure is told within one refresh period.
    QVERIFY2(clock.elapsed() < 2000, qPrintable(QString::number(clock.elapsed())));
}

void TestDeskLink::serverErrorInTheDisplayLanguage()
{
    TestServer server(dir.path(), "server");
    server.core.errorCode = 17;
    QVERIFY(server.start(0));
    for (bool english : {true, false}) {
        DeskLinkWorker worker;
        worker.initConnection(certificate, "127.0.0.1", server.port(), english);
        const Answer answer = ask(worker).value(0, Answer{true, {}});
        QVERIFY(!answer.success);
        QCOMPARE(answer.response.errorCode, 17);
        QCOMPARE(answer.response.errorMsg,
                 english ? QString("terminal not registered") : QString::fromUtf8("终端未注册"));
    }
}

void TestDeskLink::restartedServerIsFoundAgain()
{
    TestServer server(dir.path(), "server");
    QVERIFY(server.start(0));
    DeskLinkWorker worker;
    worker.initConnection(certificate, "127.0.0.1", server.port(), false);
    QVERIFY(ask(worker).value(0).success);

    server.stop();
    QTest::qWait(300);
    QVERIFY(!ask(worker).value(0, Answer{true, {}}).success);
    QVERIFY(!ask(worker).value(0, Answer{true, {}}).success);

    QVERIFY(server.start(server.port()));
    // The window asks every two seconds: the second question after the
    // server's return must be answered.
    bool answered = false;
    for (int tick = 0; tick < 2 && !answered; ++tick) {
        if (tick)
            QTest::qWait(2000);
        answered = ask(worker).value(0).success;
    }
    QVERIFY(answered);
}

void TestDeskLink::deletedWorkerSendsNothingLate()
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

QTEST_GUILESS_MAIN(TestDeskLink)
#include "tst_desklink.moc"
