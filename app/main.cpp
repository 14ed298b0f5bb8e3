// Process entry of the hardware check: one window, one model, the event loop.
#include <QApplication>
#include <QIcon>
#include <QQmlApplicationEngine>
#include <QUrl>

#include "qmltypes.h"
#include "scenegraph.h"
#include "translation.h"

// A test-only build points this at a document that cannot load; the shipped
// program always loads the window below.
#ifndef PROBIX_DOCUMENT
#define PROBIX_DOCUMENT "qrc:/qml/main.qml"
#endif

int main(int argc, char *argv[])
{
    chooseSceneGraphBackend();
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
    QApplication app(argc, argv);
    QApplication::setWindowIcon(QIcon(":/image/probix.ico"));

    installTranslation();

    registerQmlTypes();

    QQmlApplicationEngine engine;
    const QUrl url(QStringLiteral(PROBIX_DOCUMENT));
    // Queued, because an exit() before exec() has started would be lost.
    QObject::connect(
        &engine, &QQmlApplicationEngine::objectCreated, &app,
        [url](QObject *object, const QUrl &objectUrl) {
            if (!object && url == objectUrl)
                QCoreApplication::exit(-1);
        },
        Qt::QueuedConnection);
    engine.load(url);
    return QApplication::exec();
}
