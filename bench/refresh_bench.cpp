// What a refresh costs the window beside what its commands cost, and the window's
// steady CPU. Run: probix_refresh_bench [pairs] [cpu seconds] [path of probix]
//  1. A first child opens the window with wrappers first on PATH and records the
//     command lines one refresh starts.
//  2. A second child opens the window and measures, in interleaved pairs, the GUI
//     thread's block in one refresh (update() with the bindings it sets off) and the
//     same command lines run as one shell script, started the cheap way.
//  3. The real program runs alone; its own user+system time over the given seconds,
//     after a warm-up, is its steady CPU as a share of one core.
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QTextStream>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <cerrno>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "probix.h"
#include "qmltypes.h"
#include "scenegraph.h"

extern char **environ;

namespace
{

// The programs the toolkit starts by name; what a shell line starts is part of its line.
const char *const kStartedByName[] = {"sh", "df", "top", "cat"};

// Records its name and arguments, shell-quoted, then runs the real program with the
// wrappers' folder taken off PATH again.
const char *const kWrapper = R"sh(#!/bin/sh
name=$(basename "$0"); line=$name
for word in "$@"; do line="$line '$(printf '%s' "$word" | sed "s/'/'\\\\''/g")'"; done
printf '%s\n' "$line" >> "$PROBIX_BENCH_RECORD"
PATH=${PATH#*:} exec "$name" "$@"
)sh";

// The bench's own start of the script: no fork of this large process, so the script's
// time is the commands' own.
double runScriptMs(const QByteArray &script)
{
    char shell[] = "/bin/sh", dashC[] = "-c";
    QByteArray text = script;
    char *argv[] = {shell, dashC, text.data(), nullptr};
    QElapsedTimer clock;
    clock.start();
    pid_t pid = -1;
    int status = 0;
    if (posix_spawn(&pid, "/bin/sh", nullptr, nullptr, argv, environ) != 0)
        return -1;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return clock.nsecsElapsed() / 1e6;
}

// Opens the window as the program does and returns once it has shown a frame.
Probix *openWindow(QQmlApplicationEngine &engine)
{
    registerQmlTypes();
    engine.load(QUrl("qrc:/qml/main.qml"));
    auto *window =
        engine.rootObjects().isEmpty() ? nullptr : qobject_cast<QQuickWindow *>(engine.rootObjects().first());
    if (!window)
        return nullptr;
    QEventLoop shown;
    QObject::connect(window, &QQuickWindow::frameSwapped, &shown, &QEventLoop::quit);
    QTimer::singleShot(30000, &shown, &QEventLoop::quit);
    shown.exec();
    // The window's own timer would refresh in the middle of a measurement.
    if (QObject *timer = window->findChild<QObject *>("updateTimer"))
        timer->setProperty("running", false);
    return window->findChild<Probix *>();
}

void settle(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

int recordChild(int argc, char **argv)
{
    QApplication app(argc, argv);
    QQmlApplicationEngine engine;
    Probix *model = openWindow(engine);
    if (!model)
        return 1;
    settle(300);
    // Only the refresh: the first one, with its one-time probes, is behind us.
    QFile::resize(qEnvironmentVariable("PROBIX_BENCH_RECORD"), 0);
    model->update();
    return 0;
}

int pairsChild(int argc, char **argv, int pairs, const QByteArray &script)
{
    QApplication app(argc, argv);
    QQmlApplicationEngine engine;
    Probix *model = openWindow(engine);
    if (!model)
        return 1;
    QTextStream out(stdout);
    for (int i = 0; i < pairs; ++i) {
        double blockMs = 0, scriptMs = 0;
        for (int half = 0; half < 2; ++half) {
            settle(200); // let the redraw of the last refresh happen outside the figures
            if ((half + i) % 2 == 0) {
                QElapsedTimer clock;
                clock.start();
                model->update();
                blockMs = clock.nsecsElapsed() / 1e6;
            } else {
                scriptMs = runScriptMs(script);
            }
        }
        out << "pair " << blockMs << ' ' << scriptMs << '\n';
    }
    return 0;
}

QByteArray loadAverage()
{
    QFile file("/proc/loadavg");
    return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').mid(0, 3).join(' ') : QByteArray("?");
}

double cpuSeconds(qint64 pid)
{
    QFile stat(QString("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray text = stat.readAll();
    // Fields after the parenthesised name; utime and stime are the 14th and 15th.
    const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
    return (fields.value(11).toDouble() + fields.value(12).toDouble()) / sysconf(_SC_CLK_TCK);
}

double median(QVector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.isEmpty() ? 0 : values[values.size() / 2];
}

} // namespace

int main(int argc, char **argv)
{
    // The windows draw as the program's does.
    chooseSceneGraphBackend();
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
    if (argc >= 2 && qstrcmp(argv[1], "--record") == 0)
        return recordChild(argc, argv);
    if (argc >= 4 && qstrcmp(argv[1], "--pairs") == 0)
        return pairsChild(argc, argv, atoi(argv[2]), QByteArray::fromBase64(argv[3]));

    QCoreApplication app(argc, argv);
    const int pairs = argc > 1 ? qMax(1, atoi(argv[1])) : 15;
    const int cpuSecondsWanted = argc > 2 ? atoi(argv[2]) : 60;
    const QString probix =
        argc > 3 ? QString(argv[3]) : QCoreApplication::applicationDirPath() + "/../probix";
    QTextStream out(stdout);

    // 1. The command lines of one refresh.
    QTemporaryDir wrappers;
    for (const char *name : kStartedByName) {
        QFile wrapper(wrappers.filePath(name));
        if (!wrapper.open(QIODevice::WriteOnly) || wrapper.write(kWrapper) < 0 ||
            !wrapper.setPermissions(wrapper.permissions() | QFile::ExeOwner))
            return 1;
    }
    const QString record = wrappers.filePath("record");
    // The windows' own log lines would drown the figures.
    QProcess recorder;
    recorder.setStandardErrorFile(QProcess::nullDevice());
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("PATH", wrappers.path() + ':' + environment.value("PATH"));
    environment.insert("PROBIX_BENCH_RECORD", record);
    recorder.setProcessEnvironment(environment);
    recorder.start(QCoreApplication::applicationFilePath(), {"--record"});
    QFile recorded(record);
    if (!recorder.waitForFinished(120000) || recorder.exitCode() != 0 ||
        !recorded.open(QIODevice::ReadOnly)) {
        qCritical("recording a refresh failed");
        return 1;
    }
    const QList<QByteArray> lines = recorded.readAll().trimmed().split('\n');
    QByteArray script;
    for (const QByteArray &line : lines)
        script += line + " </dev/null >/dev/null 2>&1\n";
    out << "one refresh starts " << lines.size() << " commands:\n";
    for (const QByteArray &line : lines)
        out << "  " << line << '\n';

    // 2. Interleaved pairs.
    const QByteArray loadBefore = loadAverage();
    QProcess measurer;
    measurer.setStandardErrorFile(QProcess::nullDevice());
    measurer.start(QCoreApplication::applicationFilePath(),
                   {"--pairs", QString::number(pairs), QString::fromLatin1(script.toBase64())});
    if (!measurer.waitForFinished(600000) || measurer.exitCode() != 0) {
        qCritical("the measuring window failed");
        return 1;
    }
    QVector<double> block, commands, ratios;
    for (const QByteArray &line : measurer.readAllStandardOutput().split('\n')) {
        const QList<QByteArray> words = line.split(' ');
        if (words.size() != 3 || words[0] != "pair")
            continue;
        block << words[1].toDouble();
        commands << words[2].toDouble();
        ratios << words[1].toDouble() / words[2].toDouble();
    }
    out.setRealNumberNotation(QTextStream::FixedNotation);
    out.setRealNumberPrecision(1);
    out << "pairs: " << ratios.size() << ", load average before " << loadBefore << ", after " << loadAverage()
        << '\n';
    out << "GUI-thread block per refresh, ms: median " << median(block) << "  min "
        << *std::min_element(block.cbegin(), block.cend()) << '\n';
    out << "the same commands as a shell script, ms: median " << median(commands) << "  min "
        << *std::min_element(commands.cbegin(), commands.cend()) << '\n';
    out.setRealNumberPrecision(2);
    out << "block / script per pair: median " << median(ratios) << "  min "
        << *std::min_element(ratios.cbegin(), ratios.cend()) << "  (target <= 1.15)\n";
    out.flush();

    // 3. Steady CPU of the window alone.
    if (cpuSecondsWanted <= 0)
        return 0;
    QProcess window;
    window.setStandardOutputFile(QProcess::nullDevice());
    window.setStandardErrorFile(QProcess::nullDevice());
    window.start(probix, QStringList());
    if (!window.waitForStarted(10000)) {
        qCritical("cannot start %s", qPrintable(probix));
        return 1;
    }
    QThread::sleep(10); // start-up and the first refresh are not steady state
    const double startCpu = cpuSeconds(window.processId());
    const QByteArray loadAtStart = loadAverage();
    QThread::sleep(cpuSecondsWanted);
    const double usedCpu = cpuSeconds(window.processId()) - startCpu;
    window.kill();
    window.waitForFinished(5000);
    out << "steady CPU of the window over " << cpuSecondsWanted << " s: " << usedCpu / cpuSecondsWanted * 100
        << " % of one core (load average " << loadAtStart << ")  (target < 0.5)\n";
    return 0;
}
