// Reliability run of the server check: the real model refreshed again and again
// against an in-process TLS server that stops and starts on the same port, while
// the client's settings move between two ports so that workers are replaced with
// calls in flight. Not a test; meant to run under the sanitizers as well.
//
// Run: soak_serverinfo [refreshes=1000] [intervalMs=30]
// Prints resident memory every 100 refreshes and one summary line; exits 1 on any
// inconsistency, 2 when the run could not be set up.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QPointer>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <iterator>
#include <memory>
#include <mutex>
#include <thread>

#include "desklinkworker.h"
#include "probix.h"
#include "support.h"
#include "testserver.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool sanitized = true;
#else
constexpr bool sanitized = false;
#endif

namespace
{

// Two window refreshes: how long a server back from an outage may stay unanswered.
constexpr qint64 recoverBoundMs = 4000;
// A stopped server must read as down once the calls waiting for it ran out of time.
constexpr qint64 downBoundMs = DeskLinkWorker::deadlineMs + 1500;

// Entering a phase starts or stops both servers, after which `available` must follow
// them within settleMs and stay so. Refreshes are counted within the phase: from slowAt
// to quickAt the servers answer after 200 ms, at switchAt the settings move to the other
// server's port (0: never). A phase ends after its refreshes and minMs, once nothing
// awaited is pending.
struct Phase {
    const char *name;
    bool serversUp;
    qint64 settleMs;
    int slowAt, switchAt, quickAt;
    int refreshes;
    qint64 minMs;
};

// Slow answers around the port change, so the old worker goes with calls in flight;
// every other outage changes the port while the calls still wait for a connection.
constexpr Phase cycle[] = {
    {"up", true, recoverBoundMs, 40, 50, 60, 100, 0},
    {"down", false, downBoundMs, 0, 0, 0, 100, downBoundMs},
    {"up", true, recoverBoundMs, 40, 50, 60, 100, 0},
    {"down, port moved", false, downBoundMs, 0, 50, 0, 100, downBoundMs},
};

// Something awaited since start(): seen in time, or given up once overdue.
struct Awaited {
    bool pending = false;
    QElapsedTimer since;
    qint64 longestMs = 0;

    void start()
    {
        pending = true;
        since.start();
    }
    bool overdue(bool seen, qint64 boundMs)
    {
        const qint64 ms = pending ? since.elapsed() : 0;
        longestMs = pending && seen ? std::max(longestMs, ms) : longestMs;
        const bool late = pending && !seen && ms > boundMs;
        pending = pending && !seen && !late;
        return late;
    }
};

long residentKb()
{
    QFile status("/proc/self/status");
    const QString text = status.open(QIODevice::ReadOnly) ? status.readAll() : QByteArray();
    return text.section("VmRSS:", 1).simplified().section(' ', 0, 0).toLong();
}

// The model's own lines are counted, not kept: a down phase alone gives one per refresh,
// and a capture holding them all would show in the memory figures.
std::atomic<int> failedLines{0}, noAddressLines{0}, otherWarnings{0};
std::mutex printMutex;

void countLines(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (message.contains("check server available failed")) {
        ++failedLines;
        return;
    }
    if (message.contains("current server ip empty"))
        ++noAddressLines;
    if (type == QtDebugMsg || type == QtInfoMsg)
        return;
    ++otherWarnings;
    std::lock_guard<std::mutex> lock(printMutex);
    std::fprintf(stderr, "%s\n", qPrintable(message));
}

class Soak
{
public:
    Soak(const QString &home, int refreshes, int intervalMs)
        : m_home(home), m_refreshes(refreshes), m_intervalMs(intervalMs)
    {
    }

