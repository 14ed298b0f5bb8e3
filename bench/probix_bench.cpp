// Start-up, refresh and memory figures of the window, measured beside a bare
// 740x570 Qt Quick window with the same imports. Run: probix_bench [runs]
// Each figure comes from a fresh child process, so runs do not warm each other.
#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QTextStream>
#include <QtQml>

#include <algorithm>
#include <ctime>

#include "probix.h"
#include "qmltypes.h"
#include "scenegraph.h"

static const char *minimalDocument = R"(
import QtQuick 2.12
import QtQuick.Layouts 1.12
import QtQuick.Controls 2.12
import QtQuick.Dialogs 1.0
import QtGraphicalEffects 1.12
ApplicationWindow { width: 740; height: 570; visible: true; flags: Qt.FramelessWindowHint | Qt.Window }
)";

static double monotonicMs()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000.0 + now.tv_nsec / 1e6;
}

static long peakResidentKb()
{
    QFile status("/proc/self/status");
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').first().toLong();
    return 0;
}

// Child: the first refresh's own work, without any window: the model's
// constructor (whose refresh pays the one-time memory probe) and the property
// reads that the window's first binding evaluation makes.
static int firstRefresh(int argc, char **argv)
{
    QApplication app(argc, argv);
    QElapsedTimer clock;
    clock.start();
    Probix model;
    model.cpuFrequency();
    model.cpuFrequency();
    model.os();
    QTextStream(stdout) << "work " << clock.nsecsElapsed() / 1e6 << "\n";
    return 0;
}

// Child: starts like the program does and prints "frame <ms> refresh <ms> rss <kB>".
static int child(int argc, char **argv, bool real)
{
    chooseSceneGraphBackend();
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
    QApplication app(argc, argv);
    registerQmlTypes();
    QQmlApplicationEngine engine;
    double frameAt = 0;
    QObject::connect(&engine, &QQmlApplicationEngine::objectCreated, &app,
                     [&](QObject *object, const QUrl &) {
                         auto *window = qobject_cast<QQuickWindow *>(object);
                         if (!window)
                             QCoreApplication::exit(1);
                         QObject::connect(window, &QQuickWindow::frameSwapped, &app, [&frameAt]() {
                             if (frameAt == 0) {
                                 frameAt = monotonicMs();
                                 QTimer::singleShot(300, qApp, &QCoreApplication::quit);
                             }
                         });
                     });
    if (real)
        engine.load(QUrl("qrc:/qml/main.qml"));
    else
        engine.loadData(minimalDocument);
    if (QApplication::exec() != 0 || engine.rootObjects().isEmpty())
        return 1;

    // One refresh as the timer runs it: update() emits infoChanged, and the
    // bindings read their properties inside that emission.
    double refreshMs = 0;
    if (real) {
        auto *model = engine.rootObjects().first()->findChild<Probix *>();
        const int rounds = 5;
        QElapsedTimer clock;
        clock.start();
        for (int i = 0; i < rounds; ++i)
            model->update();
        refreshMs = clock.nsecsElapsed() / 1e6 / rounds;
    }
    QTextStream(stdout) << "frame " << frameAt << " refresh " << refreshMs << " rss " << peakResidentKb()
                        << "\n";
    return 0;
}

struct Figures {
    double frameMs = 0, refreshMs = 0, rssKb = 0, firstWorkMs = 0;
};

static bool measure(const QString &mode, Figures &out)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    const double startedAt = monotonicMs();
    process.start(QCoreApplication::applicationFilePath(), {"--child", mode});
    if (!process.waitForFinished(120000) || process.exitCode() != 0)
        return false;
    const QStringList words =
        QString::fromUtf8(process.readAllStandardOutput()).split(' ', Qt::SkipEmptyParts);
    if (words.size() < 6)
        return false;
    out.frameMs = words[1].toDouble() - startedAt;
    out.refreshMs = words[3].toDouble();
    out.rssKb = words[5].toDouble();
    if (mode == "probix") {
        QProcess work;
        work.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        work.start(QCoreApplication::applicationFilePath(), {"--first-refresh"});
        if (!work.waitForFinished(120000) || work.exitCode() != 0)
            return false;
        out.firstWorkMs = QString::fromUtf8(work.readAllStandardOutput()).split(' ').value(1).toDouble();
    }
    return true;
}

static double median(QVector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.isEmpty() ? 0 : values[values.size() / 2];
}

int main(int argc, char **argv)
{
    if (argc >= 2 && qstrcmp(argv[1], "--first-refresh") == 0)
        return firstRefresh(argc, argv);
    if (argc >= 3 && qstrcmp(argv[1], "--child") == 0)
        return child(argc, argv, qstrcmp(argv[2], "probix") == 0);

    QCoreApplication app(argc, argv);
    const int runs = argc > 1 ? qMax(1, atoi(argv[1])) : 5;
    QVector<double> frame[2], rss[2], refresh, firstWork;
    for (int i = 0; i < runs; ++i) {
        for (int real = 0; real < 2; ++real) {
            Figures figures;
            if (!measure(real ? "probix" : "minimal", figures)) {
                qCritical("a measuring run failed");
                return 1;
            }
            frame[real] << figures.frameMs;
            rss[real] << figures.rssKb;
            if (real) {
                refresh << figures.refreshMs;
                firstWork << figures.firstWorkMs;
            }
        }
    }
    QTextStream out(stdout);
    out.setRealNumberNotation(QTextStream::FixedNotation);
    out.setRealNumberPrecision(1);
    const double minimalFrame = median(frame[0]), probixFrame = median(frame[1]);
    const double oneRefresh = median(refresh);
    const double firstRefreshWork = median(firstWork);
    out << "runs: " << runs << " (medians)\n";
    out << "start-up to first frame, ms:  probix " << probixFrame << "  minimal window " << minimalFrame
        << "\n";
    out << "GUI-thread time of one refresh (update + binding reads), ms: " << oneRefresh << "\n";
    out << "the first refresh's own work (model constructor + first reads), ms: " << firstRefreshWork << "\n";
    out << "peak resident memory, MiB:    probix " << median(rss[1]) / 1024 << "  minimal window "
        << median(rss[0]) / 1024 << "\n";
    out.setRealNumberPrecision(2);
    out << "first frame / (1.15 x minimal + first refresh's work): "
        << probixFrame / (1.15 * minimalFrame + firstRefreshWork) << "  (target <= 1)\n";
    out << "first frame ratio to minimal: " << probixFrame / minimalFrame << "\n";
    out << "resident memory ratio to minimal: " << median(rss[1]) / median(rss[0]) << "  (target <= 1.15)\n";
    return 0;
}
