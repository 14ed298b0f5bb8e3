#include "oslabel.h"

QString operatingSystemLabel()
{
    return QString();
}
