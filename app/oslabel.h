// The operating system text of the window's System row, worked out at each read.
#pragma once
#include <QString>

QString operatingSystemLabel();
