// Product keys shared with the terminal's other software. This program only
// carries them; nothing here reads them.
#include "globals.h"

extern const QString clientLanguageKey = "client-language";
extern const QString studentClientName = QString::fromUtf8("Lumenhall学生端");
extern const QString teacherClientName = QString::fromUtf8("Lumenhall教师端");
extern const QString classroomClientKey = "KelmarDClientLumenhall";
extern const QString vdiClientKey = "KelmarDClientVDI";
