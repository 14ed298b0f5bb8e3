#include "scenegraph.h"

#include <QDir>
#include <QQuickWindow>
#include <QSGRendererInterface>

bool hasRenderNode(const QString &deviceDir)
{
    return !QDir(deviceDir).entryList({QStringLiteral("renderD*")}, QDir::System | QDir::Files).isEmpty();
}

void chooseSceneGraphBackend(const QString &deviceDir)
{
    // Checked here because Qt lets the call below override both variables.
    if (qEnvironmentVariableIsSet("QT_QUICK_BACKEND") || qEnvironmentVariableIsSet("QMLSCENE_DEVICE"))
        return;
    // Asking OpenGL for its renderer name instead would load llvmpipe, the very
    // cost this avoids (about 59 MiB and 200 ms under Xvfb).
    if (!hasRenderNode(deviceDir))
        QQuickWindow::setSceneGraphBackend(QSGRendererInterface::Software);
}
