// Reliability run of the server check: the real model refreshed again and again
// against an in-process TLS server that stops and starts on the same port, while
// the client's settings move between two ports so that workers are replaced with
// calls in flight. Not a test; meant to run under the sanitizers as well.
//
// Run: soak_serverinfo [refreshes=1000] [intervalMs=30]
// Prints resident memory every 100 refreshes and one summary line; exits 1 on any
// inconsistency, 2 when the run could not be set up.
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QPointer>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <memory>
#include <mutex>
#include <thread>

#include "desklinkworker.h"
#include "probix.h"
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

long residentKb()
{
    QFile status("/proc/self/status");
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toLong();
    return 0;
}

// The model's own lines are counted, not printed: a down phase alone gives one per refresh.
std::atomic<int> failedLines{0};
std::atomic<int> noAddressLines{0};
std::atomic<int> otherWarnings{0};
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

// Keeps a certificate that was already beside the program, and puts it back at the end.
class PlacedCertificate
{
public:
    bool place(const QString &source)
    {
        m_dir = QCoreApplication::applicationDirPath() + "/config";
        m_path = m_dir + "/grpcserver.pem";
        m_madeDir = !QDir(m_dir).exists();
        if (!QDir().mkpath(m_dir))
            return false;
        QFile old(m_path);
        if (old.exists()) {
            if (!old.open(QIODevice::ReadOnly))
                return false;
            m_saved = old.readAll();
            m_hadOne = true;
            old.close();
            QFile::remove(m_path);
        }
        m_placed = QFile::copy(source, m_path);
        return m_placed;
    }
    ~PlacedCertificate()
    {
        if (!m_placed)
            return;
        QFile::remove(m_path);
        if (m_hadOne) {
            QFile back(m_path);
            if (back.open(QIODevice::WriteOnly))
                back.write(m_saved);
        } else if (m_madeDir) {
            QDir().rmdir(m_dir);
        }
    }

private:
    QString m_dir, m_path;
    QByteArray m_saved;
    bool m_hadOne = false, m_madeDir = false, m_placed = false;
};

class Soak
{
public:
    Soak(const QString &home, int refreshes, int intervalMs)
        : m_home(home), m_refreshes(refreshes),
          m_intervalMs(intervalMs), m_servers{std::make_unique<TestServer>(home, "server"),
                                              std::make_unique<TestServer>(home, "server")}
    {
    }

    int run();

private:
    enum class Phase { Up, Down };

    bool startServers();
    void stopServers();
    void setDelay(int ms);
    void writeSettings(int port);
    void switchPort();
    void watchWorker();
    void tick();
    void observe();
    void schedule();
    void sample();
    void fail(const QString &why);
    void record(const QString &why);
    int summary();

    QString m_home;
    int m_refreshes;
    int m_intervalMs;
    std::unique_ptr<TestServer> m_servers[2];
    int m_configured = 0;
    std::unique_ptr<Probix> m_model;
    QTimer m_timer;
    QElapsedTimer m_runClock;

    int m_refresh = 0;
    Phase m_phase = Phase::Up;
    int m_inPhase = 0;
    QElapsedTimer m_phaseClock;
    int m_downPhases = 0;
    int m_restartRetries = 0;
    int m_portChanges = 0;

    bool m_lastAvailable = false;
    int m_toTrue = 0, m_toFalse = 0;
    bool m_waitTrue = false, m_waitFalse = false, m_waitNewWorker = false, m_expectReplacement = false;
    int m_phaseProblems = 0;
    qint64 m_maxRecoverMs = 0, m_maxDownMs = 0, m_maxSwitchMs = 0;
    QElapsedTimer m_switchClock;

    QPointer<const DeskLinkWorker> m_worker;
    QObject m_receiver;
    std::shared_ptr<int> m_workerOk;
    int m_workersSeen = 0;
    int m_workersGone = 0;
    int m_okAnswers = 0;
    int m_failedAnswers = 0;

    qint64 m_updateUs = 0, m_maxUpdateUs = 0;
    QList<QPair<int, long>> m_rss;
    QStringList m_problems;
};

