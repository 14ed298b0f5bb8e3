// Local address selection: which of the terminal's IPv4 addresses reaches a server.
#include "xnet.h"

#include "logtag.h"

#include <QHostAddress>
#include <QNetworkProxy>
#include <QTcpSocket>

namespace XNet
{

namespace
{

// Bits set in a dotted mask; a malformed mask simply gives whatever its parts add up to.
int maskBits(const QString &mask)
{
    int prefix = 0;
    for (const QString &part : mask.split(QLatin1Char('.')))
        prefix += QString::number(part.toUInt(), 2).count(QLatin1Char('1'));
    return prefix;
}

// The first address from which a TCP connection to the server succeeds, or -1.
int firstReaching(const QList<Ipv4Entry> &addresses, const QString &serverAddr, quint16 port)
{
    for (int i = 0; i < addresses.size(); ++i) {
        QTcpSocket socket;
        // A system proxy would make every address look reachable.
        socket.setProxy(QNetworkProxy(QNetworkProxy::NoProxy));
        if (!socket.bind(QHostAddress(addresses.at(i).ip), 0))
            continue;
        socket.connectToHost(serverAddr, port, QIODevice::ReadWrite, QAbstractSocket::AnyIPProtocol);
        if (socket.waitForConnected(3000)) {
            // Only the route is proven; nothing is sent.
            socket.disconnect();
            socket.close();
            return i;
        }
    }
    return -1;
}

} // namespace

HostIpChoice chooseHostIp(const QList<Ipv4Entry> &addresses, const QString &serverAddr, quint16 port)
{
    if (addresses.isEmpty())
        return {HostIpChoice::NoAddress, -1};
    if (addresses.size() == 1)
        return {HostIpChoice::OnlyOne, 0};
    if (!serverAddr.isEmpty()) {
        // A host name gives a null address here and never matches; it still gets its
        // chance in the connect pass.
        const QHostAddress server(serverAddr);
        for (int i = 0; i < addresses.size(); ++i) {
            if (server.isInSubnet(QHostAddress(addresses.at(i).ip), maskBits(addresses.at(i).mask)))
                return {HostIpChoice::InSubnet, i};
        }
        if (port != 0)
            return {HostIpChoice::TryConnect, 0};
    }
    return {HostIpChoice::Default, 0};
}

bool getHostIp(const QString &serverAddr, const quint16 &port, QString &hostMac, QString &hostIp)
{
    hostMac = QString();
    hostIp = QString();

    // One item per usable address; a card with two addresses appears twice in macList.
    QStringList macList;
    QList<Ipv4Entry> addresses;
    const QList<CardInfo> cards = listCards();
    for (const CardInfo &card : cards) {
        for (const Ipv4Entry &entry : card.ipv4) {
            macList << card.mac;
            addresses << entry;
        }
    }

    const HostIpChoice choice = chooseHostIp(addresses, serverAddr, port);
    int index = choice.index;
    switch (choice.reason) {
    case HostIpChoice::NoAddress:
        toolkitlog::tag(qCritical(), "getHostIp") << "Get local ip failed";
        return false;
    case HostIpChoice::OnlyOne:
        toolkitlog::tag(qInfo(), "getHostIp") << "Only got one ip";
        hostMac = macList.at(index);
        hostIp = addresses.at(index).ip;
        return true;
    case HostIpChoice::InSubnet:
        toolkitlog::tag(qDebug(), "getHostIp") << "InSubnet, ip =" << addresses.at(index).ip;
        break;
    case HostIpChoice::TryConnect: {
        const int reached = firstReaching(addresses, serverAddr, port);
        if (reached >= 0) {
            index = reached;
            toolkitlog::tag(qDebug(), "getHostIp") << "TcpSocket Connected, ip =" << addresses.at(index).ip;
            break;
        }
        Q_FALLTHROUGH();
    }
    case HostIpChoice::Default: toolkitlog::tag(qInfo(), "getHostIp") << "Return default ip"; break;
    }
    hostMac = filterInvalidVpnMac(macList.at(index), macList);
    hostIp = addresses.at(index).ip;
    return true;
}

bool getHostIp(const QString &serverAddr, QString &hostMac, QString &hostIp)
{
    return getHostIp(serverAddr, 0, hostMac, hostIp);
}

bool getHostIp(QString &hostMac, QString &hostIp)
{
    return getHostIp(QString(), 0, hostMac, hostIp);
}

} // namespace XNet
