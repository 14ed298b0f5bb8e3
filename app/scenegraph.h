// How the window draws: Qt Quick's software renderer where no GPU can, because
// OpenGL there means Mesa's llvmpipe, more than twice the resident memory.
#pragma once
#include <QString>

// True when deviceDir holds a DRM render node, the one way Mesa reaches a GPU.
bool hasRenderNode(const QString &deviceDir = QStringLiteral("/dev/dri"));

// Call before the first window exists. A renderer the user names through
// QT_QUICK_BACKEND or QMLSCENE_DEVICE keeps winning.
void chooseSceneGraphBackend(const QString &deviceDir = QStringLiteral("/dev/dri"));
