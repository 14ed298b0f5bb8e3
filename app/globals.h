// Product keys shared with the terminal's other software; carried, never read here.
#pragma once
#include <QString>

extern const QString clientLanguageKey;
extern const QString studentClientName;
extern const QString teacherClientName;
extern const QString classroomClientKey;
extern const QString vdiClientKey;
