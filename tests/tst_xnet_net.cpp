// getHostIp and getNetSettings on real cards: each case in a fresh network namespace with veth cards on
// documentation addresses, so nothing reaches a real network; without root all is skipped. Which address
// wins is settled on values in tst_xnet; here: what the cards give, the log lines, the TCP attempts.
#include <QTcpServer>
#include <QtTest>

#include <sched.h>
#include <unistd.h>

#include "fakecommands.h"
#include "xnet.h"

namespace
{
const QString mac1 = "00:00:5E:00:53:01", mac2 = "00:00:5E:00:53:02";

// TCP connections tried in this namespace: ActiveOpens, fifth value of the last "Tcp:" line.
qint64 tcpAttempts()
{
    QFile snmp("/proc/thread-self/net/snmp");
    const QByteArray text = snmp.open(QIODevice::ReadOnly) ? snmp.readAll() : QByteArray();
    return text.mid(text.lastIndexOf("Tcp:")).split(' ').value(5).toLongLong();
}

// One veth card; its peer, name + "p", has no IPv4 address and so never counts.
QStringList card(const QString &name, const QString &mac, const QStringList &cidrs)
{
    QStringList lines{"link add " + name + " type veth peer name " + name + "p",
                      "link set " + name + " address " + mac, "link set " + name + "p up"};
    for (const QString &cidr : cidrs)
        lines << "addr add " + cidr + " dev " + name;
    return lines << "link set " + name + " up";
}
} // namespace

