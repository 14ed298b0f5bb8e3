#include "themeobject.h"

ThemeObject::ThemeObject(QObject *parent) : QObject(parent) {}