bool Soak::startServers()
{
    for (auto &server : m_servers) {
        // The same port again; another program may hold it for a moment after the stop.
        int attempt = 0;
        while (!server->start(server->port())) {
            if (++attempt == 20)
                return false;
            ++m_restartRetries;
            server->stop();
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    }
    return true;
}

void Soak::stopServers()
{
    for (auto &server : m_servers)
        server->stop();
}

void Soak::setDelay(int ms)
{
    for (auto &server : m_servers)
        server->core.delayMs = ms;
}

void Soak::writeSettings(int port)
{
    const QString path = m_home + "/Documents/Tessera/settings.ini";
    QDir().mkpath(m_home + "/Documents/Tessera");
    QFile::remove(path);
    QSettings settings(path, QSettings::IniFormat);
    settings.beginGroup("SERVERINFO");
    settings.setValue("CURSERVERIP", "127.0.0.1");
    settings.beginWriteArray("SERVERS", 2);
    settings.setArrayIndex(0);
    settings.setValue("SERVERIP", "10.0.0.1");
    settings.setValue("SERVERPORT", "443");
    settings.setArrayIndex(1);
    settings.setValue("SERVERIP", "127.0.0.1");
    settings.setValue("SERVERPORT", QString::number(port));
    settings.endArray();
    settings.endGroup();
    settings.sync();
}

void Soak::switchPort()
{
    m_configured = 1 - m_configured;
    writeSettings(m_servers[m_configured]->port());
    ++m_portChanges;
    m_waitNewWorker = m_phase == Phase::Up;
    m_expectReplacement = true;
    m_switchClock.start();
}

void Soak::fail(const QString &why)
{
    // One lasting fault would otherwise repeat at every refresh of its phase.
    if (++m_phaseProblems > 3)
        return;
    record(why);
}

void Soak::record(const QString &why)
{
    m_problems << QStringLiteral("refresh %1: %2").arg(m_refresh).arg(why);
    std::fprintf(stderr, "INCONSISTENT refresh %d: %s\n", m_refresh, qPrintable(why));
}

// A worker is followed from the refresh that made it: its answers are counted
// here on the GUI thread, its end through destroyed. Queued, because the worker
// may already be answering its first query while this connects.
void Soak::watchWorker()
{
    const DeskLinkWorker *current = m_model->serverinfo()->worker();
    if (!current) {
        fail("no worker although the settings name a server");
        return;
    }
    if (m_worker && m_worker.data() == current)
        return;
    ++m_workersSeen;
    m_worker = current;
    m_workerOk = std::make_shared<int>(0);
    auto ok = m_workerOk;
    QObject::connect(
        current, &DeskLinkWorker::queryServerTypeInfoResult, &m_receiver,
        [this, ok](const tagServerTypeInfoResp &, bool success) {
            if (success) {
                ++*ok;
                ++m_okAnswers;
            } else {
                ++m_failedAnswers;
            }
        },
        Qt::QueuedConnection);
    QObject::connect(current, &QObject::destroyed, &m_receiver, [this]() { ++m_workersGone; });
}

void Soak::observe()
{
    ServerInfo *info = m_model->serverinfo();
    const QString port = QString::number(m_servers[m_configured]->port());
    if (info->ip() != "127.0.0.1" || info->port() != port)
        fail(QStringLiteral("shows %1:%2, settings say 127.0.0.1:%3").arg(info->ip(), info->port(), port));
    const DeskLinkWorker *previous = m_worker.data();
    watchWorker();
    if (m_worker && m_worker->port() != port.toUShort())
        fail(QStringLiteral("worker asks port %1, settings say %2").arg(m_worker->port()).arg(port));
    // The old worker must be gone by the end of the refresh that read the new port.
    if (m_expectReplacement && previous)
        fail("the port changed but the old worker was kept");
    m_expectReplacement = false;

    const bool available = info->available();
    if (available != m_lastAvailable) {
        (available ? m_toTrue : m_toFalse)++;
        m_lastAvailable = available;
    }
    const qint64 inPhaseMs = m_phaseClock.elapsed();
    if (m_waitTrue) {
        if (available) {
            m_waitTrue = false;
            m_maxRecoverMs = std::max(m_maxRecoverMs, inPhaseMs);
        } else if (inPhaseMs > recoverBoundMs) {
            m_waitTrue = false;
            fail(QStringLiteral("server back for %1 ms and still not available").arg(inPhaseMs));
        }
    } else if (m_phase == Phase::Up && !available) {
        fail("server up and answered before, now not available");
    }
    if (m_waitFalse) {
        if (!available) {
            m_waitFalse = false;
            m_maxDownMs = std::max(m_maxDownMs, inPhaseMs);
        } else if (inPhaseMs > downBoundMs) {
            m_waitFalse = false;
            fail(QStringLiteral("server stopped %1 ms ago and still available").arg(inPhaseMs));
        }
    } else if (m_phase == Phase::Down && available) {
        fail("server stopped and seen down before, now available");
    }
    if (m_waitNewWorker) {
        const qint64 since = m_switchClock.elapsed();
        if (m_workerOk && *m_workerOk > 0) {
            m_waitNewWorker = false;
            m_maxSwitchMs = std::max(m_maxSwitchMs, since);
        } else if (since > recoverBoundMs) {
            m_waitNewWorker = false;
            fail(QStringLiteral("new worker for port %1 unanswered after %2 ms").arg(port).arg(since));
        }
    }
}

void Soak::schedule()
{
    ++m_inPhase;
    if (m_phase == Phase::Up) {
        // Slow answers around the port change, so the old worker goes with calls in flight.
        if (m_inPhase == 40)
            setDelay(200);
        else if (m_inPhase == 50)
            switchPort();
        else if (m_inPhase == 60)
            setDelay(0);
        if (m_inPhase >= 100 && !m_waitTrue && !m_waitNewWorker) {
            setDelay(0);
            stopServers();
            m_phase = Phase::Down;
            m_inPhase = 0;
            m_phaseProblems = 0;
            m_phaseClock.start();
            m_waitFalse = true;
            ++m_downPhases;
        }
    } else {
        // Every other outage changes the port while the calls still wait for a connection.
        if (m_inPhase == 50 && m_downPhases % 2 == 0)
            switchPort();
        if (m_inPhase >= 100 && m_phaseClock.elapsed() >= downBoundMs && !m_waitFalse) {
            if (!startServers()) {
                fail("the server could not listen on its port again");
                m_timer.stop();
                QCoreApplication::exit(1);
                return;
            }
            m_phase = Phase::Up;
            m_inPhase = 0;
            m_phaseProblems = 0;
            m_phaseClock.start();
            m_waitTrue = true;
        }
    }
    // The last refreshes answer slowly, so the model is deleted with its call in flight.
    if (m_refresh == m_refreshes - 5 && m_phase == Phase::Up)
        setDelay(300);
}

void Soak::sample()
{
    const long kb = residentKb();
    m_rss << qMakePair(m_refresh, kb);
    std::printf("refresh %5d  rss %7ld kB  %s  available %-5s  answers ok %d failed %d  workers %d\n",
                m_refresh, kb, m_phase == Phase::Up ? "up  " : "down", m_lastAvailable ? "true" : "false",
                m_okAnswers, m_failedAnswers, m_workersSeen);
    std::fflush(stdout);
}

void Soak::tick()
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

int Soak::summary()
{
    const long start = m_rss.isEmpty() ? 0 : m_rss.first().second;
    const long middle = m_rss.isEmpty() ? 0 : m_rss.at(m_rss.size() / 2).second;
    const long end = m_rss.isEmpty() ? 0 : m_rss.last().second;
    // Growth is judged after the first cycle, once gRPC, TLS and the malloc arenas of
    // the worker threads have settled. Sanitizer builds keep freed memory in quarantine
    // or shadow and are only reported.
    long settled = start;
    for (const auto &entry : m_rss)
        if (entry.first >= 200) {
            settled = entry.second;
            break;
        }
    const long growth = end - settled;
    if (!sanitized && growth > std::max(4096L, settled / 10))
        record(QStringLiteral("resident memory grew by %1 kB after refresh 200").arg(growth));

    if (m_okAnswers == 0 || m_failedAnswers == 0)
        record("a run without both answers proves nothing");
    if (m_downPhases < 2)
        record("fewer than two outages; give more refreshes");
    if (m_okAnswers + m_failedAnswers > m_refresh + 1)
        record(
            QStringLiteral("%1 answers to %2 queries").arg(m_okAnswers + m_failedAnswers).arg(m_refresh + 1));
    if (m_workersGone != m_workersSeen)
        record(QStringLiteral("%1 workers seen, %2 deleted").arg(m_workersSeen).arg(m_workersGone));
    if (noAddressLines != 0)
        record(QStringLiteral("%1 'current server ip empty' lines").arg(noAddressLines.load()));

    std::printf(
        "soak summary: refreshes %d, interval %d ms, seconds %.1f, update() mean %.1f ms max %.1f ms, "
        "server cycles %d, restart retries %d, "
        "port changes %d, workers %d/%d deleted, answers ok %d failed %d (failure lines %d), "
        "available transitions to-true %d to-false %d, max ms stop->down %lld restart->up %lld "
        "switch->answer %lld, rss kB start %ld middle %ld end %ld (after refresh 200: %ld, growth %ld), "
        "other warnings %d, inconsistencies %d -> %s\n",
        m_refresh, m_intervalMs, m_runClock.elapsed() / 1000.0,
        m_refresh ? m_updateUs / 1000.0 / m_refresh : 0.0, m_maxUpdateUs / 1000.0, m_downPhases,
        m_restartRetries, m_portChanges, m_workersGone, m_workersSeen, m_okAnswers, m_failedAnswers,
        failedLines.load(), m_toTrue, m_toFalse, static_cast<long long>(m_maxDownMs),
        static_cast<long long>(m_maxRecoverMs), static_cast<long long>(m_maxSwitchMs), start, middle, end,
        settled, growth, otherWarnings.load(), static_cast<int>(m_problems.size()),
        m_problems.isEmpty() ? "PASS" : "FAIL");
    std::fflush(stdout);
    return m_problems.isEmpty() ? 0 : 1;
}

int Soak::run()
{
    if (!testsupport::makeCertificate(m_home, "server")) {
        std::fprintf(stderr, "openssl could not make the certificate\n");
        return 2;
    }
    PlacedCertificate certificate;
    if (!certificate.place(m_home + "/server.pem")) {
        std::fprintf(stderr, "cannot place %s/config/grpcserver.pem\n",
                     qPrintable(QCoreApplication::applicationDirPath()));
        return 2;
    }
    for (auto &server : m_servers)
        if (!server->start(0)) {
            std::fprintf(stderr, "the test server did not start\n");
            return 2;
        }
    writeSettings(m_servers[m_configured]->port());
    std::printf("soak: HOME %s, servers 127.0.0.1:%d and :%d, %d refreshes every %d ms%s\n",
                qPrintable(m_home), m_servers[0]->port(), m_servers[1]->port(), m_refreshes, m_intervalMs,
                sanitized ? " (sanitizer build)" : "");

    qInstallMessageHandler(countLines);
    m_runClock.start();
    m_model = std::make_unique<Probix>();
    m_phaseClock.start();
    m_waitTrue = true;
    observe();
    sample();

    QObject::connect(&m_timer, &QTimer::timeout, [this]() { tick(); });
    m_timer.start(m_intervalMs);
    const int loop = QCoreApplication::exec();

    // Deleted with a slow call in flight: the call is cancelled and the worker's thread
    // ends. Answers already queued to this thread are still counted.
    m_model.reset();
    QCoreApplication::processEvents();
    stopServers();
    qInstallMessageHandler(nullptr);
    if (loop != 0 && m_problems.isEmpty())
        fail("event loop ended with an error");
    return summary();
}

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
    Soak soak(home.path(), refreshes, intervalMs);
    return soak.run();
}
