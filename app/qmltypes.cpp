#include "qmltypes.h"

#include <QtQml>

#include "disk.h"
#include "probix.h"
#include "themeobject.h"

void registerQmlTypes()
{
    qmlRegisterType<ThemeObject>("Themes", 1, 0, "Themes");
    qmlRegisterType<Probix>("com.virtual.vdi", 1, 0, "Probix");
    qmlRegisterType<Disk>("com.virtual.vdi", 1, 0, "Disk");
    // Kept on purpose: the name "ServerInfo" is bound to Disk; the real
    // ServerInfo reaches QML only through Probix::serverinfo.
    qmlRegisterType<Disk>("com.virtual.vdi", 1, 0, "ServerInfo");
}