    int run()
    {
        const QString pem = QCoreApplication::applicationDirPath() + "/config/grpcserver.pem";
        if (!testsupport::placeCertificate(m_home, pem)) {
            std::fprintf(stderr, "cannot make the certificate or place it as %s\n", qPrintable(pem));
            return 2;
        }
        const auto removePem = qScopeGuard([&pem]() { testsupport::removeCertificate(pem); });
        if (!startServers()) {
            std::fprintf(stderr, "the test server did not start\n");
            return 2;
        }
        writeSettings();
        std::printf("soak: HOME %s, servers 127.0.0.1:%d and :%d, %d refreshes every %d ms%s\n",
                    qPrintable(m_home), m_servers[0].port(), m_servers[1].port(), m_refreshes, m_intervalMs,
                    sanitized ? " (sanitizer build)" : "");

        qInstallMessageHandler(countLines);
        m_runClock.start();
        m_model = std::make_unique<Probix>();
        begin(0);
        observe();
        sample();
        QObject::connect(&m_timer, &QTimer::timeout, [this]() { tick(); });
        m_timer.start(m_intervalMs);
        const int loop = QCoreApplication::exec();

        // Deleted with a slow call in flight: the call is cancelled and the worker's thread
        // ends. Answers already queued to this thread are still counted.
        m_model.reset();
        QCoreApplication::processEvents();
        for (TestServer &server : m_servers)
            server.stop();
        qInstallMessageHandler(nullptr);
        if (loop != 0 && m_problems.isEmpty())
            record("event loop ended with an error");
        return summary();
    }

private:
    const Phase &phase() const { return cycle[m_phase]; }
    void setDelay(int ms)
    {
        for (TestServer &server : m_servers)
            server.core.delayMs = ms;
    }
    void writeSettings()
    {
        const QString port = QString::number(m_servers[m_configured].port());
        testsupport::writeServerSettings(m_home, "127.0.0.1", {{"10.0.0.1", "443"}, {"127.0.0.1", port}});
    }
    void fail(const QString &why)
    {
        // One lasting fault would otherwise repeat at every refresh of its phase.
        if (++m_phaseProblems <= 3)
            record(why);
    }
    void record(const QString &why)
    {
        m_problems << QStringLiteral("refresh %1 (%2): %3").arg(m_refresh).arg(phase().name, why);
        std::fprintf(stderr, "INCONSISTENT %s\n", qPrintable(m_problems.last()));
    }

    bool startServers()
    {
        for (TestServer &server : m_servers) {
            // The same port again; another program may hold it for a moment after the stop.
            for (int attempt = 1; !server.start(server.port()); ++attempt, ++m_retries) {
                if (attempt == 20)
                    return false;
                server.stop();
                std::this_thread::sleep_for(std::chrono::milliseconds(100));
            }
        }
        return true;
    }

    void begin(int index)
    {
        m_phase = index;
        m_inPhase = 0;
        m_phaseProblems = 0;
        m_phaseClock.start();
        m_follow[phase().serversUp].start();
    }

    void schedule()
    {
        ++m_inPhase;
        if (m_inPhase == phase().slowAt)
            setDelay(200);
        if (m_inPhase == phase().quickAt)
            setDelay(0);
        if (m_inPhase == phase().switchAt) {
            m_configured = 1 - m_configured;
            writeSettings();
            ++m_portChanges;
            m_expectReplacement = true;
            if (phase().serversUp)
                m_newWorker.start();
        }
        const bool pending = m_follow[0].pending || m_follow[1].pending || m_newWorker.pending;
        if (m_inPhase >= phase().refreshes && m_phaseClock.elapsed() >= phase().minMs && !pending) {
            const int next = (m_phase + 1) % int(std::size(cycle));
            if (!cycle[next].serversUp) {
                setDelay(0);
                for (TestServer &server : m_servers)
                    server.stop();
                ++m_outages;
            } else if (!startServers()) {
                record("the server could not listen on its port again");
                m_timer.stop();
                QCoreApplication::exit(1);
                return;
            }
            begin(next);
        }
        // The last refreshes answer slowly, so the model is deleted with its call in flight.
        if (m_refresh == m_refreshes - 5 && phase().serversUp)
            setDelay(300);
    }

