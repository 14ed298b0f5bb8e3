// XNet: the toolkit's network helpers. Text checks of IPv4 and MAC addresses, the
// settings of each interface as NetworkManager and Qt see them, and the choice of the
// local address through which a given server is reached.
#pragma once
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

namespace XNet
{

// Where the terminal keeps its network settings. Only the path is fixed here; it stays
// an exported global so that libraries loaded with the program can find it.
extern const QString netSettingFile;

// One interface's IPv4 configuration.
struct NetSetting {
    QString mac;
    QString connection;
    bool dhcp = true;
    QString ip;
    QString mask;
    QMap<QString, QString> additions; // further addresses: address -> mask
    QString gateway;
    QString dns1;
    QString dns2;
    int mtu = 1500;

    void print() const;
    // additions and mtu are left out of the comparison on purpose.
    bool matches(const QString &mac, const QString &connection, const bool &dhcp, const QString &ip,
                 const QString &mask, const QString &gateway, const QString &dns1, const QString &dns2) const;
};

bool checkIp(const QString &ip);
bool checkMAC(const QString &mac);
QString filterInvalidIp(const QString &ip);
QString filterInvalidVpnMac(const QString &mac, const QStringList &macList);
int maskToPrefix(const QString &mask);
QString prefixToMask(const quint32 &prefix);

// Appends one record per interface that has an IPv4 address; runs nmcli for each.
void getNetSettings(QList<NetSetting> &settings);

// A card as the system lists it, with its IPv4 addresses in the system's order. Loopback's
// 127.0.0.1 and other families are left out; a card without an address is still listed.
struct Ipv4Entry {
    QString ip;
    QString mask; // dotted
};
struct CardInfo {
    QString name; // the human-readable name
    QString mac;
    int mtu = 0;
    QList<Ipv4Entry> ipv4;
};
QList<CardInfo> listCards();

// Which of the usable addresses (every card's, in card order) getHostIp settles on, judged
// on the values alone. TryConnect: each address in turn, the first that reaches the server
// wins; index is the one taken when none does.
struct HostIpChoice {
    enum Reason { NoAddress, OnlyOne, InSubnet, TryConnect, Default };
    Reason reason = NoAddress;
    int index = -1;
};
HostIpChoice chooseHostIp(const QList<Ipv4Entry> &addresses, const QString &serverAddr, quint16 port);

// Picks the local address (and its card's hardware address) for reaching serverAddr:
// the only address, else one whose subnet holds the server, else one from which a TCP
// connection to port succeeds, else the first. False only when there is no address.
bool getHostIp(const QString &serverAddr, const quint16 &port, QString &hostMac, QString &hostIp);
bool getHostIp(const QString &serverAddr, QString &hostMac, QString &hostIp);
bool getHostIp(QString &hostMac, QString &hostIp);

} // namespace XNet
