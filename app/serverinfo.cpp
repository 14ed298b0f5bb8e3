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

namespace
{

// The client's server settings: the current address, or false when there is
// none, and the array's entries that name a first address, lowest index first.
bool readServerSettings(QString &current, QList<ServerInfo::Entry> &entries)
{
    QSettings settings(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation) + "/Tessera" +
                           "/settings.ini",
                       QSettings::IniFormat);
    settings.setIniCodec(QTextCodec::codecForName("UTF-8"));
    settings.beginGroup("SERVERINFO");
    if (!settings.contains("CURSERVERIP"))
        return false;
    current = settings.value("CURSERVERIP", QVariant()).toString();
    const int count = settings.beginReadArray("SERVERS");
    for (int index : ServerInfo::arrayIndices(settings.childGroups(), count)) {
        settings.setArrayIndex(index);
        if (settings.contains("SERVERIP"))
            entries.append({settings.value("SERVERIP", QVariant()).toString(),
                            settings.value("SECONDSERVERIP", QVariant()).toString(),
                            settings.value("SERVERPORT", QVariant()).toString()});
    }
    return true;
}

} // namespace

ServerInfo::Choice ServerInfo::choose(const QString &current, const QList<Entry> &entries,
                                      const QString &oldIp, const QString &oldPort)
{
    Choice choice;
    choice.ip = current;
    for (const Entry &entry : entries) {
        if (current == entry.first || current == entry.second) {
            choice.port = entry.port;
            break;
        }
    }
    // Kept on purpose: with either part missing the old worker stays, even
    // though it serves an address the window no longer shows.
    const bool changed = choice.ip != oldIp || choice.port != oldPort;
    choice.replaceWorker = changed && !choice.ip.isEmpty() && !choice.port.isEmpty();
    return choice;
}

void ServerInfo::reloadSettings()
{
    const QString oldIp = m_ip;
    const QString oldPort = m_port;
    // A vanished setting empties the display at once.
    m_ip.clear();
    m_port.clear();
    QString current;
    QList<Entry> entries;
    if (!readServerSettings(current, entries)) {
        // The worker is left alone: it keeps answering for the server it was made for.
        qWarning() << "current server ip empty";
        return;
    }
    const Choice choice = choose(current, entries, oldIp, oldPort);
    m_ip = choice.ip;
    m_port = choice.port;
    if (choice.replaceWorker)
        replaceWorker();
}

void ServerInfo::replaceWorker()
{
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
