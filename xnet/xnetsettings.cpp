// Interface settings: Qt gives the addresses, nmcli the connection behind each card.
#include "xnet.h"

#include "logtag.h"
#include "mysystem.h"

namespace XNet
{

namespace
{

// The text after the colon of the connection lines that grep picks out; nothing for
// a connection whose name does not fit the command line.
QString connectionValue(const QString &connection, bool fits, const QString &grep)
{
    if (!fits)
        return QString();
    return mySystem::start("nmcli con show '" + connection + "' | " + grep + " | awk -F':' '{print $2}'");
}

} // namespace

void NetSetting::print() const
{
    QString text = "ip =" + ip + ", mask =" + mask;
    for (auto it = additions.constBegin(); it != additions.constEnd(); ++it)
        text += ", addition_ip =" + it.key() + ", addition_mask =" + it.value();
    text += ", gateway =" + gateway + ", dns1 =" + dns1 + ", dns2 =" + dns2;
    toolkitlog::tag(qDebug(), "print") << text;
}

bool NetSetting::matches(const QString &mac, const QString &connection, const bool &dhcp, const QString &ip,
                         const QString &mask, const QString &gateway, const QString &dns1,
                         const QString &dns2) const
{
    return this->mac.compare(mac, Qt::CaseInsensitive) == 0 &&
           this->connection.compare(connection, Qt::CaseInsensitive) == 0 && this->dhcp == dhcp &&
           this->ip == ip && this->mask == mask && this->gateway == gateway && this->dns1 == dns1 &&
           this->dns2 == dns2;
}

void getNetSettings(QList<NetSetting> &settings)
{
    const QList<CardInfo> cards = listCards();
    for (const CardInfo &card : cards) {
        NetSetting setting;
        // Names come from whoever may create an interface or a connection: one that
        // would break out of its quotes is never run, and its record is left unanswered.
        if (mySystem::fitsCommand(card.name, "getNetSettings", true))
            setting.connection = mySystem::start("nmcli device show '" + card.name +
                                                 "' | grep -i GENERAL.CONNECTION: | awk -F':' '{print $2}'");
        setting.mac = card.mac;
        setting.mtu = card.mtu;
        if (card.ipv4.isEmpty())
            continue;
        setting.ip = card.ipv4.first().ip;
        setting.mask = card.ipv4.first().mask;
        for (const Ipv4Entry &entry : card.ipv4.mid(1))
            setting.additions.insert(entry.ip, entry.mask);
        const bool fits = mySystem::fitsCommand(setting.connection, "getNetSettings", true);

        const QString method = connectionValue(setting.connection, fits, "grep ipv4.method:");
        if (method.compare(QLatin1String("manual"), Qt::CaseInsensitive) == 0)
            setting.dhcp = false;
        else if (method.compare(QLatin1String("auto"), Qt::CaseInsensitive) == 0)
            setting.dhcp = true;

        // The configured value wins; the active one fills in what was not configured.
        setting.gateway = filterInvalidIp(connectionValue(setting.connection, fits, "grep ipv4.gateway:"));
        if (setting.gateway.isEmpty())
            setting.gateway =
                filterInvalidIp(connectionValue(setting.connection, fits, "grep -i IP4.GATEWAY:"));

        const QStringList dns =
            connectionValue(setting.connection, fits, "grep ipv4.dns:").split(QLatin1Char(','));
        if (dns.size() >= 1)
            setting.dns1 = filterInvalidIp(dns.at(0));
        if (dns.size() >= 2)
            setting.dns2 = filterInvalidIp(dns.at(1));
        if (setting.dns1.isEmpty())
            setting.dns1 =
                filterInvalidIp(connectionValue(setting.connection, fits, "grep -i 'IP4.DNS\\[1\\]:'"));
        if (setting.dns2.isEmpty())
            setting.dns2 =
                filterInvalidIp(connectionValue(setting.connection, fits, "grep -i 'IP4.DNS\\[2\\]:'"));

        settings.append(setting);
    }
}

} // namespace XNet