    void observe()
    {
        ServerInfo *info = m_model->serverinfo();
        const QString port = QString::number(m_servers[m_configured].port());
        if (info->ip() != "127.0.0.1" || info->port() != port)
            fail(
                QStringLiteral("shows %1:%2, settings say 127.0.0.1:%3").arg(info->ip(), info->port(), port));

        // A worker is followed from the refresh that made it. Queued, because it may
        // already be answering its first query while this connects.
        const DeskLinkWorker *previous = m_worker.data(), *current = info->worker();
        if (!current) {
            fail("no worker although the settings name a server");
        } else if (current != previous) {
            ++m_workersSeen;
            m_worker = current;
            auto ok = m_workerOk = std::make_shared<int>(0);
            QObject::connect(
                current, &DeskLinkWorker::queryServerTypeInfoResult, &m_receiver,
                [this, ok](const tagServerTypeInfoResp &, bool success) {
                    *ok += success;
                    ++m_answers[success];
                },
                Qt::QueuedConnection);
            QObject::connect(current, &QObject::destroyed, &m_receiver, [this]() { ++m_workersGone; });
        }
        if (m_worker && m_worker->port() != port.toUShort())
            fail(QStringLiteral("worker asks port %1, settings say %2").arg(m_worker->port()).arg(port));
        // The old worker must be gone by the end of the refresh that read the new port.
        if (m_expectReplacement && previous)
            fail("the port changed but the old worker was kept");
        m_expectReplacement = false;

        const bool available = info->available(), up = phase().serversUp;
        m_transitions[available] += available != m_lastAvailable;
        m_lastAvailable = available;
        Awaited &follow = m_follow[up];
        const bool settled = !follow.pending;
        if (follow.overdue(available == up, phase().settleMs))
            fail(QString(up ? "server back for %1 ms and still not available"
                            : "server stopped %1 ms ago and still available")
                     .arg(follow.since.elapsed()));
        else if (settled && available != up)
            fail(up ? "server up and answered before, now not available"
                    : "server stopped and seen down before, now available");
        if (m_newWorker.overdue(m_workerOk && *m_workerOk > 0, recoverBoundMs))
            fail(QStringLiteral("new worker for port %1 unanswered after %2 ms")
                     .arg(port)
                     .arg(m_newWorker.since.elapsed()));
    }

    void sample()
    {
        const long kb = residentKb();
        m_rss << qMakePair(m_refresh, kb);
        std::printf("refresh %5d  rss %7ld kB  %s  available %-5s  answers ok %d failed %d  workers %d\n",
                    m_refresh, kb, phase().serversUp ? "up  " : "down", m_lastAvailable ? "true" : "false",
                    m_answers[1], m_answers[0], m_workersSeen);
        std::fflush(stdout);
    }

    void tick()
    {
        schedule();
        QElapsedTimer clock;
        clock.start();
        m_model->update();
        const qint64 spentUs = clock.nsecsElapsed() / 1000;
        m_updateUs += spentUs;
        m_maxUpdateUs = std::max(m_maxUpdateUs, spentUs);
        ++m_refresh;
        observe();
        if (m_refresh % 100 == 0)
            sample();
        if (m_refresh >= m_refreshes) {
            m_timer.stop();
            QCoreApplication::quit();
        }
    }

