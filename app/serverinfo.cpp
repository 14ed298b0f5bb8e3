#include "serverinfo.h"

ServerInfo::ServerInfo(QObject *parent) : QObject(parent) {}

void ServerInfo::checkServerAvailable()
{
    emit serverInfoChanged();
}
