// Which management server the desktop client is configured for, and whether it
// answers. The client's settings file is read again at every check, so a
// changed address reaches the window within one refresh.
#pragma once
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <atomic>

class DeskLinkWorker;

class ServerInfo : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString ip READ ip NOTIFY serverInfoChanged)
    Q_PROPERTY(QString port READ port NOTIFY serverInfoChanged)
    Q_PROPERTY(bool available READ available NOTIFY serverInfoChanged)

public:
    explicit ServerInfo(QObject *parent = nullptr);
    ~ServerInfo() override;

    QString ip() const { return m_ip; }
    QString port() const { return m_port; }
    bool available() const { return m_available.load(std::memory_order_relaxed); }

    void checkServerAvailable();
    // Which indices of the settings' server array hold an entry, from the array's
    // child groups and its stated size; ascending.
    static QList<int> arrayIndices(const QStringList &groups, int size);

    // One entry of the settings' server array that names a first address.
    struct Entry {
        QString first;
        QString second;
        QString port;
    };
    // What a check makes of the settings: the address and port to show, and
    // whether the worker must be made again for them.
    struct Choice {
        QString ip;
        QString port;
        bool replaceWorker = false;
    };
    // The decision over what was read: current is the configured address, the
    // entries are in the array's order, oldIp and oldPort are what the window showed.
    static Choice choose(const QString &current, const QList<Entry> &entries, const QString &oldIp,
                         const QString &oldPort);
    void reloadSettings();
    void queryServer();

    // The worker that answers for the current server, or null before the first
    // usable address; for inspection only.
    const DeskLinkWorker *worker() const { return m_worker; }
    // Answers stored so far. Read after connecting to answered(), it lets a
    // caller wait for the next answer without missing one given in between.
    int answers() const { return m_answers.load(); }

signals:
    void serverInfoChanged();
    // Emitted on the worker's thread once available holds the answer.
    void answered();

private:
    void replaceWorker();

    QString m_ip;
    QString m_port;
    QString m_certificatePath;
    // Written by the worker's reply on its own thread, read by the window.
    std::atomic<bool> m_available{false};
    std::atomic<int> m_answers{0};
    DeskLinkWorker *m_worker = nullptr;
};
