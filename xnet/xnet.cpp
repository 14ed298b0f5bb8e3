#include "xnet.h"

#include "logtag.h"

#include <QHostAddress>
#include <QNetworkInterface>
#include <QRegExp>

namespace XNet
{

const QString netSettingFile = QStringLiteral("/userdata/netSettings.ini");

bool checkIp(const QString &ip)
{
    if (ip.isEmpty()) {
        toolkitlog::tag(qWarning(), "checkIp") << "Ip is empty";
        return false;
    }
    // Kept on purpose: a one- or two-digit octet may carry a leading zero ("09"),
    // a three-digit one may not.
    const QString octet = QStringLiteral("(\\d{1,2}|1\\d\\d|2[0-4]\\d|25[0-5])");
    const QString pattern = "^" + octet + "\\." + octet + "\\." + octet + "\\." + octet + "$";
    QRegExp rx(pattern, Qt::CaseSensitive, QRegExp::RegExp);
    if (!rx.exactMatch(ip.trimmed())) {
        toolkitlog::tag(qWarning(), "checkIp") << "Ip is invalid, ip =" << ip;
        return false;
    }
    return true;
}

bool checkMAC(const QString &mac)
{
    if (mac.isEmpty()) {
        toolkitlog::tag(qWarning(), "checkMAC") << "Mac is empty";
        return false;
    }
    QRegExp rx(QStringLiteral("^%1:%1:%1:%1:%1:%1$").arg(QStringLiteral("[A-Fa-f0-9]{2}")), Qt::CaseSensitive,
               QRegExp::RegExp);
    if (!rx.exactMatch(mac.trimmed())) {
        toolkitlog::tag(qWarning(), "checkMAC") << "Mac is invalid, mac =" << mac;
        return false;
    }
    // Kept on purpose: the all-zero test looks at the untrimmed text, so blanks around
    // it let the address through.
    return mac != QLatin1String("00:00:00:00:00:00");
}

QString filterInvalidIp(const QString &ip)
{
    return checkIp(ip) ? ip : QString();
}

QString filterInvalidVpnMac(const QString &mac, const QStringList &macList)
{
    QString hostMac = mac;
    // The VPN adapter reports this fixed address on every terminal, so it cannot
    // identify one. Only the dash spelling is known to come from it.
    static const QString invalidVpnMac = QStringLiteral("02-50-F2-00-00-02");
    if (!hostMac.isEmpty() && hostMac.compare(invalidVpnMac, Qt::CaseInsensitive) == 0) {
        for (const QString &item : macList) {
            if (item.isEmpty() || item.compare(invalidVpnMac, Qt::CaseInsensitive) == 0)
                continue;
            hostMac = item;
            break;
        }
    }
    toolkitlog::tag(qDebug(), "filterInvalidVpnMac") << "mac(IN) =" << mac << ", hostMac(OUT) =" << hostMac;
    return hostMac;
}

int maskToPrefix(const QString &mask)
{
    // Each octet is judged on its own and the number of octets is not checked; callers
    // only ever hand over masks that came from the system.
    int sum = 0;
    for (const QString &part : mask.split(QLatin1Char('.'))) {
        const quint64 value = part.toUInt(nullptr, 10);
        const int ones = QString::number(value, 2).count(QLatin1Char('1'));
        // Values above 255 are not rejected on purpose: "256" counts as a single bit.
        if (ones != 8 && ((value << ones) & 255) != 0)
            return -1;
        sum += ones;
    }
    return sum <= 32 ? sum : -1;
}

QString prefixToMask(const quint32 &prefix)
{
    if (prefix > 32)
        return QString();
    QString bits;
    for (quint32 i = 1; i <= 32; ++i)
        bits += prefix >= i ? QLatin1Char('1') : QLatin1Char('0');
    QStringList octets;
    for (int offset = 0; offset < 32; offset += 8)
        octets << QString::number(bits.mid(offset, 8).toInt(nullptr, 2), 10);
    return octets.join(QLatin1Char('.'));
}

QList<CardInfo> listCards()
{
    QList<CardInfo> cards;
    const QList<QNetworkInterface> interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface &iface : interfaces) {
        CardInfo card{
            iface.humanReadableName(), iface.hardwareAddress(), iface.maximumTransmissionUnit(), {}};
        const QList<QNetworkAddressEntry> entries = iface.addressEntries();
        for (const QNetworkAddressEntry &entry : entries) {
            // Kept on purpose: whether the card is up plays no part, and of 127/8 only
            // 127.0.0.1 itself is dropped.
            if (entry.ip() == QHostAddress::LocalHost || entry.ip().toIPv4Address() == 0)
                continue;
            card.ipv4.append({entry.ip().toString(), entry.netmask().toString()});
        }
        cards.append(card);
    }
    return cards;
}

} // namespace XNet
