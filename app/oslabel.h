// The operating system text of the window's System row, worked out at each read:
// a fixed product name on Corvex terminals, otherwise the distribution's name
// followed by all four version numbers.
#pragma once
#include <QString>

QString operatingSystemLabel();
// root prefixes "/etc/corvex-version" and the release files ("" is the real root);
// the agent's configuration is looked up two levels above applicationDir.
QString operatingSystemLabel(const QString &root, const QString &applicationDir);