    int summary()
    {
        // Growth is judged after the first cycle, once gRPC, TLS and the malloc arenas of
        // the worker threads have settled. Sanitizer builds keep freed memory in quarantine
        // or shadow and are only reported.
        const long start = m_rss.first().second, middle = m_rss.at(m_rss.size() / 2).second;
        const long end = m_rss.last().second;
        const auto after200 =
            std::find_if(m_rss.begin(), m_rss.end(), [](auto &rss) { return rss.first >= 200; });
        const long settled = after200 == m_rss.end() ? start : after200->second, growth = end - settled;
        if (!sanitized && growth > std::max(4096L, settled / 10))
            record(QStringLiteral("resident memory grew by %1 kB after refresh 200").arg(growth));
        if (m_answers[1] == 0 || m_answers[0] == 0)
            record("a run without both answers proves nothing");
        if (m_outages < 2)
            record("fewer than two outages; give more refreshes");
        if (m_answers[1] + m_answers[0] > m_refresh + 1)
            record(QStringLiteral("%1 answers to %2 queries")
                       .arg(m_answers[1] + m_answers[0])
                       .arg(m_refresh + 1));
        if (m_workersGone != m_workersSeen)
            record(QStringLiteral("%1 workers seen, %2 deleted").arg(m_workersSeen).arg(m_workersGone));
        if (noAddressLines != 0)
            record(QStringLiteral("%1 'current server ip empty' lines").arg(noAddressLines.load()));

        QString line;
        QTextStream out(&line);
        out.setRealNumberNotation(QTextStream::FixedNotation);
        out.setRealNumberPrecision(1);
        out << "soak summary: refreshes " << m_refresh << ", interval " << m_intervalMs << " ms, seconds "
            << m_runClock.elapsed() / 1000.0 << ", update() mean "
            << m_updateUs / 1000.0 / std::max(1, m_refresh) << " ms max " << m_maxUpdateUs / 1000.0
            << " ms, server cycles " << m_outages << ", restart retries " << m_retries << ", port changes "
            << m_portChanges << ", workers " << m_workersGone << "/" << m_workersSeen
            << " deleted, answers ok " << m_answers[1] << " failed " << m_answers[0] << " (failure lines "
            << failedLines.load() << "), available transitions to-true " << m_transitions[1] << " to-false "
            << m_transitions[0] << ", max ms stop->down " << m_follow[0].longestMs << " restart->up "
            << m_follow[1].longestMs << " switch->answer " << m_newWorker.longestMs << ", rss kB start "
            << start << " middle " << middle << " end " << end << " (after refresh 200: " << settled
            << ", growth " << growth << "), other warnings " << otherWarnings.load() << ", inconsistencies "
            << m_problems.size() << " -> " << (m_problems.isEmpty() ? "PASS" : "FAIL");
        out.flush();
        std::printf("%s\n", qPrintable(line));
        return m_problems.isEmpty() ? 0 : 1;
    }

    const QString m_home;
    const int m_refreshes, m_intervalMs;
    TestServer m_servers[2]{{m_home, "server"}, {m_home, "server"}};
    int m_configured = 0;
    std::unique_ptr<Probix> m_model;
    QTimer m_timer;
    QElapsedTimer m_runClock;
    int m_refresh = 0;

    int m_phase = 0, m_inPhase = 0, m_phaseProblems = 0, m_outages = 0, m_retries = 0, m_portChanges = 0;
    QElapsedTimer m_phaseClock;
    Awaited m_follow[2]; // `available` false after a stop, true after a start
    Awaited m_newWorker; // the first good answer after a port change
    bool m_expectReplacement = false, m_lastAvailable = false;
    int m_transitions[2] = {0, 0}; // to false, to true

    // Answers are counted per worker, on this thread, so that a late one of the old
    // worker is not taken for the new one's.
    QPointer<const DeskLinkWorker> m_worker;
    std::shared_ptr<int> m_workerOk;
    QObject m_receiver;
    int m_workersSeen = 0, m_workersGone = 0, m_answers[2] = {0, 0}; // failed, ok

    qint64 m_updateUs = 0, m_maxUpdateUs = 0;
    QList<QPair<int, long>> m_rss;
    QStringList m_problems;
};

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    const int refreshes = args.size() > 1 ? args.at(1).toInt() : 1000;
    const int intervalMs = args.size() > 2 ? args.at(2).toInt() : 30;
    if (refreshes < 1 || intervalMs < 1) {
        std::fprintf(stderr, "usage: soak_serverinfo [refreshes] [intervalMs]\n");
        return 2;
    }
    QTemporaryDir home;
    if (!home.isValid())
        return 2;
    // Before anything asks for the documents folder.
    qputenv("HOME", home.path().toUtf8());
    qunsetenv("XDG_CONFIG_HOME");
    return Soak(home.path(), refreshes, intervalMs).run();
}
