#include "internationalization.h"

#include <QMutex>

Internationalization::Internationalization(QObject *parent) : QObject(parent) {}

Internationalization *Internationalization::instance()
{
    static QMutex mutex;
    static Internationalization *self = nullptr;
    QMutexLocker lock(&mutex);
    if (!self)
        self = new Internationalization;
    return self;
}

bool Internationalization::isEnglish() const
{
    return false;
}
