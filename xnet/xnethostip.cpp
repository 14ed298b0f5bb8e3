// Local address selection: which of the terminal's IPv4 addresses reaches a server.
#include "xnet.h"

#include "logtag.h"

#include <QHostAddress>
#include <QNetworkInterface>
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

} // namespace

bool getHostIp(const QString &serverAddr, const quint16 &port, QString &hostMac, QString &hostIp)
{
    hostMac = QString();
    hostIp = QString();

    // One item per usable address; a card with two addresses appears twice in macList.
    QStringList macList, ipList, maskList;
    const QList<QNetworkInterface> interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface &iface : interfaces) {
        const QList<QNetworkAddressEntry> entries = iface.addressEntries();
        for (const QNetworkAddressEntry &entry : entries) {
            if (entry.ip() == QHostAddress::LocalHost || entry.ip().toIPv4Address() == 0)
                continue;
            macList << iface.hardwareAddress();
            ipList << entry.ip().toString();
            maskList << entry.netmask().toString();
        }
    }

    if (ipList.isEmpty()) {
        toolkitlog::tag(qCritical(), "getHostIp") << "Get local ip failed";
        return false;
    }
    if (ipList.size() == 1) {
        toolkitlog::tag(qInfo(), "getHostIp") << "Only got one ip";
        hostMac = macList.at(0);
        hostIp = ipList.at(0);
        return true;
    }

    if (!serverAddr.isEmpty()) {
        // A host name gives a null address here and never matches; it still gets its
        // chance in the connect pass.
        const QHostAddress server(serverAddr);
        for (int i = 0; i < ipList.size(); ++i) {
            if (server.isInSubnet(QHostAddress(ipList.at(i)), maskBits(maskList.at(i)))) {
                toolkitlog::tag(qDebug(), "getHostIp") << "InSubnet, ip =" << ipList.at(i);
                hostMac = filterInvalidVpnMac(macList.at(i), macList);
                hostIp = ipList.at(i);
                return true;
            }
        }

        if (port != 0) {
            for (int j = 0; j < ipList.size(); ++j) {
                QTcpSocket socket;
                // A system proxy would make every address look reachable.
                socket.setProxy(QNetworkProxy(QNetworkProxy::NoProxy));
                if (!socket.bind(QHostAddress(ipList.at(j)), 0))
                    continue;
                socket.connectToHost(serverAddr, port, QIODevice::ReadWrite, QAbstractSocket::AnyIPProtocol);
                if (socket.waitForConnected(3000)) {
                    // Only the route is proven; nothing is sent.
                    socket.disconnect();
                    socket.close();
                    toolkitlog::tag(qDebug(), "getHostIp") << "TcpSocket Connected, ip =" << ipList.at(j);
                    hostMac = filterInvalidVpnMac(macList.at(j), macList);
                    hostIp = ipList.at(j);
                    return true;
                }
            }
        }
    }

    toolkitlog::tag(qInfo(), "getHostIp") << "Return default ip";
    hostMac = filterInvalidVpnMac(macList.at(0), macList);
    hostIp = ipList.at(0);
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