class TestXNetNet : public QObject
{
    Q_OBJECT
    QString ipTool, hostNamespace;
    FakeCommands fakes; // nmcli never reaches the machine's NetworkManager
    // Runs ip(8) once per line, never in the host's own namespace (namespaces belong to threads: all
    // runs on the main one, and its children inherit it); ip reports its own errors.
    bool ip(const QStringList &lines)
    {
        for (const QString &line : lines)
            if (QFile::symLinkTarget("/proc/thread-self/ns/net") == hostNamespace ||
                QProcess::execute(ipTool, line.split(' ')) != 0)
                return false;
        return true;
    }

private slots:
    void init() { fakes.clear(); }
    void initTestCase()
    {
        if (::getuid() != 0)
            QSKIP("not root: these tests create network namespaces and veth pairs; run them as root");
        hostNamespace = QFile::symLinkTarget("/proc/thread-self/ns/net");
        ipTool = QStandardPaths::findExecutable("ip", {"/usr/sbin", "/sbin", "/usr/bin", "/bin"});
        if (::unshare(CLONE_NEWNET) != 0 || ipTool.isEmpty() || !ip({"link add pxt type veth"}))
            QSKIP("cannot create a network namespace with veth pairs here (or no ip(8) from iproute2)");
        QVERIFY(fakes.isValid());
        fakes.catchMessages();
    }
    void hostIp_data()
    {
        QTest::addColumn<QStringList>("cards");
        QTest::addColumn<QString>("server");
        QTest::addColumn<int>("port"); // nobody listens on 9, the test on 7; -1: the three-argument form
        // The answer, getHostIp's line, TCP opens (Qt opens a refused one twice), seconds taken.
        QTest::addColumn<QString>("expected");
        const QStringList two =
            card("pxa", mac1, {"192.0.2.10/25", "198.51.100.10/24"}) + card("pxb", mac2, {"192.0.2.200/29"});
        QTest::newRow("loopback only: no address")
            << QStringList() << "127.0.0.1" << 9 << "none|||critical: Get local ip failed|0|0";
        QTest::newRow("one address: nothing tried")
            << card("pxa", mac1, {"192.0.2.10/24"}) << "127.0.0.1" << 9
            << "found|192.0.2.10|" + mac1 + "|info: Only got one ip|0|0";
        QTest::newRow("second address of a card: its card's mac")
            << two << "198.51.100.77" << -1
            << "found|198.51.100.10|" + mac1 + "|debug: InSubnet, ip = \"198.51.100.10\"|0|0";
        QTest::newRow("refusing server, one attempt per address")
            << two << "127.0.0.1" << 9 << "found|192.0.2.10|" + mac1 + "|info: Return default ip|6|0";
        // The local table moved behind a rule that sends whatever leaves from 192.0.2.10 out of pxa,
        // where nobody answers: only 198.51.100.10 reaches the listener, after the first address's 3 s.
        QTest::newRow("connect pass takes the reaching address")
            << card("pxa", mac1, {"192.0.2.10/24"}) + card("pxb", mac2, {"198.51.100.10/24"}) +
                   QStringList{"rule add pref 100 lookup local", "rule del pref 0",
                               "rule add pref 10 from 192.0.2.10 lookup 10",
                               "route add default via 192.0.2.1 dev pxa table 10",
                               "neigh add 192.0.2.1 lladdr 00:00:5e:00:53:11 dev pxa nud permanent"}
            << "127.0.0.1" << 7
            << "found|198.51.100.10|" + mac2 + "|debug: TcpSocket Connected, ip = \"198.51.100.10\"|2|3";
    }
    void hostIp()
    {
        QFETCH(QStringList, cards);
        QFETCH(QString, server);
        QFETCH(int, port);
        QTcpServer listener;
        QVERIFY(::unshare(CLONE_NEWNET) == 0 && ip(QStringList{"link set lo up"} + cards) &&
                listener.listen(QHostAddress::LocalHost, 7));
        QString mac, address;
        const qint64 before = tcpAttempts();
        QElapsedTimer timer;
        timer.start();
        const bool found = port < 0 ? XNet::getHostIp(server, mac, address)
                                    : XNet::getHostIp(server, quint16(port), mac, address);
        const QString tag = "[ getHostIp ] ";
        QTEST(QStringList({found ? "found" : "none", address, mac,
                           fakes.messagesWithLevel().filter(tag).replaceInStrings(tag, "").join(','),
                           QString::number(tcpAttempts() - before),
                           QString::number(qRound(timer.elapsed() / 1e3))})
                  .join('|'),
              "expected");
    }
    void netSettings_data()
    {
        QTest::addColumn<QString>("name");       // the card's
        QTest::addColumn<QString>("connection"); // nmcli's name for the card's connection
        QTest::addColumn<QString>("method");     // of the nmcli fixture answering on the connection
        QTest::addColumn<QString>("expected");   // connection|method|gateway|dns1|dns2|names refused
        const QString wired = "Wired connection 1", values = "|%1|192.0.2.1|192.0.2.53|198.51.100.53|0";
        QTest::newRow("manual") << "pxa" << wired << "manual" << wired + values.arg("static");
        QTest::newRow("auto, active values") << "pxa" << wired << "auto" << wired + values.arg("dhcp");
        // Any local user may name a connection, and a VPN client or a driver a card: these would run
        // touch, or redirect into a file, at every query. The card's peer carries the same quote.
        const QString hostile = "x';touch pwned;'", iface = "x';>pwned;'";
        QTest::newRow("connection name with shell syntax")
            << "pxa" << hostile << "manual" << hostile + "|dhcp||||1";
        QTest::newRow("interface name with shell syntax") << iface << wired << "manual"
                                                          << "|dhcp||||2";
    }
    void netSettings()
    {
        QFETCH(QString, name);
        QFETCH(QString, connection);
        QFETCH(QString, method);
        fakes.put("nmcli-device-" + name + ".out", testsupport::fixture("nmcli/device-show-connected.txt")
                                                       .replace("Wired connection 1", connection.toUtf8()));
        fakes.putFixture("nmcli-con-" + connection + ".out", "nmcli/con-show-" + method + ".txt");
        const QString folder = QDir::currentPath();
        QTemporaryDir here; // where a command broken out of its quotes would leave its file
        QVERIFY(
            ::unshare(CLONE_NEWNET) == 0 &&
            ip(card(name, mac1, {"192.0.2.10/24", "192.0.2.11/25"}) << "link set " + name + " mtu 1400") &&
            QDir::setCurrent(here.path()));
        QList<XNet::NetSetting> settings{XNet::NetSetting()};
        XNet::getNetSettings(settings);
        QDir::setCurrent(folder);
        QVERIFY(!QFile::exists(here.filePath("pwned")));
        QCOMPARE(settings.size(), 2); // earlier records stay in front; only a card with an address adds one
        const XNet::NetSetting &s = settings[1];
        QCOMPARE(QStringList({s.mac, s.ip, s.mask, QString::number(s.mtu)}) + s.additions.keys() +
                     s.additions.values(),
                 QStringList({mac1, "192.0.2.10", "255.255.255.0", "1400", "192.0.2.11", "255.255.255.128"}));
        const int refused = fakes.messages().filter("[ getNetSettings ] refused").size();
        QTEST(QStringList({s.connection, s.dhcp ? "dhcp" : "static", s.gateway, s.dns1, s.dns2,
                           QString::number(refused)})
                  .join('|'),
              "expected");
    }
};

QTEST_GUILESS_MAIN(TestXNetNet)
#include "tst_xnet_net.moc"
