// Which management server the desktop client is configured for, and whether it answers.
#pragma once
#include <QObject>
#include <QString>

class ServerInfo : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString ip READ ip NOTIFY serverInfoChanged)
    Q_PROPERTY(QString port READ port NOTIFY serverInfoChanged)
    Q_PROPERTY(bool available READ available NOTIFY serverInfoChanged)

public:
    explicit ServerInfo(QObject *parent = nullptr);

    QString ip() const { return m_ip; }
    QString port() const { return m_port; }
    bool available() const { return m_available; }

    void checkServerAvailable();

signals:
    void serverInfoChanged();

private:
    QString m_ip;
    QString m_port;
    bool m_available = false;
};
