#include "serverinfo.h"

#include <QCoreApplication>
#include <QSettings>
#include <QStandardPaths>
#include <QTextCodec>
#include <QtDebug>

#include <algorithm>

#include "desklinkworker.h"
#include "internationalization.h"

ServerInfo::ServerInfo(QObject *parent) : QObject(parent) {}

ServerInfo::~ServerInfo()
{
    // The worker goes first: its reply handler holds a bare pointer to this object.
    delete m_worker;
    m_worker = nullptr;
}

void ServerInfo::checkServerAvailable()
{
    reloadSettings();
    queryServer();
    emit serverInfoChanged();
}

void ServerInfo::queryServer()
{
    if (m_worker)
        m_worker->queryServerTypeInfo();
}

QList<int> ServerInfo::arrayIndices(const QStringList &groups, int size)
{
    // The same entries, in the same order, as a walk over every index below the
    // stated size, where an index with no entry matches nothing; but a size of
    // 2147483647 no longer costs a look-up per index.
    QList<int> indices;
    for (const QString &group : groups) {
        bool number = false;
        const int key = group.toInt(&number);
        if (number && key >= 1 && key <= size && group == QString::number(key))
            indices.append(key - 1);
    }
    std::sort(indices.begin(), indices.end());
    return indices;
}

void ServerInfo::reloadSettings()
{
    const QString oldIp = m_ip;
    const QString oldPort = m_port;
    m_ip.clear();
    m_port.clear();

    QSettings settings(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation) + "/Tessera" +
                           "/settings.ini",
                       QSettings::IniFormat);
    settings.setIniCodec(QTextCodec::codecForName("UTF-8"));
    settings.beginGroup("SERVERINFO");
    if (!settings.contains("CURSERVERIP")) {
        // The worker is left alone: it keeps answering for the server it was made for.
        qWarning() << "current server ip empty";
        settings.endGroup();
        return;
    }
    m_ip = settings.value("CURSERVERIP", QVariant()).toString();
    const int count = settings.beginReadArray("SERVERS");
    for (int index : arrayIndices(settings.childGroups(), count)) {
        settings.setArrayIndex(index);
        if (!settings.contains("SERVERIP"))
            continue;
        const QString first = settings.value("SERVERIP", QVariant()).toString();
        const QString second = settings.value("SECONDSERVERIP", QVariant()).toString();
        if (m_ip == first || m_ip == second) {
            m_port = settings.value("SERVERPORT", QVariant()).toString();
            break;
        }
    }
    settings.endArray();
    settings.endGroup();

    if (m_ip == oldIp && m_port == oldPort)
        return;
    // Kept on purpose: with either part missing the old worker stays, even
    // though it serves an address the window no longer shows.
    if (m_ip.isEmpty() || m_port.isEmpty())
        return;

    delete m_worker;
    m_worker = nullptr;
    m_worker = new DeskLinkWorker(nullptr);
    // Direct: the reply arrives on the worker's thread and only stores the flag,
    // which the window reads at the next refresh.
    connect(m_worker, &DeskLinkWorker::queryServerTypeInfoResult,
            [this](const tagServerTypeInfoResp &response, bool success) {
                if (!success)
                    qInfo() << QString("check server available failed : " + response.errorMsg);
                m_available.store(success, std::memory_order_relaxed);
                ++m_answers;
                emit answered();
            });
    m_certificatePath = QCoreApplication::applicationDirPath() + "/config/grpcserver.pem";
    const unsigned short port = m_port.toUShort(nullptr, 10);
    m_worker->initConnection(m_certificatePath, m_ip, port, Internationalization::instance()->isEnglish());
}
