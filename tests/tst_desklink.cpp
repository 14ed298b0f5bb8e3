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
    void oneAnswerPerQuery_data();
    void oneAnswerPerQuery();
    void restartedServerIsFoundAgain();
    void deletedWorkerSendsNothingLate();

private:
    QList<Answer> ask(DeskLinkWorker &worker, int queries = 1, int timeoutMs = 5000);
    QTemporaryDir dir;
    QString certificate;
};

void TestDeskLink::initTestCase()
{
    QVERIFY(testsupport::makeCertificate(dir.path(), "server"));
    QVERIFY(testsupport::makeCertificate(dir.path(), "stranger"));
    QFile::remove(dir.filePath("missing.pem"));
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

void TestDeskLink::oneAnswerPerQuery_data()
{
    QTest::addColumn<QString>("situation");
    QTest::addColumn<bool>("english");
    QTest::addColumn<QString>("text"); // what the answer's text holds; empty for success
    QTest::newRow("reachable") << "" << false << "";
    QTest::newRow("server down") << "down" << true << "UNAVAILABLE";
    QTest::newRow("slower than the deadline") << "slow" << true << "DEADLINE_EXCEEDED";
    QTest::newRow("certificate of another server") << "stranger" << true << "UNAVAILABLE";
    QTest::newRow("no certificate file") << "missing" << true << "cannot be read";
    QTest::newRow("empty certificate file") << "empty" << true << "is empty";
    QTest::newRow("server error, English") << "refuses" << true << "terminal not registered";
    QTest::newRow("server error, Chinese") << "refuses" << false << QString::fromUtf8("终端未注册");
}

void TestDeskLink::oneAnswerPerQuery()
{
    QFETCH(QString, situation);
    QFETCH(bool, english);
    QFETCH(QString, text);
    TestServer server(dir.path(), "server");
    server.core.delayMs = situation == "slow" ? 4000 : 0;
    server.core.errorCode = situation == "refuses" ? 17 : 0;
    QVERIFY(server.start(0));
    if (situation == "down")
        server.stop();
    QString pem = situation == "stranger" || situation == "missing" || situation == "empty"
                      ? dir.filePath(situation + ".pem")
                      : certificate;
    if (situation == "empty")
        QFile(pem).open(QIODevice::WriteOnly);
    DeskLinkWorker worker;
    worker.initConnection(pem, "127.0.0.1", server.port(), english);
    QElapsedTimer clock;
    clock.start();
    const QList<Answer> answers = ask(worker, 2);
    // Every answer comes within one refresh period, once per query.
    QVERIFY2(clock.elapsed() < 2100, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(answers.size(), 2);
    for (const Answer &answer : answers) {
        QCOMPARE(answer.success, text.isEmpty());
        QVERIFY2(answer.response.errorMsg.contains(text), qPrintable(answer.response.errorMsg));
        QCOMPARE(answer.response.errorMsg.isEmpty(), text.isEmpty());
        QCOMPARE(answer.response.errorCode, situation == "refuses" ? 17 : 0);
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
